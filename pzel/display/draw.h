// The one way to draw a bitmap into a bitmap; the public functions of overlay.h and the composition of
// movies both take it.
#pragma once

#include <cstdint>

#include "pzel/display/placement.h"

namespace pzel {

constexpr int kInvisible = 128;  ///< the transparency that shows nothing

/// Bits have no middle: below half of the scale they are drawn.
constexpr bool showsBits(int transparency) {
    return transparency < kInvisible / 2;
}

/// What the rows of a source hold.
enum class SourceKind {
    Pixels,    ///< pixels of the destination's depth
    Entries,   ///< bytes that name entries of the palette; the destination has 24 bits
    Bits,      ///< bits of a picture in two colours
    Mask,      ///< bits of a mask: the set ones are tinted
    Boundary,  ///< two rows of bits for each row, the upper and the left edges: the lines are tinted
};

/// What a source is drawn with. Each kind uses what it needs.
template <class Pixel>
struct Ink {
    Pixel colour{};                      ///< of set bits, masks and boundaries
    Pixel background{};                  ///< of clear bits
    const BgrColour* palette = nullptr;  ///< 256 entries; null: greys
    int transparency = 0;                ///< 0 (opaque) … 128 (invisible)
};

/// Draws a source into a destination, clipped. Pixel is the destination's: bool (1 bit), std::uint8_t or
/// BgrColour. On 1 bit the colours do not count: pictures are copied, masks and boundaries added, and a
/// transparency of 64 or more draws nothing.
template <class Pixel>
void draw(const BitmapDestination& destination, const BitmapSource& source, SourceKind kind, Zoom zoom,
          const Ink<Pixel>& ink = {});

/// Entry i of a palette; without one, the grey i.
constexpr BgrColour paletteColour(const BgrColour* palette, std::uint8_t i) {
    return palette ? palette[i] : BgrColour{i, i, i};
}

}  // namespace pzel
