// Floats scaled into bytes or 16 bits where narrowing saturates: that clamps for nothing. Saturation takes
// the lowest word for what it is, but a float too large for a word becomes the lowest word, too: where one
// turns up, the plain rule runs again.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "pzel/image/instruction_set.h"
#include "pzel/image/shuffle.h"

#if PZEL_X86_SETS
#include <immintrin.h>
#endif

namespace pzel {

/// A rule from floats to all values of an unsigned integer: without its clamp, its result is
/// (v - black()) · scale() + kStart, truncated.
template <class Rule>
concept ScalesFloats = requires(const Rule& rule) {
    rule.black();
    rule.scale();
    Rule::kStart;
};

/// Sets whose narrowing saturates.
template <InstructionSet set>
constexpr bool saturates = (PZEL_X86_SETS != 0) && set >= InstructionSet::Avx2;

#if PZEL_X86_SETS
using Words8 = std::int32_t __attribute__((vector_size(32)));
using Floats8 = float __attribute__((vector_size(32)));
using Shorts16 = std::int16_t __attribute__((vector_size(32)));
using Shorts32 = std::int16_t __attribute__((vector_size(64)));

template <class Vector>
Vector lowestOf(Vector a, Vector b) {
    return a < b ? a : b;
}

/// Words as bytes or 16 bits, saturated and in order. `lowest` collects what tells whether a word was the
/// lowest one: words, or the 16 bits on the way to bytes.
[[gnu::target("arch=x86-64-v4")]] inline Bytes64 narrowed(const Words16 (&words)[4], Shorts32& lowest) {
    const auto a = Shorts32(_mm512_packs_epi32(__m512i(words[0]), __m512i(words[1]))),
               b = Shorts32(_mm512_packs_epi32(__m512i(words[2]), __m512i(words[3])));
    lowest = lowestOf(lowest, lowestOf(a, b));
    const auto bytes = Words16(_mm512_packus_epi16(__m512i(a), __m512i(b)));
    return Bytes64(
        __builtin_shufflevector(bytes, bytes, 0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}
[[gnu::target("arch=x86-64-v4")]] inline Bytes64 narrowed(const Words16 (&words)[2], Words16& lowest) {
    lowest = lowestOf(lowest, lowestOf(words[0], words[1]));
    const auto halves = __m512i(_mm512_packus_epi32(__m512i(words[0]), __m512i(words[1])));
    return Bytes64(__builtin_shufflevector(halves, halves, 0, 2, 4, 6, 1, 3, 5, 7));
}
[[gnu::target("arch=x86-64-v3")]] inline Bytes32 narrowed(const Words8 (&words)[4], Shorts16& lowest) {
    const auto a = Shorts16(_mm256_packs_epi32(__m256i(words[0]), __m256i(words[1]))),
               b = Shorts16(_mm256_packs_epi32(__m256i(words[2]), __m256i(words[3])));
    lowest = lowestOf(lowest, lowestOf(a, b));
    const auto bytes = Words8(_mm256_packus_epi16(__m256i(a), __m256i(b)));
    return Bytes32(__builtin_shufflevector(bytes, bytes, 0, 4, 1, 5, 2, 6, 3, 7));
}
[[gnu::target("arch=x86-64-v3")]] inline Bytes32 narrowed(const Words8 (&words)[2], Words8& lowest) {
    lowest = lowestOf(lowest, lowestOf(words[0], words[1]));
    const auto halves = __m256i(_mm256_packus_epi32(__m256i(words[0]), __m256i(words[1])));
    return Bytes32(__builtin_shufflevector(halves, halves, 0, 2, 1, 3));
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

template <InstructionSet set>
struct Scaling {
    using Floats = std::conditional_t<set == InstructionSet::Avx512, Floats16, Floats8>;
    using Words = std::conditional_t<set == InstructionSet::Avx512, Words16, Words8>;
    using Shorts = std::conditional_t<set == InstructionSet::Avx512, Shorts32, Shorts16>;
};

/// Runs a rule that scales floats over a row.
template <InstructionSet set, class Out, class Rule>
void scaleLine(SetConstant<set>, const Rule& rule, const float* in, Out* out, int count) {
    using Floats = typename Scaling<set>::Floats;
    using Words = typename Scaling<set>::Words;
    using Lowest = std::conditional_t<sizeof(Out) == 1, typename Scaling<set>::Shorts, Words>;
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
