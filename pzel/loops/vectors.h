// Vectors of elements, for loops that no compiler finds by itself. The types and their operators are the
// compiler's own; this file adds the few steps that have no operator, for AVX2 and AVX-512 alike, and no
// other file knows an instruction by its name.
#pragma once

#include <cstdint>
#include <cstring>

#include "pzel/loops/instruction_set.h"

#if PZEL_X86_SETS
#include <immintrin.h>
#endif

namespace pzel {

/// Sets with vectors of bytes: the steps below.
template <InstructionSet set>
constexpr bool hasVectors = (PZEL_X86_SETS != 0) && set >= InstructionSet::Avx2;
/// Sets that look up bytes in a vector of 64.
template <InstructionSet set>
constexpr bool looksUpBytes = (PZEL_X86_SETS != 0) && set >= InstructionSet::Avx512;

#if PZEL_X86_SETS
/// Vectors of so many bytes, by their elements. Spelled out for both: GCC 12 ignores a vector_size that hangs
/// on a parameter.
template <int bytes>
struct Vectors;
template <>
struct Vectors<32> {
    using Bytes = std::uint8_t __attribute__((vector_size(32)));
    using Signed = std::int8_t __attribute__((vector_size(32)));
    using Shorts = std::int16_t __attribute__((vector_size(32)));
    using Words = std::int32_t __attribute__((vector_size(32)));
    using Longs = long long __attribute__((vector_size(32)));
    using Floats = float __attribute__((vector_size(32)));
    using Doubles = double __attribute__((vector_size(32)));
};
template <>
struct Vectors<64> {
    using Bytes = std::uint8_t __attribute__((vector_size(64)));
    using Signed = std::int8_t __attribute__((vector_size(64)));
    using Shorts = std::int16_t __attribute__((vector_size(64)));
    using Words = std::int32_t __attribute__((vector_size(64)));
    using Longs = long long __attribute__((vector_size(64)));
    using Floats = float __attribute__((vector_size(64)));
};
using V32 = Vectors<32>;
using V64 = Vectors<64>;
template <InstructionSet set>
using VectorsOf = Vectors<looksUpBytes<set> ? 64 : 32>;

template <class Vector>
Vector loadVector(const void* from) {
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

template <class Vector>
void storeVector(Vector vector, void* to) {
    std::memcpy(to, &vector, sizeof vector);
}

/// Bytes of a table of 16, which both halves of `table` hold, where the places are 0 … 127, of which the
/// lower four bits count; 0 where they are negative.
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes bytesAt(V32::Bytes table, V32::Signed place) {
    return V32::Bytes(_mm256_shuffle_epi8(__m256i(table), __m256i(place)));
}

/// Asks for bytes that a loop reads 2 KB further on, wherever that is: processors look ahead less far.
template <int bytes>
void askAhead(const void* from) {
    constexpr int ahead = 2048, line = 64;
    for (int k = 0; k < bytes; k += line)
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(from) + ahead + k));
}

// Bytes and 16 bits are widened and narrowed within every 16 bytes of a vector: low and high halves of those.

