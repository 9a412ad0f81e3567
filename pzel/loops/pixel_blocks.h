// Three channels of a rectangle, a block of pixels at a time, each channel side by side whatever the layout:
// so every loop over a block is simple enough to vectorise, and the block stays in the nearest cache.
#pragma once

#include <type_traits>

#include "pzel/loops/rows.h"
#include "pzel/loops/shuffle.h"

namespace pzel {

constexpr int kPixelBlock = 512;  ///< pixels, at most

/// load() shows a block as `first`, `second` and `third`; where these are written, store() puts it back.
template <class RowsA, class RowsB>
class PixelBlocks;

/// Planes: the block is where it stands.
template <class A, class B>
class PixelBlocks<ContiguousRows<A>, ContiguousRows<B>> {
  public:
    PixelBlocks(const ContiguousRows<A>& a, const ContiguousRows<B>& b, const ContiguousRows<B>& c)
        : rowsA(a), rowsB(b), rowsC(c) {}
    template <class Set>
    void load(Set, int x, int y, int) {
        first = rowsA.row(y) + x;
        second = rowsB.row(y) + x;
        third = rowsC.row(y) + x;
    }
    template <class Set>
    void store(Set, int, int, int) const {}
    A* first;
    B *second, *third;

  private:
    ContiguousRows<A> rowsA;
    ContiguousRows<B> rowsB, rowsC;
};

/// Interleaved pixels: the block is a copy.
template <class A, class B>
class PixelBlocks<StridedRows<A, 3>, StridedRows<B, 3>> {
  public:
    PixelBlocks(const StridedRows<A, 3>& a, const StridedRows<B, 3>&, const StridedRows<B, 3>&) : rows(a) {}
    template <class Set>
    void load(Set set, int x, int y, int count) {
        deinterleave(set, &rows.row(y)[x], first, second, third, count);
    }
    template <class Set>
    void store(Set set, int x, int y, int count) const {
        interleave(set, first, second, third, &rows.row(y)[x], count);
    }
    std::remove_const_t<A> first[kPixelBlock];
    std::remove_const_t<B> second[kPixelBlock], third[kPixelBlock];

  private:
    StridedRows<A, 3> rows;
};

/// From `left` to `right` and from `top` to `bottom`, the ends left out.
struct BlockArea {
    int left, right, top, bottom;
};

/// Calls use(blocks, x, y, count) for every block of an area, loaded: `count` pixels from (x, y) on.
template <class Set, class RowsA, class RowsB, class Use>
void forEachBlock(Set set, const RowsA& a, const RowsB& b, const RowsB& c, const BlockArea& area,
                  const Use& use) {
    PixelBlocks<RowsA, RowsB> blocks(a, b, c);
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; x += kPixelBlock) {
            const int count = area.right - x < kPixelBlock ? area.right - x : kPixelBlock;
            blocks.load(set, x, y, count);
            use(blocks, x, y, count);
        }
    }
}

}  // namespace pzel
