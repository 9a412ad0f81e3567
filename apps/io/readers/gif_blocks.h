// What a GIF file is made of: its screen, its palettes, and where the packed pixels of each of its frames
// are.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/io/readers/animation.h"

namespace pzel_io {

using Bytes = std::span<const unsigned char>;

struct GifFrame {
    AnimationFrame place;            ///< its area as the file tells it, which may lie beyond the screen
    Bytes image;                     ///< its descriptor, palette and packed pixels
    Bytes packed;                    ///< the pixels alone
    Bytes palette;                   ///< its own, or the file's; three bytes for each colour
    std::optional<int> transparent;  ///< the index that draws nothing
    bool isInterlaced = false;
    int hundredths = 0;  ///< of a second that it is shown for
};

struct GifContent {
    Bytes screen;  ///< everything in front of the first block
    int width = 0;
    int height = 0;
    std::vector<GifFrame> frames;
    bool isCut = false;  ///< it ends before its end mark
    std::string damage;  ///< what is wrong; empty: nothing
};

/// Goes through the blocks of a file, which starts with the mark of GIF files.
GifContent ListGifBlocks(Bytes file);

}  // namespace pzel_io
