// Boundary images: where the outline of a mask runs.
#pragma once

#include "pzel/export.h"

struct Image;

/// A new boundary image (MajorBoundary, two channels of interleaved bits) of the size of a mask: in every
/// image row the first bit row marks the pixels whose upper edge lies on a boundary, the second those whose
/// left edge does. An edge lies on a boundary where exactly one of the two pixels beside it is masked;
/// outside the image nothing is.
///
/// The lower edges of the last row and the right edges of the last column belong to no pixel: where the mask
/// touches the bottom or the right border of the picture a boundary has no bits for its outline, being as
/// large as the mask. ComposeMovie finds them by the other edges and closes the outline; AddBoundaryTo1 and
/// its kin do not, since what they are given may be a part of an outline, or lines that are none.
///
/// `mask` has bits or 8-bit elements (not 0: masked) in its first channel; it stays as it is. Null for a mask
/// of another type, without data, or null. The caller owns the result (DeleteImage).
PZEL_API Image* MaskToBoundary(Image* mask);
