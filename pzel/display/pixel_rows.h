// The walker for rules that see three channels and write blue, green and red.
#pragma once

#include <cstdint>

#include "pzel/image/instruction_set.h"
#include "pzel/image/pixel_blocks.h"
#include "pzel/image/plane.h"
#include "pzel/image/shuffle.h"

namespace pzel {

/// What a pixel rule writes, until it is interleaved.
struct BgrBlock {
    std::uint8_t blue[kPixelBlock], green[kPixelBlock], red[kPixelBlock];
};

/// Each channel by a rule of its own.
template <class Rule>
struct ByChannel {
    static constexpr bool isRare = pzel::isRare<Rule>;
    Rule blue, green, red;
    template <class Set, class T>
    void operator()(Set set, const T* b, const T* g, const T* r, int count, BgrBlock& out) const {
        mapLine(set, blue, b, +out.blue, count);
        mapLine(set, green, g, +out.green, count);
        mapLine(set, red, r, +out.red, count);
    }
};

/// Runs a pixel rule over a rectangle: rule(set, a, b, c, count, block) maps up to a block of pixels.
template <class RowsA, class RowsB, class Rule>
void mapPixelRows(const RowsA& a, const RowsB& b, const RowsB& c, const ContiguousRows<std::uint8_t>& out,
                  int width, int height, const Rule& rule) {
    const auto loop = [=](auto set) {
        const Rule local = rule;
        BgrBlock block;
        forEachBlock(set, a, b, c, width, height, [&](const auto& in, int x, int y, int count) {
            local(set, +in.first, +in.second, +in.third, count, block);
            interleave(set, block.blue, block.green, block.red, out.row(y) + 3 * x, count);
        });
    };
    if constexpr (isRare<Rule>)
        loop(SetConstant<InstructionSet::Baseline>());
    else
        onBestSet(loop);
}

}  // namespace pzel
