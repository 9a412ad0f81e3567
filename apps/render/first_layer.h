// What the command line says besides its layers, most of which is said of the first one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "layer.h"

struct FirstLayer {
    Look look;
    std::vector<std::string> fields;  ///< the files of the even and the odd rows; empty: a file as it is
    std::optional<pzel_io::Field> field;
    bool difference = false;                   ///< to the second layer
    bool stack = false;                        ///< all files are one layer
    std::optional<pzel_io::StackOrder> order;  ///< of stacks
    bool asStored = false;                     ///< of all layers, like what follows
    bool partial = false;
};

/// The layers of the command line, the first with the options that are its.
/// @throws std::invalid_argument naming the argument or the option, and the reason
std::vector<Layer> MakeLayers(std::vector<Layer> layers, const FirstLayer& first);
std::vector<Layer> MakeLayers(const std::vector<std::string>& arguments, const FirstLayer& first);
