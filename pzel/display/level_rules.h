// From an element to a display byte: the rules of one channel, prepared once from its levels and its table.
//
//   Identity     the full 8-bit range without a table
//   Linear       levels without a table, rounded
//   Table        levels through a table of 512 entries, truncated
//   TableDirect  the full range of 8 or unsigned 16 bits through a table, without arithmetic
//   Guarded      any levels and table whose scale is no usable number, exactly
//
// ruleKind chooses, withPlainRule constructs; fast_rules.h has faster forms of some, and those of 8-bit data
// are rare here. All arithmetic is in single precision; a value that is not a number
// counts as black.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "pzel/image/element.h"

namespace pzel {

constexpr int kTableEntries = 512;
constexpr int kLastEntry = kTableEntries - 1;

/// Levels in increasing order with a usable scale. The input is clamped, not the output: that vectorises
/// well, and both ends come out exact.
template <class T>
struct Scaled {
    Scaled(Pair<T> levels, float top)
        : Scaled(levels.low, levels.high, top / float(levels.high - levels.low)) {}
    Scaled(T low, T high, float factor) : black(low), white(high), scale(factor) {}
    /// 0 … top, linearly from black to white.
    float operator()(T v) const {
        v = v > black ? v : black;  // in this order NaN becomes black
        v = v < white ? v : white;
        return float(Distance(v - black)) * scale;
    }
    T black, white;
    float scale;

  private:
    // In the element's own width, which keeps vectors narrow.
    using Distance = typename std::conditional_t<std::is_floating_point_v<T>, std::type_identity<T>,
                                                 std::make_unsigned<T>>::type;
};

/// 8-bit data at full range are their own bytes.
template <class T>
struct Identity {
    Identity(Pair<T>, const unsigned char*) {}
    std::uint8_t operator()(T v) const { return v; }
};

template <class T>
struct Linear {
    static constexpr bool isRare = sizeof(T) == 1;
    Linear(Pair<T> levels, const unsigned char*) : scaled(levels, 255.0f) {}
    explicit Linear(const Scaled<T>& values) : scaled(values) {}
    std::uint8_t operator()(T v) const { return std::uint8_t(int(scaled(v) + kStart)); }
    T black() const requires(sizeof(T) > 1) { return scaled.black; }
    float scale() const { return scaled.scale; }
    static constexpr float kStart = 0.5f;
    Scaled<T> scaled;
};

template <class T>
struct Table {
    static constexpr bool isRare = sizeof(T) == 1;
    using Index = std::uint16_t;
    Table(Pair<T> levels, const unsigned char* lut) : scaled(levels, float(kLastEntry)), table(lut) {}
    Index index(T v) const { return Index(v >= scaled.white ? kLastEntry : int(scaled(v))); }
    const unsigned char* entries() const { return table; }
    std::uint8_t operator()(T v) const { return table[index(v)]; }
    T black() const requires(sizeof(T) > 1) { return scaled.black; }
    T white() const { return scaled.white; }
    float scale() const { return scaled.scale; }
    static constexpr float kStart = 0;
    static constexpr int kLast = kLastEntry;
    Scaled<T> scaled;
    const unsigned char* table;
};

/// Reads other entries than Table would, deliberately: 255 gives entry 510, 65535 entry 511.
template <class T>
struct TableDirect {
    static constexpr bool isRare = sizeof(T) == 1;
    static_assert(std::is_unsigned_v<T>);
    using Index = std::uint16_t;
    TableDirect(Pair<T>, const unsigned char* lut) : table(lut) {}
    Index index(T v) const { return Index(sizeof(T) == 1 ? 2 * v : v >> 7); }
    const unsigned char* entries() const { return table; }
    std::uint8_t operator()(T v) const { return table[index(v)]; }
    const unsigned char* table;
};

/// Equal, inverted, immense or all but equal levels: the comparisons decide first, and what lies between is
/// found in double precision where floats have no scale for it.
template <class T>
struct Guarded {
    static constexpr bool isRare = true;
    Guarded(Pair<T> levels, const unsigned char* lut)
        : black(levels.low), white(levels.high), table(lut), range(float(white) - float(black)) {}
    std::uint8_t operator()(T v) const {
        const int top = table ? kLastEntry : 255;
        int index = 0;
        if (v >= white && v > black) {
            index = top;
        } else if (v > black) {
            const float scale = float(top) / range, start = table ? 0.0f : 0.5f;
            const double t = std::isnormal(scale) ? double((float(v) - float(black)) * scale + start)
                                                  : exactly(v, top) + double(start);
            index = t >= top ? top : int(t > 0 ? t : 0.0);
        }
        return table ? table[index] : std::uint8_t(index);
    }
    T black, white;
    const unsigned char* table;
    float range;

  private:
    double exactly(T v, int top) const {
        return (double(v) - double(black)) * top / (double(white) - double(black));
    }
};

enum class RuleKind { Identity, Linear, Table, TableDirect, Guarded };

template <class T>
RuleKind ruleKind(Pair<T> levels, const unsigned char* lut) {
    if (!(levels.high > levels.low)) return RuleKind::Guarded;
    if constexpr (std::is_floating_point_v<T>) {
        const float range = levels.high - levels.low;
        if (!std::isfinite(float(kLastEntry) / range) || !std::isnormal(255.0f / range))
            return RuleKind::Guarded;
    }
    const bool full = std::is_unsigned_v<T> && levels == fullRange<T>();
    if (lut) return full ? RuleKind::TableDirect : RuleKind::Table;
    return full && sizeof(T) == 1 ? RuleKind::Identity : RuleKind::Linear;
}

/// Calls f with the rule of a channel as it stands above; every one is constructed from (levels, table).
template <class T, class F>
void withPlainRule(Pair<T> levels, const unsigned char* lut, F&& f) {
    switch (ruleKind(levels, lut)) {
        case RuleKind::Identity:
            if constexpr (sizeof(T) == 1) f(Identity<T>(levels, lut));
            break;
        case RuleKind::Linear: f(Linear<T>(levels, lut)); break;
        case RuleKind::Table: f(Table<T>(levels, lut)); break;
        case RuleKind::TableDirect:
            if constexpr (std::is_unsigned_v<T>) f(TableDirect<T>(levels, lut));
            break;
        case RuleKind::Guarded: f(Guarded<T>(levels, lut)); break;
    }
}

}  // namespace pzel
