// The command line of pzel-render.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "layer.h"
#include "picture_queue.h"

/// Inclusive.
struct FrameRange {
    std::uint32_t first;
    std::uint32_t last;
};

/// Frames to render, range after range; empty: all.
struct FrameSelection {
    std::vector<FrameRange> ranges = {{0, 0}};
    bool numbered = false;  ///< one output for each frame, numbered
};

struct Options {
    std::vector<Layer> layers;  ///< 1 or more, the first one lowest
    std::string output;         ///< empty: no picture is written; "-": standard output
    WriteSettings writing;
    int depth = 8;  ///< bits of a value in the file, where it is not a bit: 8 or 16
    FrameSelection frames;
    std::optional<Area> area;    ///< of the picture of all layers
    std::optional<Area> pixels;  ///< of the first layer
    int zoom = 1;
    bool info = false;
    bool json = false;  ///< of info
    bool quiet = false;
};

/// Parses the command line. Prints help or what is wrong itself: without a value the program ends with
/// `exitStatus`.
/// @throws pzel_io::FileError where help cannot be printed
std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus);
