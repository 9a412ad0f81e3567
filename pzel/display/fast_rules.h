// Rules in a form that runs faster, with the same bytes; and the edge where they are chosen.
//
//   ByteLinear     Linear for 8-bit data, in integers of 16 bits
//   ByteTable      any rule for 8-bit data, as a table of its 256 results
//   LinearLanes    Linear for samples of three channels in turn
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "pzel/display/level_rules.h"
#include "pzel/loops/instruction_set.h"

namespace pzel {

/// Any rule of 8-bit data has 256 results.
struct ByteTable {
    using Index = std::uint8_t;
    ByteTable(Pair<std::uint8_t> levels, const unsigned char* lut) {
        withPlainRule(levels, lut, [this](const auto& rule) {
            for (int v = 0; v < 256; ++v) results[std::size_t(v)] = rule(std::uint8_t(v));
        });
    }
    Index index(std::uint8_t v) const { return v; }
    const unsigned char* entries() const { return results.data(); }
    std::uint8_t operator()(std::uint8_t v) const { return results[v]; }
    std::array<std::uint8_t, 256> results;
};

/// Levels of 8-bit data without a table: the distance from black, spread over 16 bits, times a factor of
/// which the high half counts, eight of its bits behind the point.
struct ByteLinear {
    /// With a factor close to the nominal one that is right for all values; none for few widths (238 and 246)
    /// and for levels that do not increase.
    static std::optional<ByteLinear> find(Pair<std::uint8_t> levels);
    std::uint8_t operator()(std::uint8_t v) const {
        v = v > black ? v : black;
        v = v < white ? v : white;
        const std::uint16_t distance = std::uint16_t(std::uint8_t(v - black) * spread);
        const std::uint16_t product = std::uint16_t(std::uint32_t(distance) * factor >> 16);
        return std::uint8_t(std::uint16_t(product + rounding) >> 8);
    }
    std::uint8_t black, white;
    std::uint16_t spread, factor, rounding;
};

/// The rules of three channels in turn, as constants for every sample of a period: as many for each channel
/// as a vector has bytes.
template <class Rule>
struct LinearLanes;
constexpr int kLanePeriod = 3 * 64;

template <class T>
struct LinearLanes<Linear<T>> {
    static constexpr int kPeriod = kLanePeriod;
    LinearLanes(const Linear<T>& a, const Linear<T>& b, const Linear<T>& c) {
        const Linear<T> rules[] = {a, b, c};
        for (int k = 0; k < kLanePeriod; ++k) {
            const Scaled<T>& scaled = rules[k % 3].scaled;
            black[k] = scaled.black;
            white[k] = scaled.white;
            scale[k] = scaled.scale;
        }
    }
    std::uint8_t operator()(T v, int k) const {
        return Linear<T>(Scaled<T>(black[k], white[k], scale[k]))(v);
    }
    T black[kLanePeriod], white[kLanePeriod];
    float scale[kLanePeriod];
};

template <>
struct LinearLanes<ByteLinear> {
    static constexpr int kPeriod = kLanePeriod;
    LinearLanes(const ByteLinear& a, const ByteLinear& b, const ByteLinear& c) {
        const ByteLinear rules[] = {a, b, c};
        for (int k = 0; k < kLanePeriod; ++k) {
            const ByteLinear& rule = rules[k % 3];
            black[k] = rule.black;
            white[k] = rule.white;
            spread[k] = rule.spread;
            factor[k] = rule.factor;
            rounding[k] = rule.rounding;
        }
    }
    std::uint8_t operator()(std::uint8_t v, int k) const {
        return ByteLinear{black[k], white[k], spread[k], factor[k], rounding[k]}(v);
    }
    std::uint8_t black[kLanePeriod], white[kLanePeriod];
    std::uint16_t spread[kLanePeriod], factor[kLanePeriod], rounding[kLanePeriod];
};

/// Whether a rule has constants for LinearLanes.
template <class Rule>
constexpr bool hasLanes = false;
template <class T>
constexpr bool hasLanes<Linear<T>> = true;
template <>
inline constexpr bool hasLanes<ByteLinear> = true;

/// Calls f with the rule of a channel, in its fastest form.
template <class T, class F>
void withRule(Pair<T> levels, const unsigned char* lut, F&& f) {
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        if (takesShortCuts() && ruleKind(levels, lut) != RuleKind::Identity) {
            if (!lut)
                if (const auto linear = ByteLinear::find(levels)) return f(*linear);
            return f(ByteTable(levels, lut));
        }
    }
    withPlainRule(levels, lut, f);
}

/// Calls f with the rules of three channels, which are of one type; false, without a call, where they cannot
/// be. `lut` holds three tables, or is null.
template <class T, class F>
bool withThreeRules(const Pair<T> (&levels)[3], const unsigned char* lut, F&& f) {
    const auto table = [lut](int channel) { return lut ? lut + channel * kTableEntries : nullptr; };
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        if (takesShortCuts()) {
            if (!lut) {
                const auto a = ByteLinear::find(levels[0]), b = ByteLinear::find(levels[1]),
                           c = ByteLinear::find(levels[2]);
                if (a && b && c) {
                    f(*a, *b, *c);
                    return true;
                }
            }
            f(ByteTable(levels[0], table(0)), ByteTable(levels[1], table(1)), ByteTable(levels[2], table(2)));
            return true;
        }
    }
    const RuleKind kind = ruleKind(levels[0], lut);
    if (kind != ruleKind(levels[1], lut) || kind != ruleKind(levels[2], lut)) return false;
    withPlainRule(levels[0], lut, [&]<class Rule>(const Rule& first) {
        f(first, Rule(levels[1], table(1)), Rule(levels[2], table(2)));
    });
    return true;
}

}  // namespace pzel
