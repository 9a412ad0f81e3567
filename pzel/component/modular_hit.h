// The first term of a modular progression that falls into an interval. Internal: lets the frame selection
// jump to where a loop of additions would end.
#pragma once

#include <cstdint>
#include <optional>

namespace pzel {

/// The smallest k >= 0 with lo <= step * k mod modulus <= hi, for 0 <= lo <= hi < modulus <= 2^32; none where
/// there is no such k. Takes as many rounds as Euclid's algorithm on (step, modulus).
constexpr std::optional<std::uint64_t> firstHit(std::uint64_t step, std::uint64_t modulus, std::uint64_t lo,
                                                std::uint64_t hi) {
    if (lo == 0) return 0;
    step %= modulus;
    if (step == 0) return std::nullopt;
    const std::uint64_t beforeWrap = (lo + step - 1) / step;
    if (beforeWrap * step <= hi) return beforeWrap;
    // No multiple of the step lies in the interval. After w wraps the terms are multiples of the step less
    // w * modulus, so that the first hit is where w * modulus falls, modulo the step, as far below zero as
    // the interval stands above it.
    const auto wraps = firstHit(modulus % step, step, step - hi % step, step - lo % step);
    if (!wraps) return std::nullopt;
    return (*wraps * modulus + lo + step - 1) / step;
}

/// Where the progression start + step, start + 2 * step, … (mod 2^32) first meets lo … hi; `start` lies
/// outside.
constexpr std::optional<std::uint32_t> firstTermWithin(std::uint32_t start, std::uint32_t step,
                                                       std::uint32_t lo, std::uint32_t hi) {
    constexpr std::uint64_t modulus = std::uint64_t{1} << 32;
    const auto k = firstHit(step, modulus, lo - start, hi - start);
    if (!k) return std::nullopt;
    return static_cast<std::uint32_t>(start + *k * step);
}

}  // namespace pzel
