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

/// The unsigned integer type of the same size; other types as they are.
inline int unsignedType(int type) {
    return type == DataInt8 || type == DataInt16 || type == DataInt32 ? type - 1 : type;
}

/// The element type that the levels of a channel are read in: in a component of type word 1 the luminance is
/// unsigned, the two colour differences are signed.
inline int levelType(unsigned short compType, int type, int channel) {
    if (compType != SubYuv || channel < 0 || channel > 2) return type;
    if (channel == 0) return unsignedType(type);
    return type == DataUInt8 || type == DataUInt16 || type == DataUInt32 ? type + 1 : type;
}

/// A new bound array with the contents of an image's; null where it has none.
unsigned char* CloneBoundArray(const Image& image);

/// Ranges of intensity, saturation and hue of three data pairs against three spatial ones, all of an element
/// type; the result's integers are unsigned. False for other types than 8 bits, 16 bits and float.
bool deriveHsi(int type, unsigned char* data, unsigned char* spatial, unsigned char* hsi);

/// Writes the HSI section from the data section, or the data section from the HSI section, both against the
/// spatial section. Only for images of three or more channels; types other than 8 bits, 16 bits and float are
/// left alone.
void DeriveHsiBound(Image* image);
void DeriveDataBound(Image* image);

}  // namespace pzel
