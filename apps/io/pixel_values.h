// The values of an image as numbers, channel by channel or pixel by pixel. A double holds every value of
// every element type.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "apps/io/picture.h"

namespace pzel_io {

/// One channel of an image, pixel after pixel: where it starts, and elements from pixel to pixel.
struct Plane {
    const unsigned char* first;
    std::size_t step;
};

/// Not for bits.
Plane ChannelPlane(const Image& image, int channel);
/// The element type of a channel's values: colour differences are signed.
ImageDataType TypeOfChannel(const Image& image, int channel);
/// The place in a record of a channel as a user counts: colour is stored blue first.
int StoredChannel(const Image& image, int channel);

template <class T, class Use>
void ForEachOf(const Plane& plane, std::size_t count, Use use) {
    for (std::size_t i = 0; i < count; ++i) {
        T value;
        std::memcpy(&value, plane.first + i * plane.step * sizeof value, sizeof value);
        use(value);
    }
}

/// Calls `use` with each value of a run of elements of the type; not for bits.
template <class Use>
void ForEachValue(ImageDataType type, const Plane& plane, std::size_t count, Use use) {
    switch (type) {
        case DataUInt8: return ForEachOf<std::uint8_t>(plane, count, use);
        case DataInt8: return ForEachOf<std::int8_t>(plane, count, use);
        case DataUInt16: return ForEachOf<std::uint16_t>(plane, count, use);
        case DataInt16: return ForEachOf<std::int16_t>(plane, count, use);
        case DataUInt32: return ForEachOf<std::uint32_t>(plane, count, use);
        case DataInt32: return ForEachOf<std::int32_t>(plane, count, use);
        case DataFloat: return ForEachOf<float>(plane, count, use);
        default: return;
    }
}

/// The values of `count` pixels of a row from a column on, pixel by pixel, the channels as a user names them.
std::vector<double> RowValues(const Image& image, int row, int column, int count);

/// A value of an element type in as few digits as bring it back: "7", "1e-17", "nan", "inf", "-inf".
std::string ValueText(double value, ImageDataType type);

}  // namespace pzel_io
