// 8-bit y,u,v of standard levels (luminance 0 … 255, differences up to 127) to blue, green and red bytes by
// the linear way, a vector of pixels at a time, with the bytes of the plain rule: luminance is then its own
// value, and what a difference adds to a channel counts in whole steps.
#pragma once

#include <cstdint>

#include "pzel/loops/shuffle.h"
#include "pzel/loops/vectors.h"

namespace pzel {

#if PZEL_VECTORS
class YuvProducts {
  public:
    /// Blue, green and red.
    template <class Bytes>
    Three<Bytes> operator()(Bytes y, Bytes u, Bytes v) const {
        using Signed = typename Vectors<sizeof(Bytes)>::Signed;
        const auto within = [](Bytes difference) {
            return Bytes(larger(Signed(difference), Signed{} - 127));
        };
        const Bytes zero = {}, d = within(u), e = within(v);
        const auto low = shorts(lowPairs(y, zero), lowPairs(zero, d), lowPairs(zero, e), lowPairs(d, e));
        const auto high = shorts(highPairs(y, zero), highPairs(zero, d), highPairs(zero, e), highPairs(d, e));
        const Bytes green = above(toBytes(low.b, high.b), isSteppedDown(y, u, v) & 1);
        return {toBytes(low.a, high.a), green, toBytes(low.c, high.c)};
    }

  private:
    // Factors of the linear matrix times 127.5 / 127: 1.77304 and 1.402581 of 2^14, 0.34437 and 0.714407 of
    // 2^20. What green loses is rounded up, by so little less than a step that all 2^24 pixels come out
    // right, but those of one pair.
    static constexpr int kBlue = 29164, kRed = 23070;
    static constexpr int kGreenU = 362520, kGreenV = 752059, kGreenRounding = (1 << 20) - 41;

    /// The one pair of differences that lowers green so close to 16 that its rounding in single precision
    /// hangs on the luminance: whether it is a step more, below 145 and above 240.
    template <class Bytes>
    static Bytes isSteppedDown(Bytes y, Bytes u, Bytes v) {
        const Bytes beyond = y - 145, enough = Bytes{} + 96;
        const Bytes most = beyond > enough ? beyond : enough;
        // One comparison: GCC 12 takes masks that are combined apart, element by element.
        return Bytes(((u ^ std::uint8_t(-45)) | (v ^ 44) | (most ^ beyond)) == 0);
    }

    /// Luminance and differences of eight bits more, and both differences as pairs of bytes.
    template <class Bytes, class Shorts = typename Vectors<sizeof(Bytes)>::Shorts>
    static Three<Shorts> shorts(Bytes y, Bytes u, Bytes v, Bytes pairs) {
        const Shorts blue = upperProducts(Shorts(u), Shorts{} + short(kBlue)) >> 6;
        const Shorts red = upperProducts(Shorts(v), Shorts{} + short(kRed)) >> 6;
        // Seven bits of the factors at a time, from the last ones on: so their products fit 16 bits.
        Shorts green = sevenBits<0>(pairs);
        green = sevenBits<7>(pairs) + (green >> 7);
        green = sevenBits<14>(pairs) + (green >> 7);
        return {Shorts(y) + blue, Shorts(y) - (green >> 6), Shorts(y) + red};
    }
    template <int shift, class Bytes>
    static auto sevenBits(Bytes pairs) {
        using V = Vectors<sizeof(Bytes)>;
        constexpr int u = kGreenU >> shift & 127, v = kGreenV >> shift & 127;
        return sumsOfProducts(Bytes(typename V::Shorts{} + short(u | v << 8)), typename V::Signed(pairs)) +
               short(kGreenRounding >> shift & 127);
    }
};
#endif

}  // namespace pzel
