// Bounds from the pixels: computed, for vectors, and repaired.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "pzel/bounds/bounds.h"
#include "pzel/bounds/min_max.h"
#include "pzel/image/bound_entries.h"

using pzel::boundEntry;
using pzel::Pair;

namespace {

/// Repeats the first pair for all further channels.
template <class T>
void SharePair(Image* image, Pair<T> pair) {
    std::fill_n(&boundEntry<T>(GetBound(image), 0), image->channels, pair);
}

template <class T>
Pair<T> DataRange(Image* image) {
    Pair<T> range;
    MinMaxBound(image, &range.low, &range.high);
    return range;
}

/// The luminance is scanned with fixed steps: one element in planes, three in interleaved rows, whatever the
/// number of channels; the scan stays inside the data. A value that lowers the minimum does not count for the
/// maximum (deliberate: a single 100 gives (100, 0), which CheckBound repairs later).
template <class T>
Pair<T> ScanLuminance(const Image* image, bool interleaved, Pair<T> range) {
    const std::size_t step = interleaved ? 3 : 1;
    const std::size_t rowElements = image->rowBytes / sizeof(T);
    const std::size_t total = GetImageTotalBytes(image) / sizeof(T);
    const T* data = reinterpret_cast<const T*>(image->data);
    for (std::size_t y = 0; y < image->height; ++y) {
        const std::size_t start = y * rowElements;
        const std::size_t end = std::min(start + image->width * step, total);
        for (std::size_t i = start; i < end; i += step) {
            if (data[i] < range.low)
                range.low = data[i];
            else if (data[i] > range.high)
                range.high = data[i];
        }
    }
    return range;
}

template <class T>
Pair<T> LuminanceRange(const Image* image, bool interleaved) {
    const bool empty = image->height == 0 || !image->data;
    if constexpr (std::is_floating_point_v<T>) {
        const T first = empty || image->width == 0 ? T(0) : *reinterpret_cast<const T*>(image->data);
        Pair<T> range = empty ? Pair<T>{first, first} : ScanLuminance<T>(image, interleaved, {first, first});
        if (range.low == range.high) range.high += 1;
        return range;
    } else {
        constexpr T largest = std::numeric_limits<T>::max();
        if (empty) return {largest, 0};  // deliberate: nothing was scanned, nothing is repaired
        const Pair<T> range = ScanLuminance<T>(image, interleaved, {largest, 0});
        return range.low == range.high ? Pair<T>{0, largest} : range;
    }
}

/// The colour differences get the symmetric range of half the luminance's maximum.
template <class T>
void ComputeDifferenceBounds(Image* image) {
    Pair<T>* entries = &boundEntry<T>(GetBound(image), 0);
    T half;
    if constexpr (std::is_floating_point_v<T>)
        half = entries[0].high * T(0.5);
    else
        half = T(std::make_unsigned_t<T>(entries[0].high) >> 1);
    std::fill_n(entries + 1, image->channels - 1, Pair<T>{T(-half), half});
}

void ComputeYuvBound(Image* image) {
    const int type = GetDataType(image);
    unsigned char* bound = GetBound(image);
    if (type == DataUInt8) {
        boundEntry<std::uint8_t>(bound, 0) = {0, 255};
        if (image->channels == 3)
            std::fill_n(&boundEntry<std::int8_t>(bound, 1), 2, Pair<std::int8_t>{-128, 127});
        return;
    }
    const bool interleaved = image->channels != 1 && IsInterleaved(image);
    if (type == DataUInt16 || type == DataInt16)
        boundEntry<std::uint16_t>(bound, 0) = LuminanceRange<std::uint16_t>(image, interleaved);
    else if (type == DataFloat)
        boundEntry<float>(bound, 0) = LuminanceRange<float>(image, interleaved);
    if (image->channels > 1) pzel::visitElement(type, [&]<class T>() { ComputeDifferenceBounds<T>(image); });
}

void ComputeCommonBound(Image* image) {
    pzel::visitElement(GetDataType(image), [&]<class T>() {
        SharePair<T>(image, sizeof(T) == 1 ? pzel::fullRange<T>() : DataRange<T>(image));
    });
}

/// A range of values as the range of their magnitudes.
template <class T>
Pair<T> MagnitudeRange(Pair<T> range) {
    constexpr T someLength = 5;  // what a field without any movement is drawn against
    T largest;
    if constexpr (std::is_floating_point_v<T>) {
        largest = std::max(std::abs(range.low), std::abs(range.high));
    } else if constexpr (std::is_signed_v<T>) {
        const auto magnitude = [](T v) {
            const long long m = std::llabs(v);  // the lowest value's magnitude has no positive counterpart
            return T(std::min<long long>(m, std::numeric_limits<T>::max()));
        };
        largest = std::max(magnitude(range.low), magnitude(range.high));
    } else {
        largest = std::max(range.low, range.high);
    }
    return {0, largest == 0 ? someLength : largest};
}

/// What replaces an empty or inverted pair.
template <class T>
constexpr Pair<T> repairedPair() {
    if constexpr (std::is_floating_point_v<T>) return {0, 1};
    // Not the limits of the type, deliberately: 32767 * 65535 on both sides.
    if constexpr (sizeof(T) == 4) return {T(-2147385345), T(2147385345)};
    return pzel::fullRange<T>();
}

}  // namespace

void ComputeBound(Image* image) {
    if (GetBound(image)) {
        if (GetSubType(image) == SubYuv)
            ComputeYuvBound(image);
        else
            ComputeCommonBound(image);
    }
    image->state |= StateBoundSet;
}

void ComputeVctBound(Image* image) {
    if (!GetBound(image)) return;
    pzel::visitElement(GetDataType(image),
                       [&]<class T>() { SharePair<T>(image, MagnitudeRange(DataRange<T>(image))); });
    image->state |= StateBoundSet;
}

void CheckBound(Image* image) {
    if (!(image->state & (StateBoundSet | StateBoundDefault))) {
        ComputeBound(image);
        return;
    }
    unsigned char* bound = GetBound(image);
    if (!bound) return;
    for (int c = 0; c < image->channels; ++c) {
        int type = GetDataType(image);
        // 16-bit pairs compare by what the channel of a picture of several holds, also where it is the only
        // one (deliberate), 8-bit ones by the image's type, 32-bit ones as signed.
        if (type == DataUInt16 || type == DataInt16)
            type = GetTrueDataType(GetSubType(image) & SubSignedBit, std::max<int>(image->channels, 2), c,
                                   static_cast<unsigned char>(type));
        if (type == DataUInt32) type = DataInt32;
        pzel::visitElement(type, [&]<class T>() {
            Pair<T>& entry = boundEntry<T>(bound, c);
            if (entry.high <= entry.low) entry = repairedPair<T>();
        });
    }
}
