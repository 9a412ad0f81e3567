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

/// All that a channel can hold: the full range of its element type T; bits (T = bool) hold (0, 1), the colour
/// differences of float YUV (-128, 127).
template <class T>
Pair<T> channelRange(const Image& image, int channel) {
    if constexpr (std::is_same_v<T, bool>) {
        return {false, true};
    } else {
        const bool difference = GetSubType(&image) == SubYuv && channel > 0;
        if (std::is_floating_point_v<T> && difference) return {T(-128), T(127)};
        return fullRange<T>();
    }
}

/// The pair that a channel's values are read against: its pair of the data bound, or the full range of its
/// type where the bound was never written. Bits (T = bool) stand for (0, 1).
template <class T>
Pair<T> copyPair(const Image& image, int channel);
template <>
Pair<bool> copyPair(const Image& image, int channel);

}  // namespace pzel
