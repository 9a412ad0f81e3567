// Copies of an image for what the display cannot show as it is, and masks of an image.
// A copy keeps size, layout and colour model; the caller tells the user of it.
#pragma once

#include "apps/io/picture.h"
#include "pzel/image/lifecycle.h"

namespace pzel_io {

/// Integers as floats of the same value less `lessBy` (to the nearest that a float holds: 32-bit ones far
/// from 0 are exact where that brings them near it).
/// @throws std::length_error for rows that are too long as floats
OwnedImage ToFloat(const Image& image, double lessBy = 0);
/// Signed 8-bit values as 16-bit ones: the display takes all 8-bit values as unsigned.
OwnedImage ToInt16(const Image& image);
/// Bits as bytes of 0 and 255.
OwnedImage ToBytes(const Image& image);
/// Where the values of a grey picture lie in a range, its ends included, as bits. NaN lies in none.
OwnedImage RangeMask(const Image& grey, const Window& range);
/// Where any channel is not zero, as bits.
OwnedImage NonZeroMask(const Image& image);
/// Where an 8-bit colour picture has this colour, 0xRRGGBB, as bits.
OwnedImage ColourMask(const Image& colour, std::uint32_t rgb);
/// One colour difference of a luminance picture of 8 or 16 bits as a grey picture: value + DifferenceOffset.
OwnedImage DifferencePlane(const Image& image, int channel);
/// What DifferencePlane adds: 128 or 32768.
int DifferenceOffset(ImageDataType type);

}  // namespace pzel_io
