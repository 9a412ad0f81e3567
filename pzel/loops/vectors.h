// Vectors of elements, for loops that no compiler finds by itself. The types and their operators are the
// compiler's own; this file adds the few steps that have no operator, for SSE4.1, AVX2, AVX-512 and 64-bit
// ARM alike, and no other file knows an instruction by its name.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "pzel/loops/instruction_set.h"

#if PZEL_X86_VECTORS
#include <immintrin.h>
#elif PZEL_ARM_VECTORS
#include <arm_neon.h>
#endif

namespace pzel {

/// Sets with vectors of bytes: the steps below.
template <InstructionSet set>
constexpr bool hasVectors =
    PZEL_X86_VECTORS ? set >= InstructionSet::Sse41 : PZEL_ARM_VECTORS&& set >= InstructionSet::Baseline;
/// Sets that look up bytes in a vector of 64.
template <InstructionSet set>
constexpr bool looksUpBytes = (PZEL_X86_VECTORS != 0) && set >= InstructionSet::Avx512;

/// Sets that look up bytes of a table part by part: elsewhere that is slower than one by one.
template <InstructionSet set>
constexpr bool looksUpParts =
    PZEL_X86_VECTORS ? set >= InstructionSet::Avx2 && !looksUpBytes<set> : hasVectors<set>;

#if PZEL_VECTORS
/// Vectors of so many bytes, by their elements. Spelled out for all: GCC 12 ignores a vector_size that hangs
/// on a parameter.
template <int bytes>
struct Vectors;
template <>
struct Vectors<16> {
    using Bytes = std::uint8_t __attribute__((vector_size(16)));
    using Signed = std::int8_t __attribute__((vector_size(16)));
    using Shorts = std::int16_t __attribute__((vector_size(16)));
    using Words = std::int32_t __attribute__((vector_size(16)));
    using Longs = long long __attribute__((vector_size(16)));
    using Floats = float __attribute__((vector_size(16)));
    using Doubles = double __attribute__((vector_size(16)));
};
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
using V16 = Vectors<16>;
using V32 = Vectors<32>;
using V64 = Vectors<64>;
template <InstructionSet set>
using VectorsOf = Vectors<set >= InstructionSet::Avx512bw ? 64
                          : set >= InstructionSet::Avx2   ? 32
                                                          : 16>;
/// Those that bytes change places in: without permutations of 64 bytes, halves of them.
template <InstructionSet set>
using ShuffledOf = Vectors<looksUpBytes<set>             ? 64
                           : set >= InstructionSet::Avx2 ? 32
                                                         : 16>;

template <class Vector>
struct Three {
    Vector a, b, c;
};

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

/// Asks for bytes that a loop reads 2 KB further on, wherever that is: processors look ahead less far.
template <int bytes>
void askAhead(const void* from) {
    constexpr int ahead = 2048, line = 64;
    for (int k = 0; k < bytes; k += line)
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(from) + ahead + k));
}

// Elements are widened and narrowed within every 16 bytes of a vector: low and high halves of those.

/// Lane i of every 16 bytes takes element place(i) of the same 16 bytes of a and b, those of b from kOther
/// on.
constexpr int kOther = 16;
template <auto place, class Vector>
Vector within16(Vector a, Vector b) {
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        constexpr int size = sizeof...(lanes), part = size * 16 / int(sizeof(Vector));
        return __builtin_shufflevector(a, b,
                                       (lanes / part * part + place(lanes % part, part) % kOther +
                                        place(lanes % part, part) / kOther * size)...);
    }
    (std::make_integer_sequence<int, sizeof(Vector) / sizeof(a[0])>());
}

/// Elements of a and b in turn.
template <class Vector>
Vector lowPairs(Vector a, Vector b) {
    return within16<[](int lane, int) { return lane / 2 + lane % 2 * kOther; }>(a, b);
}
template <class Vector>
Vector highPairs(Vector a, Vector b) {
    return within16<[](int lane, int lanes) { return (lanes + lane) / 2 + lane % 2 * kOther; }>(a, b);
}

/// Every second element of a and b, from `first` on.
template <int first, class Vector>
Vector everySecond(Vector a, Vector b) {
    return within16<[](int lane, int lanes) { return 2 * lane % lanes + first + 2 * lane / lanes * kOther; }>(
        a, b);
}

