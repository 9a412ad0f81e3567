// 8-bit y,u,v of standard levels to blue, green and red bytes by the linear way, through tables that
// registers hold: what a colour difference adds to a channel counts in whole steps.
#pragma once

#include <cstdint>
#include <cstring>

#include "pzel/image/shuffle.h"

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
/// y some steps up or down, within 0 … 255.
template <class Mask>
Bytes64 stepped(Bytes64 y, Mask isDown, Bytes64 steps) {
    const Bytes64 rest = ~steps;
    const Bytes64 up = (y < rest ? y : rest) + steps, down = (y > steps ? y : steps) - steps;
    return isDown ? down : up;
}

/// The tables in registers, and what they make of pixels.
class HeldSteps {
  public:
    explicit HeldSteps(const YuvSteps& steps)
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
