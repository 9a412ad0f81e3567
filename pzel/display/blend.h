// Bytes blended with a constant opacity.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "pzel/display/draw.h"
#include "pzel/loops/instruction_set.h"
#include "pzel/loops/vectors.h"

namespace pzel {

/// Weighs drawn against present bytes, rounding to nearest; no sum of products leaves 16 bits (255 * 128 +
/// 64).
struct Blend {
    /// From 1 to kInvisible - 1, so that both weights are bytes with a sign.
    explicit Blend(int transparency)
        : drawn(std::uint16_t(kInvisible - transparency)), present(std::uint16_t(transparency)) {
        assert(transparency > 0 && transparency < kInvisible);
    }
    std::uint8_t operator()(std::uint8_t from, std::uint8_t to) const {
        const std::uint16_t sum = std::uint16_t(from * drawn + to * present + kInvisible / 2);
        return std::uint8_t(sum / kInvisible);
    }
#if PZEL_X86_VECTORS
    template <class Bytes>
    Bytes onVectors(Bytes from, Bytes to) const {
        using V = Vectors<sizeof(Bytes)>;
        const auto weights = typename V::Signed(typename V::Shorts{} + short(drawn | present << 8));
        const auto low = sumsOfProducts(lowPairs(from, to), weights) + short(kInvisible / 2),
                   high = sumsOfProducts(highPairs(from, to), weights) + short(kInvisible / 2);
        return toBytes(low >> kShift, high >> kShift);
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
// ARM multiplies bytes into 16 bits: there GCC's form of the plain loop has half the steps.
#if PZEL_X86_VECTORS
    if constexpr (hasVectors<set>) {
        using Vector = typename VectorsOf<set>::Bytes;
        for (; i + sizeof(Vector) <= count; i += sizeof(Vector))
            storeVector(blend.onVectors(loadVector<Vector>(from + i), loadVector<Vector>(to + i)), to + i);
    }
#endif
    for (; i < count; ++i) to[i] = blend(from[i], to[i]);
}

}  // namespace pzel
