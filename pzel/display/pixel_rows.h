// The walker for rules that see three channels at once and write blue, green and red.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pzel/image/image.h"
#include "pzel/image/plane.h"

namespace pzel {

/// Pixels are mapped in blocks of one byte plane for each channel and interleaved on the way out: every loop
/// is simple enough to vectorise, and the block stays in the nearest cache.
constexpr int kPixelBlock = 512;

struct BgrBlock {
    std::uint8_t blue[kPixelBlock], green[kPixelBlock], red[kPixelBlock];
};

/// Each channel by a rule of its own.
template <class Rule>
struct ByChannel {
    Rule blue, green, red;
    template <class Row>
    void operator()(const Row& b, const Row& g, const Row& r, int count, BgrBlock& out) const {
        for (int i = 0; i < count; ++i) out.blue[i] = blue(b[i]);
        for (int i = 0; i < count; ++i) out.green[i] = green(g[i]);
        for (int i = 0; i < count; ++i) out.red[i] = red(r[i]);
    }
};

/// Runs a pixel rule over a rectangle: rule(a, b, c, count, block) maps up to a block of pixels of one row.
template <class InA, class InB, class Rule>
void mapPixelRows(const InA& a, const InB& b, const InB& c, const ContiguousRows<std::uint8_t>& out,
                  int width, int height, const Rule& rule) {
    const Rule local = rule;
    BgrBlock block;
    for (int y = 0; y < height; ++y) {
        const auto rowA = a.row(y);
        const auto rowB = b.row(y);
        const auto rowC = c.row(y);
        for (int x = 0; x < width; x += kPixelBlock) {
            const int count = std::min(kPixelBlock, width - x);
            local(rowA + x, rowB + x, rowC + x, count, block);
            std::uint8_t* bytes = out.row(y) + 3 * x;
            for (int i = 0; i < count; ++i) {
                bytes[3 * i] = block.blue[i];
                bytes[3 * i + 1] = block.green[i];
                bytes[3 * i + 2] = block.red[i];
            }
        }
    }
}

}  // namespace pzel
