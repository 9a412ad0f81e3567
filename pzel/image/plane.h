// One channel of an image, or three, as rows of elements: where a record's layout becomes a view.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "pzel/image/image.h"
#include "pzel/loops/rows.h"

namespace pzel {

/// Where one channel of an image starts and how far its pixels and rows are apart.
struct PlaneSteps {
    std::ptrdiff_t pixelStep;  // elements
    std::ptrdiff_t rowStep;    // bytes
};

inline PlaneSteps planeSteps(const Image& image) {
    return {IsInterleaved(&image) ? image.channels : 1, image.rowBytes};
}

/// Whether the rows of an image, as its shape has them, share no byte: their length may be a host's, or cut
/// to 16 bits.
inline bool rowsStandApart(const Image& image) {
    const std::int64_t element = DataBytes(image.dataType);
    const std::int64_t channels = IsInterleaved(&image) ? image.channels : 1;
    const std::int64_t bytes = element ? element * image.width : (image.width + 7) / 8;
    return image.rowBytes >= channels * bytes;
}

/// Calls f with the rows of a channel from pixel (x, y) on, read or written as T; `bool` stands for bits. An
/// interleaved bit image holds one run of bits for each channel in every row.
template <class T, class F>
void withRows(const Image& image, int channel, int x, int y, F&& f) {
    using Element = std::remove_const_t<T>;
    using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
    Byte* row = image.data + std::ptrdiff_t(y) * image.rowBytes;
    if constexpr (std::is_same_v<Element, bool>) {
        const std::ptrdiff_t plane = IsInterleaved(&image) ? (image.width + 7) / 8 : GetImageBytes(&image);
        f(BitRows<Byte>{row + channel * plane + x / 8, x % 8, image.rowBytes});
    } else {
        const PlaneSteps steps = planeSteps(image);
        const std::ptrdiff_t plane =
            IsInterleaved(&image) ? std::ptrdiff_t(sizeof(T)) : GetImageBytes(&image);
        const ContiguousRows<T> rows{reinterpret_cast<T*>(row + channel * plane) + x * steps.pixelStep,
                                     steps.rowStep};
        if (steps.pixelStep == 1)
            f(rows);
        else if (steps.pixelStep == 3)
            f(StridedRows<T, 3>{rows, 3});
        else
            f(StridedRows<T>{rows, steps.pixelStep});
    }
}

/// Calls f with the rows of the first three channels of an image from pixel (x, y) on, the first read or
/// written as T, the others as U; `bool` stands for bits. One pixel step serves all three.
template <class T, class U, class F>
void withThreePlanes(const Image& image, int x, int y, F&& f) {
    if constexpr (std::is_same_v<std::remove_const_t<T>, bool>) {
        withRows<T>(image, 0, x, y, [&](const auto& a) {
            const std::ptrdiff_t plane =
                IsInterleaved(&image) ? (image.width + 7) / 8 : GetImageBytes(&image);
            auto b = a, c = a;
            b.origin += plane;
            c.origin += 2 * plane;
            f(a, b, c);
        });
    } else {
        const PlaneSteps steps = planeSteps(image);
        const bool interleaved = IsInterleaved(&image);
        const std::ptrdiff_t plane =
            interleaved ? std::ptrdiff_t(sizeof(T)) : std::ptrdiff_t(GetImageBytes(&image));
        unsigned char* start =
            image.data + y * steps.rowStep + x * steps.pixelStep * std::ptrdiff_t(sizeof(T));
        const ContiguousRows<T> a{reinterpret_cast<T*>(start), steps.rowStep};
        const ContiguousRows<U> b{reinterpret_cast<U*>(start + plane), steps.rowStep};
        const ContiguousRows<U> c{reinterpret_cast<U*>(start + 2 * plane), steps.rowStep};
        if (interleaved)
            f(StridedRows<T, 3>{a, 3}, StridedRows<U, 3>{b, 3}, StridedRows<U, 3>{c, 3});
        else
            f(a, b, c);
    }
}

}  // namespace pzel
