// Colours of TIFF pages that a record does not hold as they are: palettes, inks, L*a*b*, logarithmic
// luminance, and colours that were multiplied by their alpha.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "apps/io/picture_info.h"

namespace pzel_io {

/// What is done to the elements of a pixel.
enum class TiffConversion { None, Palette, Inks, Lab, IccLab, Luminance, Alpha };

/// A conversion with what it needs.
struct TiffColour {
    TiffConversion conversion = TiffConversion::None;
    ImageDataType type = DataUInt8;      ///< of the elements: integers without sign, or floats
    int channels = 3;                    ///< of the result; with Alpha one less than it is made from
    bool isNarrowPalette = false;        ///< its colours are bytes, others 16 bits
    std::vector<std::uint16_t> palette;  ///< red, green and blue of each index
    std::array<double, 2> white = {0.34567, 0.3585};  ///< x and y of L*a*b*; D50
};

/// Converts pixels, interleaved on both sides.
void ConvertPixels(const TiffColour& colour, const unsigned char* from, unsigned char* to,
                   std::size_t pixels);

}  // namespace pzel_io
