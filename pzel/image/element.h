// From an element type code to a C++ type: the one place where element types are told apart.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "pzel/image/image.h"

namespace pzel {

/// Whether an element type code stands for elements; rows of all others are merely sized, like bits.
constexpr bool hasElements(int typeCode) {
    return typeCode >= DataBit && typeCode <= DataFloat;
}

/// calls `f.operator()<T>()` with the element type of a code from 2 to 8. Other codes: false, and f is not
/// called.
template <class F>
bool visitElement(int typeCode, F&& f) {
    switch (typeCode) {
        case DataUInt8: f.template operator()<std::uint8_t>(); return true;
        case DataInt8: f.template operator()<std::int8_t>(); return true;
        case DataUInt16: f.template operator()<std::uint16_t>(); return true;
        case DataInt16: f.template operator()<std::int16_t>(); return true;
        case DataUInt32: f.template operator()<std::uint32_t>(); return true;
        case DataInt32: f.template operator()<std::int32_t>(); return true;
        case DataFloat: f.template operator()<float>(); return true;
        default: return false;
    }
}

/// The same for the types that have levels and conversions: 8 and 16 bits and float.
template <class F>
bool visitDisplayElement(int typeCode, F&& f) {
    if (typeCode == DataUInt32 || typeCode == DataInt32) return false;
    return visitElement(typeCode, [&]<class T>() {
        if constexpr (!std::is_same_v<T, std::uint32_t> && !std::is_same_v<T, std::int32_t>)
            f.template operator()<T>();
    });
}

/// A (low, high) pair of one channel, as it stands in a bound array.
template <class T>
struct Pair {
    T low;
    T high;
    friend bool operator==(const Pair&, const Pair&) = default;
};

/// The range that stands for an unset bound.
template <class T>
constexpr Pair<T> fullRange() {
    if constexpr (std::is_floating_point_v<T>) return {T(0), T(255)};
    return {std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}

}  // namespace pzel
