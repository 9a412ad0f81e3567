// 8-bit y,u,v of standard levels (luminance 0 … 255, differences up to 127) to blue, green and red bytes by
// the linear way, a vector of pixels at a time, with the bytes of the plain rule: luminance is then its own
// value, and what a difference adds to a channel counts in whole steps.
//
//   YuvProducts  the steps are products of 16 bits (AVX2)
//   YuvTables    the steps stand in tables that registers hold (AVX-512)
#pragma once

#include <cstdint>
#include <cstring>

#include "pzel/image/shuffle.h"

#if PZEL_X86_SETS
#include <immintrin.h>
#endif

namespace pzel {

/// The one pair of differences that lowers green so close to 16 that its rounding in single precision hangs
/// on the luminance: whether it is a step more, below 145 and above 240. For elements and for vectors of
/// them, whose masks GCC 12 cannot combine.
template <class Y, class C>
auto isSteppedDown(Y y, C u, C v) {
    const Y beyond = Y(y - 145);
    return (Y(u ^ -45) | Y(v ^ 44) | Y((beyond < 96 ? beyond : 96) ^ 96)) == 0;
}

/// Steps of all differences, which stand in the tables as unsigned bytes. Blue and red take those of one
/// difference. Green takes those of both, and one more where their parts behind the points make up a whole:
/// where the rank of v among its kind reaches what u needs.
struct YuvSteps {
    /// Read off the plain rule.
    YuvSteps();
    static const YuvSteps& get();

    struct Table {
        alignas(64) std::uint8_t entry[256];
    };
    Table blue, red;  // up for positive differences, down for negative ones
    Table greenU, greenV;
    Table neededU, rankV;
};

#if PZEL_X86_SETS
class YuvProducts {
  public:
    /// Blue, green and red.
    [[gnu::target("arch=x86-64-v3")]] Three<Bytes32> operator()(Bytes32 y, Bytes32 u, Bytes32 v) const {
        const __m256i all = _mm256_set1_epi8(-127), zero = _mm256_setzero_si256();
        const __m256i d = _mm256_max_epi8(__m256i(u), all), e = _mm256_max_epi8(__m256i(v), all);
        const Shorts low = steps(_mm256_unpacklo_epi8(__m256i(y), zero), _mm256_unpacklo_epi8(zero, d),
                                 _mm256_unpacklo_epi8(zero, e), _mm256_unpacklo_epi8(d, e));
        const Shorts high = steps(_mm256_unpackhi_epi8(__m256i(y), zero), _mm256_unpackhi_epi8(zero, d),
                                  _mm256_unpackhi_epi8(zero, e), _mm256_unpackhi_epi8(d, e));
        const auto isDown = isSteppedDown(y, Signed32(u), Signed32(v));
        const __m256i green = _mm256_packus_epi16(low.green, high.green);
        return {Bytes32(_mm256_packus_epi16(low.blue, high.blue)),
                Bytes32(_mm256_subs_epu8(green, _mm256_sub_epi8(zero, __m256i(isDown)))),
                Bytes32(_mm256_packus_epi16(low.red, high.red))};
    }

  private:
    // Factors of the linear matrix times 127.5 / 127: 1.77304 and 1.402581 of 2^14, 0.34437 and 0.714407 of
    // 2^20. The rounding is chosen so that all 2^24 pixels come out right, but those of one pair.
    static constexpr int kBlue = 29164, kRed = 23070;
    static constexpr int kGreenU = 362520, kGreenV = 752059, kGreenRounding = (1 << 20) - 41;

    struct Shorts {
        __m256i blue, green, red;
    };
    /// Luminance, differences shifted by eight bits, and both as pairs of bytes.
    [[gnu::target("arch=x86-64-v3")]] static Shorts steps(__m256i y, __m256i u, __m256i v, __m256i pairs) {
        const __m256i blue = _mm256_srai_epi16(_mm256_mulhi_epi16(u, _mm256_set1_epi16(kBlue)), 6);
        const __m256i red = _mm256_srai_epi16(_mm256_mulhi_epi16(v, _mm256_set1_epi16(kRed)), 6);
        // Seven bits of the factors at a time, from the last ones on: so their products fit 16 bits.
        __m256i green = sevenBits<0>(pairs);
        green = _mm256_add_epi16(sevenBits<7>(pairs), _mm256_srai_epi16(green, 7));
        green = _mm256_add_epi16(sevenBits<14>(pairs), _mm256_srai_epi16(green, 7));
        return {_mm256_add_epi16(y, blue), _mm256_sub_epi16(y, _mm256_srai_epi16(green, 6)),
                _mm256_add_epi16(y, red)};
    }
    template <int shift>
    [[gnu::target("arch=x86-64-v3")]] static __m256i sevenBits(__m256i pairs) {
        constexpr int u = kGreenU >> shift & 127, v = kGreenV >> shift & 127;
        return _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_set1_epi16(u | v << 8), pairs),
                                _mm256_set1_epi16(kGreenRounding >> shift & 127));
    }
};

/// y some steps up or down, within 0 … 255.
template <class Mask>
Bytes64 stepped(Bytes64 y, Mask isDown, Bytes64 steps) {
    const Bytes64 rest = ~steps;
    const Bytes64 up = (y < rest ? y : rest) + steps, down = (y > steps ? y : steps) - steps;
    return isDown ? down : up;
}

class YuvTables {
  public:
    explicit YuvTables(const YuvSteps& steps)
        : blue(steps.blue),
          red(steps.red),
          greenU(steps.greenU),
          greenV(steps.greenV),
          neededU(steps.neededU),
          rankV(steps.rankV) {}
    /// Blue, green and red.
    Three<Bytes64> operator()(Bytes64 y, Bytes64 u, Bytes64 v) const {
        const auto less = -Signed64(greenU[u]);
        auto more = Signed64(greenV[v]);
        more = rankV[v] >= neededU[u] ? more + 1 : more;
        more = isSteppedDown(y, Signed64(u), Signed64(v)) ? more - 1 : more;
        const auto isDown = more < less;
        return {stepped(y, Signed64(u) < 0, blue[u]),
                stepped(y, isDown, Bytes64(isDown ? less - more : more - less)),
                stepped(y, Signed64(v) < 0, red[v])};
    }

  private:
    struct Table {
        explicit Table(const YuvSteps::Table& table) { std::memcpy(part, table.entry, sizeof part); }
        Bytes64 operator[](Bytes64 index) const { return lookUp256(part, index); }
        Bytes64 part[4];
    };
    Table blue, red, greenU, greenV, neededU, rankV;
};
#endif

}  // namespace pzel
