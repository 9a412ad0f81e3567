// One loop for values that keep their bits, one for those that change their type.
#include "apps/io/readers/fits_values.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace pzel_io {

namespace {

template <std::size_t Bytes>
using Bits =
    std::conditional_t<Bytes == 1, std::uint8_t,
                       std::conditional_t<Bytes == 2, std::uint16_t,
                                          std::conditional_t<Bytes == 4, std::uint32_t, std::uint64_t>>>;

template <class B>
B Swapped(B bits) {
    if constexpr (sizeof bits == 2) return __builtin_bswap16(bits);
    if constexpr (sizeof bits == 4) return __builtin_bswap32(bits);
    if constexpr (sizeof bits == 8) return __builtin_bswap64(bits);
    return bits;
}

// Values that keep their bits, but for the one that tells the sign where the file counts from the lowest.
template <class B>
void Keep(const unsigned char* stored, unsigned char* values, std::size_t count, B flip) {
    for (std::size_t i = 0; i < count; ++i) {
        B bits;
        std::memcpy(&bits, stored + i * sizeof bits, sizeof bits);
        bits = static_cast<B>(Swapped(bits) ^ flip);
        std::memcpy(values + i * sizeof bits, &bits, sizeof bits);
    }
}

template <class T, class To, class Rule>
void Change(const unsigned char* stored, unsigned char* values, std::size_t count, Rule rule) {
    for (std::size_t i = 0; i < count; ++i) {
        Bits<sizeof(T)> bits;
        std::memcpy(&bits, stored + i * sizeof bits, sizeof bits);
        const To value = rule(std::bit_cast<T>(Swapped(bits)));
        std::memcpy(values + i * sizeof value, &value, sizeof value);
    }
}

// What no float holds is infinite.
float Narrow(double value) {
    if (std::abs(value) <= std::numeric_limits<float>::max() || std::isnan(value)) {
        return static_cast<float>(value);
    }
    return std::copysign(std::numeric_limits<float>::infinity(), value < 0 ? -1.0f : 1.0f);
}

template <class T>
void ToFloat(const FitsUnit& unit, const unsigned char* stored, unsigned char* values, std::size_t count) {
    const double scale = unit.scale;
    const double zero = unit.zero;
    if (unit.blank) {
        Change<T, float>(stored, values, count, [&, blank = *unit.blank](T value) {
            if (static_cast<long long>(value) == blank) return std::numeric_limits<float>::quiet_NaN();
            return Narrow(static_cast<double>(value) * scale + zero);
        });
    } else {
        Change<T, float>(stored, values, count,
                         [=](T value) { return Narrow(static_cast<double>(value) * scale + zero); });
    }
}

void LongToInteger(const FitsUnit& unit, const unsigned char* stored, unsigned char* values,
                   std::size_t count) {
    const std::uint64_t flip = unit.zero == 0 ? 0 : std::uint64_t{1} << 63;
    Change<std::uint64_t, std::uint32_t>(
        stored, values, count, [=](std::uint64_t bits) { return static_cast<std::uint32_t>(bits ^ flip); });
}

}  // namespace

void ConvertFitsValues(const FitsUnit& unit, const unsigned char* stored, unsigned char* values,
                       std::size_t count) {
    const bool isFlipped = unit.zero != 0;
    switch (unit.type) {
        case DataUInt8:
        case DataInt8: return Keep<std::uint8_t>(stored, values, count, isFlipped ? 0x80 : 0);
        case DataUInt16:
        case DataInt16: return Keep<std::uint16_t>(stored, values, count, isFlipped ? 0x8000 : 0);
        case DataUInt32:
        case DataInt32:
            if (unit.bits == LONGLONG_IMG) return LongToInteger(unit, stored, values, count);
            return Keep<std::uint32_t>(stored, values, count, isFlipped ? 0x80000000 : 0);
        default: break;
    }
    switch (unit.bits) {
        case BYTE_IMG: return ToFloat<std::uint8_t>(unit, stored, values, count);
        case SHORT_IMG: return ToFloat<std::int16_t>(unit, stored, values, count);
        case LONG_IMG: return ToFloat<std::int32_t>(unit, stored, values, count);
        case LONGLONG_IMG: return ToFloat<std::int64_t>(unit, stored, values, count);
        case FLOAT_IMG:
            if (unit.scale == 1 && unit.zero == 0) return Keep<std::uint32_t>(stored, values, count, 0);
            return ToFloat<float>(unit, stored, values, count);
        default: return ToFloat<double>(unit, stored, values, count);
    }
}

}  // namespace pzel_io
