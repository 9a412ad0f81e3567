// What a PNG file is made of: its header, what it says of its values, and where the packed pixels of each of
// its frames are.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/io/readers/animation.h"

namespace pzel_io {

using Bytes = std::span<const unsigned char>;

/// The header. Its numbers are not checked, but for the sizes of a frame against the canvas.
struct PngHeader {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int depth = 0;   ///< bits of a sample
    int colour = 0;  ///< what pixels consist of: see kPngGrey and the others
    bool isInterlaced = false;
    Bytes rest;  ///< its data behind the sizes
};

inline constexpr int kPngGrey = 0;
inline constexpr int kPngRgb = 2;
inline constexpr int kPngPalette = 3;
inline constexpr int kPngGreyAlpha = 4;
inline constexpr int kPngRgba = 6;

/// One picture of the file.
struct PngFrame {
    AnimationFrame place;
    double seconds = 0;            ///< that it is shown for; 0: it does not tell
    std::vector<Bytes> idats;      ///< whole chunks, but for one that the file's end cuts off
    std::vector<Bytes> sequenced;  ///< chunks of an animation: they must be rewritten
};

struct PngContent {
    PngHeader header;
    Bytes palette;                                             ///< the chunk
    Bytes transparency, significantBits, aspect, exif, codes;  ///< what chunks hold; empty: not there
    std::string profile;                                       ///< the name of the colour profile
    std::optional<double> gamma;
    bool isSrgb = false;
    bool isAnimated = false;
    bool hasCover = false;         ///< a picture that is no frame of the animation
    std::vector<PngFrame> frames;  ///< the animation's, or the only one
    bool isCut = false;            ///< it ends before its end mark, or lacks frames that it tells of
    std::string damage;            ///< what else is wrong; empty: nothing
};

/// Goes through the chunks of a file, which starts with the mark of PNG files.
PngContent ListPngChunks(Bytes file);

/// A number of four bytes.
std::uint32_t PngLong(Bytes bytes, std::size_t at);
/// The checksum of a chunk, over its name and data.
std::uint32_t PngChecksum(Bytes nameAndData);

}  // namespace pzel_io
