// The walker for rules that see three channels at once and write blue, green and red.
#pragma once

#include <cstdint>

#include "pzel/image/image.h"
#include "pzel/image/plane.h"

namespace pzel {

struct Bgr {
    std::uint8_t blue, green, red;
};

/// Each channel by a rule of its own.
template <class Rule>
struct ByChannel {
    Rule blue, green, red;
    template <class T>
    Bgr operator()(T b, T g, T r) const {
        return {blue(b), green(g), red(r)};
    }
};

/// Calls f with the rows of the three channels of an image from pixel (x, y) on, the first read as T, the
/// others as U. One pixel step serves all three.
template <class T, class U, class F>
void withThreePlanes(const Image& image, int x, int y, F&& f) {
    const PlaneSteps steps = planeSteps(image);
    const bool interleaved = IsInterleaved(&image);
    const std::ptrdiff_t plane =
        interleaved ? std::ptrdiff_t(sizeof(T)) : std::ptrdiff_t(GetImageBytes(&image));
    const unsigned char* start =
        image.data + y * steps.rowStep + x * steps.pixelStep * std::ptrdiff_t(sizeof(T));
    const ContiguousRows<const T> a{reinterpret_cast<const T*>(start), steps.rowStep};
    const ContiguousRows<const U> b{reinterpret_cast<const U*>(start + plane), steps.rowStep};
    const ContiguousRows<const U> c{reinterpret_cast<const U*>(start + 2 * plane), steps.rowStep};
    if (interleaved)
        f(StridedRows<const T, 3>{a, 3}, StridedRows<const U, 3>{b, 3}, StridedRows<const U, 3>{c, 3});
    else
        f(a, b, c);
}

/// Runs a pixel rule over a rectangle in one pass: out = rule(a[x], b[x], c[x]).
template <class InA, class InB, class Rule>
void mapPixelRows(const InA& a, const InB& b, const InB& c, const ContiguousRows<std::uint8_t>& out,
                  int width, int height, const Rule& rule) {
    const Rule local = rule;
    for (int y = 0; y < height; ++y) {
        const auto rowA = a.row(y);
        const auto rowB = b.row(y);
        const auto rowC = c.row(y);
        std::uint8_t* bytes = out.row(y);
        for (int x = 0; x < width; ++x) {
            const Bgr pixel = local(rowA[x], rowB[x], rowC[x]);
            bytes[3 * x] = pixel.blue;
            bytes[3 * x + 1] = pixel.green;
            bytes[3 * x + 2] = pixel.red;
        }
    }
}

}  // namespace pzel
