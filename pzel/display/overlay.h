// Bitmap over bitmap: copies, boundary lines, masks and transparent pictures.
//
// One family. Each function draws a source into a destination: the source's first pixel falls on pixel (x, y)
// of the destination, each axis has a zoom of its own, and whatever falls outside the destination is left
// out: nothing outside the destination's pixels is written, nothing outside the source's is read. An empty
// destination or source, one without pixels, and an unknown depth draw nothing. Both buffers stay the
// caller's and must not overlap.
//
// zoomX, zoomY   n >= 2     every source pixel fills n destination pixels
//                -1 … 1     one to one
//                n <= -2    every -n-th source pixel is taken, beginning with the first
// transparency   0 (opaque) … 128 (invisible), values outside taken as the nearer end: a pixel becomes
//                (drawn * (128 - transparency) + present * transparency + 64) / 128. A destination of 1 bit
//                takes what is drawn below 64 and is left alone from 64 on.
// depths         1 (most significant bit first), 8, or 24 (blue, green, red) bits per pixel
//
//                       to 1 bit               to 8 bits              to 24 bits
// picture of bits       CopyBitTo1             CopyBitTo8             CopyBitTo24
//   with transparency   AddTransparentBitTo1   AddTransparentBitTo    AddTransparentBitTo
// picture of 8 bits                            CopyBitmap             CopyBitmap8To24
//   with transparency                          AddTransparentBitmap   AddTransparentBitmap8To24
// picture of 24 bits                                                  CopyBitmap
//   with transparency                                                 AddTransparentBitmap
// mask (its set bits)   AddMask                DisplayMaskOn8         DisplayMaskOn24
// boundary              AddBoundaryTo1         AddBoundaryTo8         AddBoundaryTo24
#pragma once

#include "pzel/export.h"

/// A colour as it stands in a 24-bit row; a palette is 256 of them.
struct BgrColour {
    unsigned char blue = 0, green = 0, red = 0;
};

/// The rows that are drawn into.
struct BitmapDestination {
    unsigned char* pixels = nullptr;  ///< the first pixel of the first row
    int rowBytes = 0;                 ///< from one row to the next; negative: the first row stands last
    int width = 0;                    ///< pixels
    int height = 0;                   ///< rows
};

/// The rows that are drawn, and where. A boundary has two rows of bits for each of its `height` rows, each
/// half of `rowBytes` long: the first marks pixels whose upper edge lies on a boundary, the second those
/// whose left edge does.
struct BitmapSource {
    const unsigned char* pixels = nullptr;  ///< the first pixel of the first row
    int rowBytes = 0;                       ///< from one row to the next; may be negative
    int width = 0;                          ///< pixels, before zooming
    int height = 0;                         ///< rows, before zooming
    int x = 0;                              ///< the first pixel's column in the destination; may be negative
    int y = 0;                              ///< the first row's row in the destination; may be negative
    int skipX = 0;                          ///< columns in front of the first one that is drawn
    int skipY = 0;                          ///< rows in front of the first one that is drawn
};

/// Copies a picture between bitmaps of the same depth: 1, 8 or 24 bits per pixel.
PZEL_API void CopyBitmap(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                         signed char zoomY, int bitsPerPixel);

/// Copies an 8-bit picture into 24 bits: each byte becomes its entry of `palette` (256 entries; null: greys).
PZEL_API void CopyBitmap8To24(const BitmapDestination& destination, const BitmapSource& source,
                              signed char zoomX, signed char zoomY, const BgrColour* palette);

/// Copies a picture of bits, set and clear ones.
PZEL_API void CopyBitTo1(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                         signed char zoomY);

/// Copies a picture of bits into 8 bits: `clear` where a bit is clear, `set` where it is set.
PZEL_API void CopyBitTo8(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                         signed char zoomY, unsigned char clear, unsigned char set);

/// Copies a picture of bits into 24 bits: `clear` where a bit is clear, `set` where it is set.
PZEL_API void CopyBitTo24(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                          signed char zoomY, BgrColour clear, BgrColour set);

/// Sets the bits of the destination that lie on a boundary and keeps the others.
///
/// One to one, a pixel lies on the boundary when its upper or its left edge does. Enlarged, the line runs
/// along the pixel's edges: the top row of its block of destination pixels for the upper edge, the leftmost
/// column for the left one. Shrunk, a line survives when any pixel of the block that one destination pixel
/// stands for has it.
PZEL_API void AddBoundaryTo1(const BitmapDestination& destination, const BitmapSource& source,
                             signed char zoomX, signed char zoomY);

/// Writes `value` where AddBoundaryTo1 sets a bit.
PZEL_API void AddBoundaryTo8(const BitmapDestination& destination, const BitmapSource& source,
                             signed char zoomX, signed char zoomY, unsigned char value);

/// Writes `colour` where AddBoundaryTo1 sets a bit.
PZEL_API void AddBoundaryTo24(const BitmapDestination& destination, const BitmapSource& source,
                              signed char zoomX, signed char zoomY, BgrColour colour);

/// Adds a mask to a mask: sets the bits of the destination where `source` has them and keeps the others.
PZEL_API void AddMask(const BitmapDestination& destination, const BitmapSource& source, signed char zoomX,
                      signed char zoomY);

/// Shows a mask of bits on a bitmap of 1, 8 or 24 bits per pixel; only what its set bits cover changes. The
/// colour is entry `colour` of `palette` (256 entries; null: greys) on 24 bits, the entry itself on 8 bits;
/// on 1 bit the mask is added.
PZEL_API void DisplayMask(const BitmapDestination& destination, const BitmapSource& mask, signed char zoomX,
                          signed char zoomY, int bitsPerPixel, unsigned char colour, const BgrColour* palette,
                          int transparency);

/// Tints what the set bits of a mask cover: the destination's greys move towards `value`.
PZEL_API void DisplayMaskOn8(const BitmapDestination& destination, const BitmapSource& mask,
                             signed char zoomX, signed char zoomY, unsigned char value, int transparency);

/// Tints what the set bits of a mask cover: the destination's colours move towards `colour`.
PZEL_API void DisplayMaskOn24(const BitmapDestination& destination, const BitmapSource& mask,
                              signed char zoomX, signed char zoomY, BgrColour colour, int transparency);

/// Copies a picture of bits, set and clear ones, when it is opaque enough (below 64).
PZEL_API void AddTransparentBitTo1(const BitmapDestination& destination, const BitmapSource& source,
                                   signed char zoomX, signed char zoomY, int transparency);

/// Blends a picture of bits into a bitmap of 1, 8 or 24 bits per pixel. Its colours are the entries `clear`
/// and `set` of `palette` (256 entries; null: greys) on 24 bits, the entries themselves on 8 bits; on 1 bit
/// they do not count.
PZEL_API void AddTransparentBitTo(const BitmapDestination& destination, const BitmapSource& source,
                                  signed char zoomX, signed char zoomY, int bitsPerPixel, unsigned char clear,
                                  unsigned char set, const BgrColour* palette, int transparency);

/// Blends a picture into a bitmap of the same depth: 1, 8 or 24 bits per pixel.
PZEL_API void AddTransparentBitmap(const BitmapDestination& destination, const BitmapSource& source,
                                   signed char zoomX, signed char zoomY, int bitsPerPixel, int transparency);

/// Blends an 8-bit picture, each byte being its entry of `palette` (256 entries; null: greys), into 24 bits.
PZEL_API void AddTransparentBitmap8To24(const BitmapDestination& destination, const BitmapSource& source,
                                        signed char zoomX, signed char zoomY, const BgrColour* palette,
                                        int transparency);
