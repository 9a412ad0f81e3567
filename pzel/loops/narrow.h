// Floats scaled into bytes or 16 bits where narrowing saturates: that clamps for nothing. Saturation takes
// the lowest word for what it is, but a float too large for a word becomes the lowest word, too: where one
// turns up, the plain rule runs again. Not a number and values far below black look alike: slower, and right.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "pzel/loops/instruction_set.h"
#include "pzel/loops/vectors.h"

namespace pzel {

/// A rule from floats to all values of an unsigned integer: without its clamp, its result is
/// (v - black()) · scale() + kStart, truncated.
template <class Rule>
concept ScalesFloats = requires(const Rule& rule) {
    rule.black();
    rule.scale();
    Rule::kStart;
};

#if PZEL_X86_SETS
template <class Vector>
Vector lowestOf(Vector a, Vector b) {
    return a < b ? a : b;
}

/// Words as bytes or 16 bits, saturated and in order. `lowest` collects what tells whether a word was the
/// lowest one: words, or the 16 bits on the way to bytes.
template <class Words, class Shorts>
auto narrowed(const Words (&words)[4], Shorts& lowest) {
    const auto a = toShorts(words[0], words[1]), b = toShorts(words[2], words[3]);
    lowest = lowestOf(lowest, lowestOf(a, b));
    return inOrderOfFour(toBytes(a, b));
}
template <class Words>
auto narrowed(const Words (&words)[2], Words& lowest) {
    lowest = lowestOf(lowest, lowestOf(words[0], words[1]));
    return inOrderOfTwo(toUnsigned(words[0], words[1]));
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

/// Runs a rule that scales floats over a row.
template <InstructionSet set, class Out, class Rule>
void scaleLine(SetConstant<set>, const Rule& rule, const float* in, Out* out, int count) {
    using Floats = typename VectorsOf<set>::Floats;
    using Words = typename VectorsOf<set>::Words;
    using Lowest = std::conditional_t<sizeof(Out) == 1, typename VectorsOf<set>::Shorts, Words>;
    constexpr int lanes = sizeof(Words) / 4, vectors = 4 / sizeof(Out), block = 2048;
    for (int x = 0; x < count; x += block) {
        const int end = count - x < block ? count : x + block;
        Lowest lowest = {};
        int i = x;
        for (; i + vectors * lanes <= end; i += vectors * lanes) {
            Words words[vectors];
            for (int k = 0; k < vectors; ++k) {
                Floats v = (loadVector<Floats>(in + i + k * lanes) - rule.black()) * rule.scale();
                if constexpr (Rule::kStart != 0) v += Rule::kStart;
                words[k] = __builtin_convertvector(v, Words);
            }
            storeVector(narrowed(words, lowest), out + i);
        }
        if (holdsLowest(lowest)) i = x;
        for (; i < end; ++i) out[i] = rule(in[i]);
    }
}
#endif

}  // namespace pzel
