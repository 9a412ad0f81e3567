// Typed access to bound arrays, for the library's own use.
#pragma once

#include <cstddef>

#include "pzel/image/element.h"
#include "pzel/image/image.h"

namespace pzel {

/// Bytes of every bound array of our own: three sections for 255 channels of the largest element, as a shape
/// may change after the array was made. One that a host brought may have no more than boundArrayBytes.
constexpr std::size_t kBoundArrayBytes = 3 * 255 * 2 * sizeof(std::uint32_t);

/// Bytes of a record's three sections: nothing beyond is read or written, whoever allocated the array.
inline std::size_t boundArrayBytes(const Image& image) {
    return std::size_t(3 * 2) * image.channels * std::size_t(DataBytes(image.dataType));
}

/// Whether the pair of a channel, counted from the data section on, lies in a record's array.
inline bool holdsEntry(const Image* image, int channel) {
    return channel >= 0 && channel < 3 * image->channels;
}

/// The pair of a channel in a section whose elements are T.
template <class T>
Pair<T>& boundEntry(unsigned char* section, int channel) {
    return reinterpret_cast<Pair<T>*>(section)[channel];
}

/// The element type that a channel's pair and pixels are read in.
inline int trueType(const Image* image, int channel) {
    return GetTrueDataType(GetSubType(image) & SubSignedBit, image->channels, channel, GetDataType(image));
}

/// A new bound array with the contents of an image's; null where it has none.
unsigned char* CloneBoundArray(const Image& image);

}  // namespace pzel
