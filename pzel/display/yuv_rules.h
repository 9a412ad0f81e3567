// From luminance and two colour differences to blue, green and red bytes: linear, or through three tables.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>

#include "pzel/display/level_rules.h"
#include "pzel/display/pixel_rows.h"
#include "pzel/display/yuv_vectors.h"
#include "pzel/image/element.h"
#include "pzel/loops/clamp.h"

namespace pzel {

/// How 8-, 16-bit and float YUV pixels are read: luminance unsigned, differences signed.
template <class T>
struct YuvElements {
    using Luminance = T;
    using Difference = T;
};
template <>
struct YuvElements<std::uint8_t> {
    using Luminance = std::uint8_t;
    using Difference = std::int8_t;
};
template <>
struct YuvElements<std::uint16_t> {
    using Luminance = std::uint16_t;
    using Difference = std::int16_t;
};

/// Truncated and clamped to a byte; not a number gives 0.
template <class Real>
std::uint8_t toByte(Real v) {
    return std::uint8_t(int(clampTo(kByteEnds, v)));
}

/// Luminance 0 … 255 between its levels. Elements are exact as floats.
template <class T>
struct LinearLuminance {
    LinearLuminance(Pair<T> levels, const unsigned char*)
        : black(float(levels.low)), white(float(levels.high)), scale(255.0f / (white - black)) {}
    float operator()(T v) const {
        const float value = float(v);
        float y = (value - black) * scale;
        y = value >= white ? 255.0f : y;
        return value > black ? y : 0.0f;
    }
    float black, white, scale;
};

/// A colour difference -127.5 … 127.5 within symmetric limits; not a number counts as the lower one.
template <class T>
struct LinearDifference {
    LinearDifference(T highEnd, const unsigned char*) : limit(float(highEnd)), scale(127.5f / limit) {}
    float operator()(T v) const {
        const float value = float(v);
        float u = (value + limit) * scale - 127.5f;
        u = value >= limit ? 127.5f : u;
        return value > -limit ? u : -127.5f;
    }
    float limit, scale;
};

/// Whether floats reach as far as levels and limits are apart; else the next two are needed.
inline bool fitFloats(Pair<float> levels, float highU, float highV) {
    return std::isfinite(levels.high - levels.low) && std::isfinite(2 * highU) && std::isfinite(2 * highV);
}

/// LinearLuminance in double precision.
struct WideLuminance {
    static constexpr bool isRare = true;
    float operator()(float v) const {
        if (!(v > levels.low)) return 0;
        if (v >= levels.high) return 255;
        return float((double(v) - levels.low) * 255 / (double(levels.high) - levels.low));
    }
    Pair<float> levels;
};

/// LinearDifference in double precision.
struct WideDifference {
    float operator()(float v) const {
        if (!(v > -limit)) return -127.5f;
        return v >= limit ? 127.5f : float(double(v) * 127.5 / limit);
    }
    float limit;
};

/// A colour difference through a table of its magnitudes, with its sign.
template <class T>
struct TableDifference {
    TableDifference(T highEnd, const unsigned char* lut)
        : limit(float(highEnd)), scale(float(kLastEntry) / limit), table(lut) {}
    float operator()(T v) const {
        const float value = float(v), magnitude = value < 0 ? -value : value;
        int entry = kLastEntry;
        if (magnitude < limit) {
            const float t = magnitude * scale;
            entry = t < float(kLastEntry) ? int(t) : kLastEntry;
        }
        const float shown = table[entry];
        return value < 0 ? -shown : shown;
    }
    float limit, scale;
    const unsigned char* table;
};

/// The same for 8 bits, as its 256 results.
struct ByteDifference {
    ByteDifference(std::int8_t highEnd, const unsigned char* lut) {
        const TableDifference<std::int8_t> rule(highEnd, lut);
        for (int v = -128; v < 128; ++v) results[std::uint8_t(v)] = rule(std::int8_t(v));
    }
    float operator()(std::int8_t v) const { return results[std::uint8_t(v)]; }
    float results[256];
};

/// The linear way: differences of 127.5 are full colour. The blue factor alone is held in double precision.
struct LinearMatrix {
    static std::uint8_t blue(float y, float u) { return toByte(y + 1.77304 * u); }
    static std::uint8_t green(float y, float u, float v) { return toByte(y - 0.34437f * u - 0.714407f * v); }
    static std::uint8_t red(float y, float v) { return toByte(y + 1.402581f * v); }
};

/// The way through tables: differences of 255 are full colour. The red factor is not half of the linear one,
/// deliberately.
struct TableMatrix {
    static std::uint8_t blue(float y, float u) { return toByte(y + 0.88652f * u); }
    static std::uint8_t green(float y, float u, float v) { return toByte(y - 0.172185f * u - 0.357204f * v); }
    static std::uint8_t red(float y, float v) { return toByte(y + 0.512905f * v); }
};

/// A pixel rule made of the three channels' rules and a matrix.
template <class LuminanceRule, class DifferenceRule, class Matrix>
struct YuvRule {
    static constexpr bool isRare = pzel::isRare<LuminanceRule>;
    LuminanceRule luminance;
    DifferenceRule first, second;
    template <class Set, class Y, class C>
    void operator()(Set, const Y* rowY, const C* rowU, const C* rowV, int count, BgrBlock& out) const {
        float y[kPixelBlock], u[kPixelBlock], v[kPixelBlock];
        for (int i = 0; i < count; ++i) y[i] = luminance(rowY[i]);
        for (int i = 0; i < count; ++i) u[i] = first(rowU[i]);
        for (int i = 0; i < count; ++i) v[i] = second(rowV[i]);
        for (int i = 0; i < count; ++i) out.blue[i] = Matrix::blue(y[i], u[i]);
        for (int i = 0; i < count; ++i) out.green[i] = Matrix::green(y[i], u[i], v[i]);
        for (int i = 0; i < count; ++i) out.red[i] = Matrix::red(y[i], v[i]);
    }
};

/// The linear way of 8-bit pixels of standard levels, which has other forms for vectors.
struct ByteYuv : YuvRule<LinearLuminance<std::uint8_t>, LinearDifference<std::int8_t>, LinearMatrix> {
    static bool fits(Pair<std::uint8_t> levels, std::int8_t highU, std::int8_t highV) {
        return levels == fullRange<std::uint8_t>() && highU == 127 && highV == 127;
    }
#if PZEL_VECTORS
    YuvProducts onVectors() const {
        return {};
    }
#endif
};

}  // namespace pzel