/// The results of narrowing in the order of what was narrowed: once, two vectors, or twice, four.
inline V16::Bytes inOrderOfTwo(V16::Bytes v) {
    return v;
}
inline V32::Bytes inOrderOfTwo(V32::Bytes v) {
    return V32::Bytes(__builtin_shufflevector(V32::Longs(v), V32::Longs(v), 0, 2, 1, 3));
}
inline V64::Bytes inOrderOfTwo(V64::Bytes v) {
    return V64::Bytes(__builtin_shufflevector(V64::Longs(v), V64::Longs(v), 0, 2, 4, 6, 1, 3, 5, 7));
}
inline V16::Bytes inOrderOfFour(V16::Bytes v) {
    return v;
}
inline V32::Bytes inOrderOfFour(V32::Bytes v) {
    return V32::Bytes(__builtin_shufflevector(V32::Words(v), V32::Words(v), 0, 4, 1, 5, 2, 6, 3, 7));
}
inline V64::Bytes inOrderOfFour(V64::Bytes v) {
    return V64::Bytes(__builtin_shufflevector(V64::Words(v), V64::Words(v), 0, 4, 8, 12, 1, 5, 9, 13, 2, 6,
                                              10, 14, 3, 7, 11, 15));
}
#if PZEL_X86_VECTORS
/// Bytes of a table of 16, which both halves of `table` hold, where the places are 0 … 127, of which the
/// lower four bits count; 0 where they are negative.
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes bytesAt(V32::Bytes table, V32::Signed place) {
    return V32::Bytes(_mm256_shuffle_epi8(__m256i(table), __m256i(place)));
}

