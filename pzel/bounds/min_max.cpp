// Minimum and maximum: one loop for all element types.
#include "pzel/bounds/min_max.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "pzel/image/element.h"
#include "pzel/image/lifecycle.h"
#include "pzel/loops/instruction_set.h"
#include "pzel/loops/ranges.h"

using pzel::Pair;

namespace {

/// Every lane starts from the first element and keeps its own minimum and maximum, so that the loop
/// vectorises for floats too; NaN compares false and never enters, but a first one stays. Which of two equal
/// zeros is found depends on lanes and on the order in each: ranges keep both.
template <class T>
struct Lanes {
    // Fewer lanes of floats would be unrolled into scalars before the vectoriser sees them.
    static constexpr std::size_t kCount = 256 / sizeof(T);

    Lanes() = default;
    explicit Lanes(T first) {
        std::fill_n(low, kCount, first);
        std::fill_n(high, kCount, first);
    }
    /// Elements from a multiple of the lanes on.
    void add(const T* data, std::size_t count) {
        pzel::onBestSet([=, lanes = this](auto) {
            Lanes local = *lanes;
            std::size_t i = 0;
            for (; i + kCount <= count; i += kCount) local.addSome(data + i, kCount);
            local.addSome(data + i, count - i);
            *lanes = local;
        });
    }
    /// What a range found that stands behind.
    void add(const Lanes& behind) {
        for (std::size_t k = 0; k < kCount; ++k) {
            low[k] = behind.low[k] < low[k] ? behind.low[k] : low[k];
            high[k] = behind.high[k] > high[k] ? behind.high[k] : high[k];
        }
    }
    Pair<T> range(T first) const {
        Pair<T> result{first, first};
        for (std::size_t k = 0; k < kCount; ++k) {
            result.low = low[k] < result.low ? low[k] : result.low;
            result.high = high[k] > result.high ? high[k] : result.high;
        }
        return result;
    }

  private:
    void addSome(const T* data, std::size_t count) {
        for (std::size_t k = 0; k < count; ++k) {
            const T v = data[k];
            low[k] = v < low[k] ? v : low[k];
            high[k] = v > high[k] ? v : high[k];
        }
    }
    T low[kCount], high[kCount];
};

/// Ranges at most, of which each has lanes of its own.
constexpr int kMostFound = 32;

template <class T>
Pair<T> MinMax(const T* data, std::size_t count) {
    constexpr std::size_t step = 64 * Lanes<T>::kCount;
    const int steps = int((count + step - 1) / step);
    const pzel::Ranges ranges(steps, std::int64_t(count), pzel::Effort::Moving, kMostFound);
    Lanes<T> found[kMostFound];
    ranges.run([&](int range, int first, int end) {
        const std::size_t start = step * std::size_t(first),
                          behind = std::min(step * std::size_t(end), count);
        Lanes<T> lanes(data[0]);
        lanes.add(data + start, behind - start);
        found[range] = lanes;
    });
    for (int range = 1; range < ranges.size(); ++range) found[0].add(found[range]);
    return found[0].range(data[0]);
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
