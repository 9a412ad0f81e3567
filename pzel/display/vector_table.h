// The points of every arrow of one quadrant, ready to be plotted.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "pzel/display/vector.h"

namespace pzel {

/// A point of an arrow, relative to its start.
struct VectorPoint {
    std::int8_t x;
    std::int8_t y;
};

/// The arrows (dx, dy) of 0 … 31 steps each way: the line from (0, 0) to (dx, dy), both included, then the
/// two points of the head where the line has more than two points. The arrows follow one another, dx running
/// fastest, so that each begins behind the last point of the one before it.
class VectorTable {
  public:
    VectorTable();
    /// The points of an arrow; 0 <= dx, dy <= 31.
    std::span<const VectorPoint> run(int dx, int dy) const;

  private:
    static constexpr int kSide = VectorLongest + 1;
    static constexpr int kPointBytes = 0xBE90;

    std::array<VectorPoint, kPointBytes / sizeof(VectorPoint)> points_;
    std::array<std::int16_t, kSide * kSide> last_;  // index of the last point of each arrow
};

/// The table that VectorInit made; null without one.
const VectorTable* vectorTable();

}  // namespace pzel
