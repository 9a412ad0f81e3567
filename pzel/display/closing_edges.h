// The edges that a boundary has no bits for: those of a mask that touches the right or the bottom border of
// its picture. Internal, for the composition of movies.
#pragma once

#include <vector>

#include "pzel/display/overlay.h"

namespace pzel {

/// Two boundaries of one column and of one row, which close the outline of a mask: the right edges of its
/// last column, as left ones, and the lower edges of its last row, as upper ones. Both are clear where
/// nothing touches these borders, and where the edges of the boundary are not all those of one mask: arrows
/// and parts of outlines stay as they are.
struct ClosingEdges {
    explicit ClosingEdges(const BitmapSource& boundary);

    std::vector<unsigned char> right;   // two bytes for each row
    std::vector<unsigned char> bottom;  // as long as a row of the boundary
};

}  // namespace pzel
