// The command line of pzel-render.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "finish.h"
#include "layer.h"
#include "montage.h"
#include "option_values.h"
#include "picture_queue.h"

struct Options {
    std::vector<Layer> layers;  ///< 1 or more, the first one lowest
    bool each = false;          ///< each layer is a picture of its own, and the output a folder
    std::string output;         ///< empty: no picture is written; "-": standard output
    WriteSettings writing;
    int depth = 8;  ///< bits of a value in the file, where it is not a bit: 8 or 16
    FrameSelection frames;
    std::optional<Area> area;    ///< of the picture of all layers
    std::optional<Area> pixels;  ///< of the first layer
    int zoom = 1;
    FinishOptions finish;
    std::optional<MontageOptions> montage;
    bool info = false;
    bool json = false;  ///< of info
    bool quiet = false;
};

/// Parses the command line. Prints help or what is wrong itself: without a value the program ends with
/// `exitStatus`.
/// @throws pzel_io::FileError where help cannot be printed
std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus);
