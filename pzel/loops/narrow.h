// Floats scaled into bytes or 16 bits, and 16 bits into bytes, where narrowing saturates: that clamps for
// nothing. Saturation takes the lowest word for what it is, but a float too large for a word becomes the
// lowest word, too: where one turns up, the plain rule runs again. Not a number and values far below black
// look alike: slower, and right.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "pzel/loops/instruction_set.h"
#include "pzel/loops/vectors.h"

namespace pzel {

/// A rule from elements (floats or 16 bits) to all values of an unsigned integer: without its clamp,
/// its result is (v - black()) · scale() + kStart, truncated. Of 16 bits the scale is at most 511.
template <class Rule, class In>
concept Scales = requires(const Rule& rule) {
    rule.scale();
    Rule::kStart;
    requires std::is_same_v<In, decltype(rule.black())>;
};

/// A rule that looks up: its result so far is a place in a table, and kLast, a power of two less one, from
/// white() on.
template <class Rule, class In>
concept Places = Scales<Rule, In> && requires(const Rule& rule) {
    rule.white();
    Rule::kLast;
};

#if PZEL_VECTORS
template <class Vector>
Vector lowestOf(Vector a, Vector b) {
    return a < b ? a : b;
}

/// Words as bytes or 16 bits, saturated; those of two vectors of words in turns of 16 bytes. `lowest`
/// collects what tells whether a word was the lowest one: words, or the 16 bits on the way to bytes.
template <class Words, class Shorts>
auto narrowed(const Words (&words)[4], Shorts& lowest) {
    const auto a = toShorts(words[0], words[1]), b = toShorts(words[2], words[3]);
    lowest = lowestOf(lowest, lowestOf(a, b));
    return toBytes(a, b);
}
template <class Words>
auto narrowed(const Words (&words)[2], Words& lowest) {
    lowest = lowestOf(lowest, lowestOf(words[0], words[1]));
    return toUnsigned(words[0], words[1]);
}

/// Whether an element is the lowest of its type.
template <class Vector>
bool holdsLowest(const Vector& vector) {
    using Element = std::remove_cvref_t<decltype(vector[0])>;
    constexpr int count = sizeof(Vector) / sizeof(Element);
    Element elements[count];
    std::memcpy(elements, &vector, sizeof elements);
    Element lowest = 0;
    for (int k = 0; k < count; ++k) lowest = elements[k] < lowest ? elements[k] : lowest;
    return lowest == std::numeric_limits<Element>::min();
}

/// Vectors of words from a row: the rule's results, not clamped and not narrowed.
template <class V, int vectors, class Rule>
void scaleInto(typename V::Words (&words)[vectors], const Rule& rule, const float* in) {
    constexpr int lanes = sizeof(words[0]) / 4;
    for (int k = 0; k < vectors; ++k) {
        auto v = (loadVector<typename V::Floats>(in + k * lanes) - rule.black()) * rule.scale();
        if constexpr (Rule::kStart != 0) v += Rule::kStart;
        words[k] = __builtin_convertvector(v, typename V::Words);
    }
}

/// The same from 16 bits. An element becomes a float by the upper half of 2^23 above it, and what that adds
/// is taken away again: the distance from black times the scale is rounded once. Where products are fused,
/// they take it away, from distances that are 0 below black; elsewhere it goes together with black, exactly.
template <class V, int vectors, class T, class Rule>
requires(sizeof(T) == 2) void scaleInto(typename V::Words (&words)[vectors], const Rule& rule, const T* in) {
    using Shorts = typename V::Shorts;
    using Floats = typename V::Floats;
    constexpr bool isFused = requires(Floats v) {
        fused(v, v, v);
    };
    constexpr float whole = 0x1p23f;
    constexpr int lanes = sizeof(Shorts) / 2;
    constexpr short upper = std::bit_cast<std::uint32_t>(whole) >> 16,
                    sign = std::is_signed_v<T> ? -0x8000 : 0;
    const Shorts black = Shorts{} + short(rule.black() ^ sign);
    const Floats scale = Floats{} + rule.scale(), added = -whole * scale,
                 start = Floats{} + (whole + float(std::uint16_t(black[0])));
    const auto word = [&](Shorts pairs) {
        const auto v = Floats(pairs);
        Floats scaled;
        if constexpr (isFused)
            scaled = fused(v, scale, added);
        else
            scaled = (v - start) * scale;
        return __builtin_convertvector(scaled + Rule::kStart, typename V::Words);
    };
    for (int k = 0; 2 * k < vectors; ++k) {
        Shorts given = loadVector<Shorts>(in + k * lanes) ^ sign;
        if constexpr (isFused) given = above(given, black);
        words[2 * k] = word(lowPairs(given, Shorts{} + upper));
        words[2 * k + 1] = word(highPairs(given, Shorts{} + upper));
    }
}

/// Runs a rule that scales over a row.
template <InstructionSet set, class T, class Out, class Rule>
void scaleLine(SetConstant<set>, const Rule& rule, const T* in, Out* out, int count) {
    using V = VectorsOf<set>;
    using Words = typename V::Words;
    using Lowest = std::conditional_t<sizeof(Out) == 1, typename V::Shorts, Words>;
    constexpr int lanes = sizeof(Words) / 4, vectors = 4 / sizeof(Out), block = 2048;
    for (int x = 0; x < count; x += block) {
        const int end = count - x < block ? count : x + block;
        Lowest lowest = {};
        int i = x;
        for (; i + vectors * lanes <= end; i += vectors * lanes) {
            askAhead<vectors * lanes * sizeof(T)>(in + i);
            Words words[vectors];
            scaleInto<V>(words, rule, in + i);
            const auto result = narrowed(words, lowest);
            if constexpr (sizeof(T) == 2 || sizeof(Out) == 2)
                storeVector(inOrderOfTwo(typename V::Bytes(result)), out + i);
            else
                storeVector(inOrderOfFour(result), out + i);
        }
        if constexpr (std::is_floating_point_v<T>)
            if (holdsLowest(lowest)) i = x;
        for (; i < end; ++i) out[i] = rule(in[i]);
    }
}

/// Which elements reach an end, as 16 bits in the order of narrowed words.
template <class V>
auto reached(const float* in, float end) {
    using Floats = typename V::Floats;
    constexpr int lanes = sizeof(Floats) / 4;
    return toShorts(loadVector<Floats>(in) >= end, loadVector<Floats>(in + lanes) >= end);
}
template <class V, class T>
auto reached(const T* in, T end) {
    using Shorts = typename V::Shorts;
    constexpr short sign = std::is_signed_v<T> ? -0x8000 : 0;
    return above(Shorts{} + short(end ^ sign), loadVector<Shorts>(in) ^ sign) == 0;
}

/// Finds the places of a row. Where the end is reached the words do not matter: all bits are set.
template <InstructionSet set, class T, class Rule>
void placeLine(SetConstant<set>, const Rule& rule, const T* in, std::uint16_t* out, int count) {
    using V = VectorsOf<set>;
    constexpr int lanes = sizeof(typename V::Shorts) / 2;
    int i = 0;
    for (; i + lanes <= count; i += lanes) {
        askAhead<lanes * sizeof(T)>(in + i);
        typename V::Words words[2];
        scaleInto<V>(words, rule, in + i);
        const auto places =
            (toUnsigned(words[0], words[1]) | reached<V>(in + i, rule.white())) & short(Rule::kLast);
        if constexpr (std::is_floating_point_v<T>)
            storeVector(inOrderOfTwo(typename V::Bytes(places)), out + i);
        else
            storeVector(places, out + i);
    }
    for (; i < count; ++i) out[i] = rule.index(in[i]);
}
#endif

}  // namespace pzel
