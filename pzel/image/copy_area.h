// The clipped rectangle of a copy, and the internal steps of copying one.
#pragma once

#include "pzel/image/element.h"
#include "pzel/image/image.h"

namespace pzel {

/// A rectangle in two images at once, inside both.
struct CopyArea {
    int srcX, srcY;
    int dstX, dstY;
    int width, height;
    int requestedWidth, requestedHeight;  // before the far edges were clipped
};

/// Converts the colour model: the rectangle from the source's sub type and channels to the destination's.
void convertColourModel(const Image& src, Image& dst, const CopyArea& area);

/// What becomes of the destination outside the copied rectangle; `mode` as CopyMode says.
void treatBorder(Image& dst, const CopyArea& area, unsigned short mode);

/// The pair that a channel's values are read against: its pair of the data bound, or the full range of its
/// type where the bound was never written. Bits (T = bool) stand for (0, 1).
template <class T>
Pair<T> copyPair(const Image& image, int channel);

}  // namespace pzel