/// Bytes of a and b in turn.
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes lowPairs(V32::Bytes a, V32::Bytes b) {
    return V32::Bytes(_mm256_unpacklo_epi8(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Bytes lowPairs(V64::Bytes a, V64::Bytes b) {
    return V64::Bytes(_mm512_unpacklo_epi8(__m512i(a), __m512i(b)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes highPairs(V32::Bytes a, V32::Bytes b) {
    return V32::Bytes(_mm256_unpackhi_epi8(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Bytes highPairs(V64::Bytes a, V64::Bytes b) {
    return V64::Bytes(_mm512_unpackhi_epi8(__m512i(a), __m512i(b)));
}

/// 16 bits of a and b in turn.
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts lowPairs(V32::Shorts a, V32::Shorts b) {
    return V32::Shorts(_mm256_unpacklo_epi16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts lowPairs(V64::Shorts a, V64::Shorts b) {
    return V64::Shorts(_mm512_unpacklo_epi16(__m512i(a), __m512i(b)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts highPairs(V32::Shorts a, V32::Shorts b) {
    return V32::Shorts(_mm256_unpackhi_epi16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts highPairs(V64::Shorts a, V64::Shorts b) {
    return V64::Shorts(_mm512_unpackhi_epi16(__m512i(a), __m512i(b)));
}

/// How far a is above b, both without a sign; 0 where it is not.
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts above(V32::Shorts a, V32::Shorts b) {
    return V32::Shorts(_mm256_subs_epu16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts above(V64::Shorts a, V64::Shorts b) {
    return V64::Shorts(_mm512_subs_epu16(__m512i(a), __m512i(b)));
}

[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes above(V32::Bytes a, V32::Bytes b) {
    return V32::Bytes(_mm256_subs_epu8(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Bytes above(V64::Bytes a, V64::Bytes b) {
    return V64::Bytes(_mm512_subs_epu8(__m512i(a), __m512i(b)));
}

/// The larger ones.
[[gnu::target("arch=x86-64-v3")]] inline V32::Signed larger(V32::Signed a, V32::Signed b) {
    return V32::Signed(_mm256_max_epi8(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Signed larger(V64::Signed a, V64::Signed b) {
    return V64::Signed(_mm512_max_epi8(__m512i(a), __m512i(b)));
}

/// a · b + c, rounded once.
[[gnu::target("arch=x86-64-v3")]] inline V32::Floats fused(V32::Floats a, V32::Floats b, V32::Floats c) {
    return V32::Floats(_mm256_fmadd_ps(__m256(a), __m256(b), __m256(c)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Floats fused(V64::Floats a, V64::Floats b, V64::Floats c) {
    return V64::Floats(_mm512_fmadd_ps(__m512(a), __m512(b), __m512(c)));
}

/// Sums of the products of pairs, saturated: unsigned bytes times signed ones.
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts sumsOfProducts(V32::Bytes a, V32::Signed b) {
    return V32::Shorts(_mm256_maddubs_epi16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts sumsOfProducts(V64::Bytes a, V64::Signed b) {
    return V64::Shorts(_mm512_maddubs_epi16(__m512i(a), __m512i(b)));
}

/// The upper halves of products.
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts upperProducts(V32::Shorts a, V32::Shorts b) {
    return V32::Shorts(_mm256_mulhi_epi16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts upperProducts(V64::Shorts a, V64::Shorts b) {
    return V64::Shorts(_mm512_mulhi_epi16(__m512i(a), __m512i(b)));
}

/// Saturated to bytes, those of `low` first.
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes toBytes(V32::Shorts low, V32::Shorts high) {
    return V32::Bytes(_mm256_packus_epi16(__m256i(low), __m256i(high)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Bytes toBytes(V64::Shorts low, V64::Shorts high) {
    return V64::Bytes(_mm512_packus_epi16(__m512i(low), __m512i(high)));
}

/// Saturated to 16 bits with a sign.
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts toShorts(V32::Words low, V32::Words high) {
    return V32::Shorts(_mm256_packs_epi32(__m256i(low), __m256i(high)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts toShorts(V64::Words low, V64::Words high) {
    return V64::Shorts(_mm512_packs_epi32(__m512i(low), __m512i(high)));
}

/// Saturated to 16 bits without a sign.
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts toUnsigned(V32::Words low, V32::Words high) {
    return V32::Shorts(_mm256_packus_epi32(__m256i(low), __m256i(high)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts toUnsigned(V64::Words low, V64::Words high) {
    return V64::Shorts(_mm512_packus_epi32(__m512i(low), __m512i(high)));
}

/// The results of narrowing in the order of what was narrowed: once, two vectors, or twice, four.
inline V32::Bytes inOrderOfTwo(V32::Bytes v) {
    return V32::Bytes(__builtin_shufflevector(V32::Longs(v), V32::Longs(v), 0, 2, 1, 3));
}
inline V64::Bytes inOrderOfTwo(V64::Bytes v) {
    return V64::Bytes(__builtin_shufflevector(V64::Longs(v), V64::Longs(v), 0, 2, 4, 6, 1, 3, 5, 7));
}
inline V32::Bytes inOrderOfFour(V32::Bytes v) {
    return V32::Bytes(__builtin_shufflevector(V32::Words(v), V32::Words(v), 0, 4, 1, 5, 2, 6, 3, 7));
}
inline V64::Bytes inOrderOfFour(V64::Bytes v) {
    return V64::Bytes(__builtin_shufflevector(V64::Words(v), V64::Words(v), 0, 4, 8, 12, 1, 5, 9, 13, 2, 6,
                                              10, 14, 3, 7, 11, 15));
}
#endif

}  // namespace pzel
