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

/// A pixel rule that has another form for vectors of bytes: rule.onVectors() maps three of them to three.
template <class Rule>
concept MapsVectors = requires(const Rule& rule) {
    rule.onVectors();
};

#if PZEL_X86_SETS
template <class A, class B>
Three<Bytes64> loadPixels(const ContiguousRows<A>& a, const ContiguousRows<B>& b, const ContiguousRows<B>& c,
                          int x, int y) {
    return {loadVector<Bytes64>(a.row(y) + x), loadVector<Bytes64>(b.row(y) + x),
            loadVector<Bytes64>(c.row(y) + x)};
}
template <class A, class B>
Three<Bytes64> loadPixels(const StridedRows<A, 3>& a, const StridedRows<B, 3>&, const StridedRows<B, 3>&,
                          int x, int y) {
    const auto* pixels = &a.row(y)[x];
    return split(loadVector<Bytes64>(pixels), loadVector<Bytes64>(pixels + 64),
                 loadVector<Bytes64>(pixels + 128));
}

/// Runs a rule over as many pixels of each row as fill vectors.
template <class RowsA, class RowsB, class Rule>
int mapVectors(const RowsA& a, const RowsB& b, const RowsB& c, const ContiguousRows<std::uint8_t>& out,
               int width, int height, const Rule& rule) {
    const auto onVectors = rule.onVectors();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x + 64 <= width; x += 64) {
            const auto in = loadPixels(a, b, c, x, y);
            const auto shown = onVectors(in.a, in.b, in.c);
            const auto pixels = merged(shown.a, shown.b, shown.c);
            storeVector(pixels.a, out.row(y) + 3 * x);
            storeVector(pixels.b, out.row(y) + 3 * x + 64);
            storeVector(pixels.c, out.row(y) + 3 * x + 128);
        }
    }
    return width / 64 * 64;
}
#endif

/// Runs a pixel rule over a rectangle: rule(set, a, b, c, count, block) maps up to a block of pixels.
template <class RowsA, class RowsB, class Rule>
void mapPixelRows(const RowsA& a, const RowsB& b, const RowsB& c, const ContiguousRows<std::uint8_t>& out,
                  int width, int height, const Rule& rule) {
    const auto loop = [=](auto set) {
        const Rule local = rule;
        int done = 0;
#if PZEL_X86_SETS
        if constexpr (MapsVectors<Rule> && looksUpBytes<set>)
            done = mapVectors(a, b, c, out, width, height, local);
#endif
        BgrBlock block;
        forEachBlock(set, a, b, c, done, width, height, [&](const auto& in, int x, int y, int count) {
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
