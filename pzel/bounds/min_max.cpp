// Minimum and maximum: one loop for all element types.
#include "pzel/bounds/min_max.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "pzel/image/element.h"
#include "pzel/image/lifecycle.h"
#include "pzel/loops/instruction_set.h"

using pzel::Pair;

namespace {

/// Every lane starts from the first element and keeps its own minimum and maximum, so that the loop
/// vectorises for floats too; NaN compares false and never enters, but a first one stays.
template <class T>
Pair<T> MinMax(const T* data, std::size_t count) {
    Pair<T> result{data[0], data[0]};
    pzel::onBestSet([=, out = &result](auto) {
        // Fewer lanes of floats would be unrolled into scalars before the vectoriser sees them.
        constexpr std::size_t lanes = 256 / sizeof(T);
        T low[lanes], high[lanes];
        std::fill_n(low, lanes, data[0]);
        std::fill_n(high, lanes, data[0]);
        std::size_t i = 0;
        for (; i + lanes <= count; i += lanes) {
            for (std::size_t k = 0; k < lanes; ++k) {
                const T v = data[i + k];
                low[k] = v < low[k] ? v : low[k];
                high[k] = v > high[k] ? v : high[k];
            }
        }
        for (std::size_t k = 0; i < count; ++i, ++k) {
            low[k] = data[i] < low[k] ? data[i] : low[k];
            high[k] = data[i] > high[k] ? data[i] : high[k];
        }
        for (std::size_t k = 0; k < lanes; ++k) {
            out->low = low[k] < out->low ? low[k] : out->low;
            out->high = high[k] > out->high ? high[k] : out->high;
        }
    });
    return result;
}

template <class T>
void MinMaxOf(const T* data, int count, T* min, T* max) {
    assert(count > 0);
    const Pair<T> range = MinMax(data, std::size_t(count));
    *min = range.low;
    *max = range.high;
}

/// Over all channels: interleaved data in one go, planes one after another.
template <class T>
Pair<T> ImageRange(const Image* image) {
    const std::size_t plane = GetImageSize(image);
    if (!image->data || plane == 0 || image->channels == 0) return {};
    const auto start = [&](int channel) { return reinterpret_cast<const T*>(GetImageData(image, channel)); };
    if (IsInterleaved(image)) return MinMax(start(0), GetImageVolume(image));
    Pair<T> range = MinMax(start(0), plane);
    for (int c = 1; c < image->channels; ++c) {
        const Pair<T> next = MinMax(start(c), plane);
        range = {next.low < range.low ? next.low : range.low,
                 next.high > range.high ? next.high : range.high};
    }
    return range;
}

/// Moves an empty range apart, so that the maximum lies above the minimum.
template <class T>
Pair<T> Widened(Pair<T> range) {
    if (range.low != range.high) return range;
    if constexpr (std::is_floating_point_v<T>) {
        constexpr T large = 1e10f;  // too large for + 1 to change anything
        return range.high > large ? Pair<T>{range.low - 1, range.high} : Pair<T>{range.low, range.high + 1};
    } else {
        constexpr T largest = std::numeric_limits<T>::max();
        return range.high == largest ? Pair<T>{T(largest - 1), largest}
                                     : Pair<T>{range.low, T(range.high + 1)};
    }
}

}  // namespace

void MinMaxUChar(unsigned char* data, int count, unsigned char* min, unsigned char* max) {
    MinMaxOf(data, count, min, max);
}

void MinMaxChar(signed char* data, int count, signed char* min, signed char* max) {
    MinMaxOf(data, count, min, max);
}

void MinMaxUShort(unsigned short* data, int count, unsigned short* min, unsigned short* max) {
    MinMaxOf(data, count, min, max);
}

void MinMaxShort(short* data, int count, short* min, short* max) {
    MinMaxOf(data, count, min, max);
}

void MinMaxInt(int* data, int count, int* min, int* max) {
    MinMaxOf(data, count, min, max);
}

void MinMaxBound(Image* image, void* min, void* max) {
    // Unsigned 32-bit data compare as signed ones, as MinMaxInt does.
    int type = GetDataType(image);
    if (type == DataUInt32) type = DataInt32;
    pzel::visitElement(type, [&]<class T>() {
        const Pair<T> range = Widened(ImageRange<T>(image));
        *static_cast<T*>(min) = range.low;
        *static_cast<T*>(max) = range.high;
    });
}
