// Display bitmaps: rows of a device-independent bitmap of 1, 8 or 24 bits per pixel.
//
// Rows are padded to a multiple of four bytes and follow one another from the picture's first row on, never
// flipped. 1-bit pixels stand in the most significant bit first, 24-bit pixels are blue, green, red.
#pragma once

#include "pzel/export.h"

/// Bytes of one bitmap row: the pixels rounded up to whole bytes, then to a multiple of four, in 16 bits.
/// 0 for a depth other than 1, 8 and 24.
PZEL_API unsigned short ComputeBmpLineBytes(int width, int bitsPerPixel);