/// How far a is above b, both without a sign; 0 where it is not.
[[gnu::target("sse4.1")]] inline V16::Shorts above(V16::Shorts a, V16::Shorts b) {
    return V16::Shorts(_mm_subs_epu16(__m128i(a), __m128i(b)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts above(V32::Shorts a, V32::Shorts b) {
    return V32::Shorts(_mm256_subs_epu16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts above(V64::Shorts a, V64::Shorts b) {
    return V64::Shorts(_mm512_subs_epu16(__m512i(a), __m512i(b)));
}

[[gnu::target("sse4.1")]] inline V16::Bytes above(V16::Bytes a, V16::Bytes b) {
    return V16::Bytes(_mm_subs_epu8(__m128i(a), __m128i(b)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes above(V32::Bytes a, V32::Bytes b) {
    return V32::Bytes(_mm256_subs_epu8(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Bytes above(V64::Bytes a, V64::Bytes b) {
    return V64::Bytes(_mm512_subs_epu8(__m512i(a), __m512i(b)));
}

/// The larger ones.
[[gnu::target("sse4.1")]] inline V16::Signed larger(V16::Signed a, V16::Signed b) {
    return V16::Signed(_mm_max_epi8(__m128i(a), __m128i(b)));
}
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
[[gnu::target("sse4.1")]] inline V16::Shorts sumsOfProducts(V16::Bytes a, V16::Signed b) {
    return V16::Shorts(_mm_maddubs_epi16(__m128i(a), __m128i(b)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts sumsOfProducts(V32::Bytes a, V32::Signed b) {
    return V32::Shorts(_mm256_maddubs_epi16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts sumsOfProducts(V64::Bytes a, V64::Signed b) {
    return V64::Shorts(_mm512_maddubs_epi16(__m512i(a), __m512i(b)));
}

/// The upper halves of products.
[[gnu::target("sse4.1")]] inline V16::Shorts upperProducts(V16::Shorts a, V16::Shorts b) {
    return V16::Shorts(_mm_mulhi_epi16(__m128i(a), __m128i(b)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts upperProducts(V32::Shorts a, V32::Shorts b) {
    return V32::Shorts(_mm256_mulhi_epi16(__m256i(a), __m256i(b)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts upperProducts(V64::Shorts a, V64::Shorts b) {
    return V64::Shorts(_mm512_mulhi_epi16(__m512i(a), __m512i(b)));
}

/// Saturated to bytes, those of `low` first.
[[gnu::target("sse4.1")]] inline V16::Bytes toBytes(V16::Shorts low, V16::Shorts high) {
    return V16::Bytes(_mm_packus_epi16(__m128i(low), __m128i(high)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Bytes toBytes(V32::Shorts low, V32::Shorts high) {
    return V32::Bytes(_mm256_packus_epi16(__m256i(low), __m256i(high)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Bytes toBytes(V64::Shorts low, V64::Shorts high) {
    return V64::Bytes(_mm512_packus_epi16(__m512i(low), __m512i(high)));
}

/// Saturated to 16 bits with a sign.
[[gnu::target("sse4.1")]] inline V16::Shorts toShorts(V16::Words low, V16::Words high) {
    return V16::Shorts(_mm_packs_epi32(__m128i(low), __m128i(high)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts toShorts(V32::Words low, V32::Words high) {
    return V32::Shorts(_mm256_packs_epi32(__m256i(low), __m256i(high)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts toShorts(V64::Words low, V64::Words high) {
    return V64::Shorts(_mm512_packs_epi32(__m512i(low), __m512i(high)));
}

/// Saturated to 16 bits without a sign.
[[gnu::target("sse4.1")]] inline V16::Shorts toUnsigned(V16::Words low, V16::Words high) {
    return V16::Shorts(_mm_packus_epi32(__m128i(low), __m128i(high)));
}
[[gnu::target("arch=x86-64-v3")]] inline V32::Shorts toUnsigned(V32::Words low, V32::Words high) {
    return V32::Shorts(_mm256_packus_epi32(__m256i(low), __m256i(high)));
}
[[gnu::target("arch=x86-64-v4")]] inline V64::Shorts toUnsigned(V64::Words low, V64::Words high) {
    return V64::Shorts(_mm512_packus_epi32(__m512i(low), __m512i(high)));
}
#elif PZEL_ARM_VECTORS
// The same steps; products are not saturated, and fit 16 bits wherever they are summed.
inline V16::Shorts above(V16::Shorts a, V16::Shorts b) {
    return V16::Shorts(vqsubq_u16(uint16x8_t(a), uint16x8_t(b)));
}
inline V16::Bytes above(V16::Bytes a, V16::Bytes b) {
    return V16::Bytes(vqsubq_u8(uint8x16_t(a), uint8x16_t(b)));
}
inline V16::Signed larger(V16::Signed a, V16::Signed b) {
    return V16::Signed(vmaxq_s8(int8x16_t(a), int8x16_t(b)));
}
inline V16::Shorts sumsOfProducts(V16::Bytes a, V16::Signed b) {
    const auto first = uint8x16_t(a);
    const auto second = int8x16_t(b);
    const auto low = int16x8_t(vmovl_u8(vget_low_u8(first))) * vmovl_s8(vget_low_s8(second));
    const auto high = int16x8_t(vmovl_high_u8(first)) * vmovl_high_s8(second);
    return V16::Shorts(vpaddq_s16(low, high));
}
inline V16::Shorts upperProducts(V16::Shorts a, V16::Shorts b) {
    return V16::Shorts(vqdmulhq_s16(int16x8_t(a), int16x8_t(b))) >> 1;  // of twice the product
}
inline V16::Bytes toBytes(V16::Shorts low, V16::Shorts high) {
    return V16::Bytes(vqmovun_high_s16(vqmovun_s16(int16x8_t(low)), int16x8_t(high)));
}
inline V16::Shorts toShorts(V16::Words low, V16::Words high) {
    return V16::Shorts(vqmovn_high_s32(vqmovn_s32(int32x4_t(low)), int32x4_t(high)));
}
inline V16::Shorts toUnsigned(V16::Words low, V16::Words high) {
    return V16::Shorts(vqmovun_high_s32(vqmovun_s32(int32x4_t(low)), int32x4_t(high)));
}

/// Pixels of three bytes to their channels, and back.
template <class Bytes>
Three<Bytes> loadSplit(const void* from) {
    const auto* pixels = static_cast<const std::uint8_t*>(from);
    const auto planes = vld3q_u8(pixels);
    return {Bytes(planes.val[0]), Bytes(planes.val[1]), Bytes(planes.val[2])};
}
template <class Bytes>
void storeMerged(const Three<Bytes>& planes, void* to) {
    auto* pixels = static_cast<std::uint8_t*>(to);
    vst3q_u8(pixels, {uint8x16_t(planes.a), uint8x16_t(planes.b), uint8x16_t(planes.c)});
}

/// A table of 256 bytes.
struct TableOfParts {
    explicit TableOfParts(const std::uint8_t* table)
        : a(vld1q_u8_x4(table)),
          b(vld1q_u8_x4(table + 64)),
          c(vld1q_u8_x4(table + 128)),
          d(vld1q_u8_x4(table + 192)) {}
    uint8x16x4_t a, b, c, d;
};
inline V16::Bytes lookUp256(const TableOfParts& table, V16::Bytes index) {
    auto found = vqtbl4q_u8(table.a, uint8x16_t(index));
    found = vqtbx4q_u8(found, table.b, uint8x16_t(index - 64));
    found = vqtbx4q_u8(found, table.c, uint8x16_t(index - 128));
    return V16::Bytes(vqtbx4q_u8(found, table.d, uint8x16_t(index - 192)));
}
#endif
#endif

}  // namespace pzel
