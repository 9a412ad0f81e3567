// Bytes blended with a constant opacity.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pzel/display/draw.h"
#include "pzel/image/instruction_set.h"
#include "pzel/image/shuffle.h"

#if PZEL_X86_SETS
#include <immintrin.h>
#endif

namespace pzel {

/// Weighs drawn against present bytes, rounding to nearest; no sum of products leaves 16 bits (255 * 128 +
/// 64).
struct Blend {
    /// From 1 to kInvisible - 1, so that both weights are bytes with a sign.
    explicit Blend(int transparency)
        : drawn(std::uint16_t(kInvisible - transparency)), present(std::uint16_t(transparency)) {}
    std::uint8_t operator()(std::uint8_t from, std::uint8_t to) const {
        const std::uint16_t sum = std::uint16_t(from * drawn + to * present + kInvisible / 2);
        return std::uint8_t(sum / kInvisible);
    }
#if PZEL_X86_SETS
    [[gnu::target("arch=x86-64-v3")]] Bytes32 operator()(Bytes32 from, Bytes32 to) const {
        const __m256i a = __m256i(from), b = __m256i(to),
                      weights = _mm256_set1_epi16(short(drawn | present << 8)),
                      half = _mm256_set1_epi16(kInvisible / 2);
        const __m256i low = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), weights),
                      high = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), weights);
        return Bytes32(_mm256_packus_epi16(_mm256_srli_epi16(_mm256_add_epi16(low, half), kShift),
                                           _mm256_srli_epi16(_mm256_add_epi16(high, half), kShift)));
    }
    [[gnu::target("arch=x86-64-v4")]] Bytes64 operator()(Bytes64 from, Bytes64 to) const {
        const __m512i a = __m512i(from), b = __m512i(to),
                      weights = _mm512_set1_epi16(short(drawn | present << 8)),
                      half = _mm512_set1_epi16(kInvisible / 2);
        const __m512i low = _mm512_maddubs_epi16(_mm512_unpacklo_epi8(a, b), weights),
                      high = _mm512_maddubs_epi16(_mm512_unpackhi_epi8(a, b), weights);
        return Bytes64(_mm512_packus_epi16(_mm512_srli_epi16(_mm512_add_epi16(low, half), kShift),
                                           _mm512_srli_epi16(_mm512_add_epi16(high, half), kShift)));
    }
#endif
    static constexpr int kShift = 7;
    static_assert(kInvisible == 1 << kShift);
    std::uint16_t drawn, present;
};

/// Blends a row of bytes into another.
template <InstructionSet set>
void blendLine(SetConstant<set>, const Blend& blend, const std::uint8_t* from, std::uint8_t* to,
               std::size_t count) {
    std::size_t i = 0;
#if PZEL_X86_SETS
    if constexpr (permutesBytes<set>) {
        using Vector = BytesOf<set>;
        for (; i + sizeof(Vector) <= count; i += sizeof(Vector))
            storeVector(blend(loadVector<Vector>(from + i), loadVector<Vector>(to + i)), to + i);
    }
#endif
    for (; i < count; ++i) to[i] = blend(from[i], to[i]);
}

}  // namespace pzel
