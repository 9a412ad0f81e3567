// The walker for rules that see three channels and write blue, green and red.
#pragma once

#include <cstdint>

#include "pzel/image/plane.h"
#include "pzel/loops/instruction_set.h"
#include "pzel/loops/pixel_blocks.h"
#include "pzel/loops/ranges.h"
#include "pzel/loops/shuffle.h"

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

/// A pixel rule that has another form for vectors: rule.onVectors() maps three of bytes to three.
template <class Rule>
concept MapsVectors = requires(const Rule& rule) {
    rule.onVectors();
};

#if PZEL_VECTORS
template <class Vector, class A, class B>
Three<Vector> loadPixels(const ContiguousRows<A>& a, const ContiguousRows<B>& b, const ContiguousRows<B>& c,
                         int x, int y) {
    return {loadVector<Vector>(a.row(y) + x), loadVector<Vector>(b.row(y) + x),
            loadVector<Vector>(c.row(y) + x)};
}
template <class Vector, class A, class B>
Three<Vector> loadPixels(const StridedRows<A, 3>& a, const StridedRows<B, 3>&, const StridedRows<B, 3>&,
                         int x, int y) {
    return loadSplit<Vector>(&a.row(y)[x]);
}

/// Runs a rule over as many pixels of each row from `top` to `bottom` as fill vectors, and tells how many.
template <InstructionSet set, class RowsA, class RowsB, class Rule>
int mapVectors(SetConstant<set>, const RowsA& a, const RowsB& b, const RowsB& c,
               const ContiguousRows<std::uint8_t>& out, int width, int top, int bottom, const Rule& rule) {
    using Vector = typename ShuffledOf<set>::Bytes;
    constexpr int step = sizeof(Vector);
    const auto onVectors = rule.onVectors();
    for (int y = top; y < bottom; ++y) {
        for (int x = 0; x + step <= width; x += step) {
            const auto in = loadPixels<Vector>(a, b, c, x, y);
            const auto shown = onVectors(in.a, in.b, in.c);
            storeMerged(shown, out.row(y) + 3 * x);
        }
    }
    return width / step * step;
}
#endif

/// Runs a pixel rule over a rectangle: rule(set, a, b, c, count, block) maps up to a block of pixels.
template <class RowsA, class RowsB, class Rule>
void mapPixelRows(const RowsA& a, const RowsB& b, const RowsB& c, const ContiguousRows<std::uint8_t>& out,
                  int width, int height, const Rule& rule) {
    const auto mapRange = [&](int first, int end) {
        const auto loop = [=](auto set) {
            const Rule local = rule;
            int done = 0;
#if PZEL_VECTORS
            if constexpr (MapsVectors<Rule> && hasVectors<set>)
                done = mapVectors(set, a, b, c, out, width, first, end, local);
#endif
            BgrBlock block;
            const BlockArea area{done, width, first, end};
            forEachBlock(set, a, b, c, area, [&](const auto& in, int x, int y, int count) {
                local(set, +in.first, +in.second, +in.third, count, block);
                interleave(set, block.blue, block.green, block.red, out.row(y) + 3 * x, count);
            });
        };
        if constexpr (isRare<Rule>)
            loop(SetConstant<InstructionSet::Reference>());
        else
            onBestSet(loop);
    };
    if (standApart(out, 3 * std::ptrdiff_t(width)))
        forRanges(height, 3 * std::int64_t(width) * height, Effort::Computing, mapRange);
    else
        mapRange(0, height);
}

}  // namespace pzel
