// Copies of a colour picture in other colour models: luminance with colour differences, and one of intensity,
// saturation and hue as grey. Colour is stored blue first; the caller tells the user of a copy.
#pragma once

#include "apps/io/picture.h"

namespace pzel_io {

/// What a grey copy can show of a colour picture.
enum class HsiValue { Intensity, Saturation, Hue };

/// Exchanges the channels red and blue of a picture of 3 channels, in place.
void SwapRedAndBlue(Image& image);

/// Luminance and two colour differences as floats, in the values and the layout of a colour picture of any
/// type. The spatial bound is `range` for the luminance and half its width to both sides of 0 for the
/// differences; the data bound is the same.
/// @throws std::length_error for rows that are too long as floats
OwnedImage ToYuv(const Image& colour, const Window& range);

/// One value of a colour picture of 8 bits, 16 bits or float as a grey picture of the same type. `range` is
/// what counts as 0 to full red, green or blue, the full range for integers. The result runs over
/// HsiPlaneRange.
OwnedImage HsiPlane(const Image& colour, HsiValue value, const Window& range);
/// The whole range of integers; of floats `range` for intensity, 0 to 1 for saturation, 0 to 2 pi for hue.
Window HsiPlaneRange(ImageDataType type, HsiValue value, const Window& range);

}  // namespace pzel_io
