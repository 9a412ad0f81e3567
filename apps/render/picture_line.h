// The line that tells of a picture: what it is made of, how large it became, where it went, what was changed.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <ostream>

#include "opened_layer.h"
#include "view.h"

/// A picture that was made of layers.
struct MadePicture {
    ShownBitmap bitmap;
    int depth;  ///< bits of a value in the file
    int zoom;
    double milliseconds;  ///< of mapping and composing
    std::uint32_t frame;
    bool isFirst;                  ///< of those that are made: what was changed is told once
    std::filesystem::path output;  ///< empty where it became part of a sheet
};

void PrintPicture(std::ostream& out, const std::deque<OpenedLayer>& layers, const std::deque<View>& views,
                  const MadePicture& picture);
