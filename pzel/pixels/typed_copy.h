// Rectangles of pixels between images that may differ in size, element type, channel count, layout and colour
// model.
#pragma once

#include "pzel/image/image.h"

/// Bits of the mode word of the rectangle form of CopyImage.
enum CopyMode : unsigned short {
    CopyBorderMask = 0x000F,  ///< the border treatment; other codes than the next four do nothing
    CopyBorderNone = 0,       ///< leave the rest of the destination alone
    CopyBorderZero = 1,       ///< zero the destination outside the copied rectangle
    CopyBorderExtend = 2,     ///< repeat the rectangle's edge pixels over the rest of the destination
    CopyBorderFill = 3,       ///< repeat the last column and row up to the requested width and height
    CopySkipLeft = 0x0010,    ///< no treatment left of the rectangle
    CopySkipRight = 0x0020,   ///< no treatment right of the rectangle
    CopySkipTop = 0x0040,     ///< no treatment above the rectangle
    CopySkipBottom = 0x0080,  ///< no treatment below the rectangle
};

/// Copies a rectangle of `width` x `height` pixels from (srcX, srcY) of `src` to (dstX, dstY) of `dst`. The
/// rectangle is clipped to both images; one that clips to nothing does nothing, and so does an image without
/// data or without channels. The images must not share pixels.
///
/// Equal element types are copied as they are, whatever the bounds. Different ones are converted channel by
/// channel: the source's bound pair is mapped onto the destination's (an unset bound stands for the full
/// range of the type, a bit image for (0, 1)), with one method for the whole call, chosen by the first
/// channel's pairs: carried over where they have equal lows and widths, shifted where they have equal widths,
/// else clamped and scaled. 32-bit integers are copied, never converted; unknown types give no elements.
/// Destination channels that the source lacks get the first channel (sub type 0) or zero.
///
/// Different sub types convert the colour model: colour (blue first), YUV and grey in all directions. Equal
/// element types carry the full range of the type over, different ones map bound pair to bound pair. A
/// destination of sub type SubNotSet takes the source's sub type instead.
///
/// `mode` says what becomes of the destination outside the rectangle (CopyMode). Bit images are copied bit
/// for bit without border treatment; where both columns stand at the same bit of a byte, other than the
/// first, nothing is copied (deliberate: align on bytes, or use different offsets).
PZEL_API void CopyImage(Image* src, Image* dst, int srcX, int srcY, int dstX, int dstY, int width, int height,
                        unsigned short mode);
/// The same with the mode sign-extended: a negative one skips all strips and names no border treatment.
PZEL_API void CopyImage(Image* src, Image* dst, int srcX, int srcY, int dstX, int dstY, int width, int height,
                        char mode);
