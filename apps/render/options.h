// The command line of pzel-render.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/picture.h"
#include "levels.h"

/// Which channel is shown.
enum class Channel {
    All,
    Red,
    Green,
    Blue,
    Y,
    U,
    V,
    Intensity,
    Saturation,
    Hue,
    Hsi  ///< all, with levels of intensity, saturation and hue
};

/// Columns and rows to show, inclusive on all four sides.
struct Area {
    int left;
    int top;
    int right;
    int bottom;
};

struct Pixel {
    int x;
    int y;
};

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
    std::string input;
    std::string output;  ///< empty: no picture is written
    FrameSelection frames;
    std::vector<LevelSpec> levels;  ///< empty: not given
    bool perFrame = false;
    Channel channel = Channel::All;
    double gamma = 1;
    bool invert = false;
    std::optional<Area> area;
    std::optional<Pixel> pixel;
    bool bake = false;
    bool toYuv = false;
    pzel_io::Layout layout = pzel_io::Layout::Interleaved;
    bool info = false;
    bool quiet = false;
};

/// Parses the command line. Prints help or what is wrong itself: without a value the program ends with
/// `exitStatus`.
std::optional<Options> ParseOptions(int argc, char** argv, int& exitStatus);
