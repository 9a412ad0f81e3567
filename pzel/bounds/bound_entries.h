// Typed access to bound arrays, for the library's own use.
#pragma once

#include <cstddef>

#include "pzel/image/element.h"
#include "pzel/image/image.h"

namespace pzel {

/// Bytes of every bound array: three sections for 255 channels of the largest element. Writers of defaults
/// and of copied bounds go by other channel counts than the image's own, and a shape may change after the
/// array was made; with this size none of them can leave the block.
constexpr std::size_t kBoundArrayBytes = 3 * 255 * 2 * sizeof(std::uint32_t);

/// The pair of a channel in a section whose elements are T.
template <class T>
Pair<T>& boundEntry(unsigned char* section, int channel) {
    return reinterpret_cast<Pair<T>*>(section)[channel];
}

/// The element type that a channel's pair and pixels are read in.
inline int trueType(const Image* image, int channel) {
    return GetTrueDataType(GetSubType(image) & SubSignedBit, image->channels, channel, GetDataType(image));
}

/// A new bound array with the contents of another.
unsigned char* CloneBoundArray(const unsigned char* bound);

/// Writes the HSI section from the data section, or the data section from the HSI section, both against the
/// spatial section. Only for images of three or more channels; types other than 8 bits, 16 bits and float are
/// left alone.
void DeriveHsiBound(Image* image);
void DeriveDataBound(Image* image);

}  // namespace pzel
