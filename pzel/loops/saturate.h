// Conversions from floating point to elements with a defined result for every input.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace pzel {

/// Truncated toward zero and saturated to the range of an integer T; NaN gives 0.
template <class T>
constexpr T saturate(double v) {
    // The upper limit of 64-bit integers is no double: compare with the power of two above it.
    constexpr double above =
        sizeof(T) == 8 ? 9223372036854775808.0 : double(std::numeric_limits<T>::max()) + 1.0;
    if (!(v > double(std::numeric_limits<T>::min()) - 1.0))
        return v != v ? T(0) : std::numeric_limits<T>::min();
    if (v >= above) return std::numeric_limits<T>::max();
    return T(v);
}

/// As levels are stored: an integer T takes the low bits of the value truncated to 64 bits (300 into a byte
/// is 44), a float the nearest value or an infinity.
template <class T>
constexpr T narrowWide(double v) {
    if constexpr (std::is_floating_point_v<T>) {
        constexpr double limit = std::numeric_limits<T>::max();
        if (v > limit || v < -limit) {
            // Halfway to the next power of two rounds up to it, out of range.
            constexpr double halfway = 3.4028235677973366e38;
            if (v >= halfway) return std::numeric_limits<T>::infinity();
            if (v <= -halfway) return -std::numeric_limits<T>::infinity();
            return v > 0 ? T(limit) : T(-limit);
        }
        return T(v);
    } else {
        return T(saturate<std::int64_t>(v));
    }
}

}  // namespace pzel
