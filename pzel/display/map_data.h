// The innermost step of display: a rectangle of element data becomes rows of bitmap bytes.
#pragma once

#include "pzel/image/image.h"

/// Maps `width` x `height` elements from (x0, y0) of `image` into rows of bytes, row i at dst + i *
/// dstRowBytes.
///
/// One byte for each pixel of a one-channel image, and of a three-channel image when `channelMode` chooses
/// one channel (0x40, 0x80, 0xC0: channel 2, 1, 0 of a colour image, 0, 1, 2 of a YUV image; other values but
/// 0: 0). Three bytes (blue, green, red) for each pixel of a three-channel image otherwise. Images of bits
/// are copied as they are: `height` whole rows of the image from its start, whatever x0, y0 and `width` say
/// (deliberate), but of each no more than `dstRowBytes`.
///
/// Values go through the pair (black b, white w) of their channel in the data bound. Without a table: 0 where
/// v <= b or v is not a number, 255 where v >= w, else (v - b) * 255 / (w - b) rounded. With a table `lut` of
/// 512 bytes for each shown channel: its first and last entry, and the entry (v - b) * 511 / (w - b),
/// truncated, between; the full 8-bit range reads entry 2 * v, the full unsigned 16-bit range v >> 7. 8-bit
/// data compare as unsigned in both types. Sub type 1 shows its luminance and colour differences as colour.
/// Where the HSI bound is selected, colour goes through the windows of intensity, saturation and hue.
///
/// The rows must lie in `dst`; what of the rectangle lies outside the image is left out. 32-bit integers,
/// unknown types, other numbers of channels and images without data write nothing.
PZEL_API void MapData(unsigned char* dst, unsigned short dstRowBytes, unsigned short width,
                      unsigned short height, Image* image, short x0, short y0, const unsigned char* lut,
                      unsigned char channelMode);

/// The joint display alone, whatever bound is selected: a three-channel colour image through the windows of
/// intensity, saturation and hue of its HSI bound (the full ones where that was never set) and, where `lut`
/// is given, through three tables of 512 bytes for them, to blue, green and red bytes. Other images write
/// nothing.
PZEL_API void MapDataHSI(unsigned char* dst, unsigned short dstRowBytes, unsigned short width,
                         unsigned short height, Image* image, short x0, short y0, const unsigned char* lut);
