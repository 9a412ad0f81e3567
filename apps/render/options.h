// The command line of pzel-render.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/picture.h"
#include "levels.h"

/// Which channel is shown.
enum class Channel { All, Red, Green, Blue, Y, U, V };

/// Columns and rows to show, inclusive on all four sides.
struct Area {
    int left;
    int top;
    int right;
    int bottom;
};

/// Frames to render, inclusive; the last one of the file where `last` is absent.
struct FrameSpan {
    std::uint32_t first = 0;
    std::optional<std::uint32_t> last = 0;
    bool numbered = false;  ///< one output for each frame, numbered
};

struct Options {
    std::string input;
    std::string output;
    FrameSpan frames;
    std::vector<LevelSpec> levels;  ///< empty: not given
    bool perFrame = false;
    Channel channel = Channel::All;
    double gamma = 1;
    bool invert = false;
    std::optional<Area> area;
    pzel_io::Layout layout = pzel_io::Layout::Interleaved;
    bool info = false;
    bool quiet = false;
};

/// Parses the command line. Prints help or what is wrong itself: without a value the program ends with
/// `exitStatus`.
std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus);
