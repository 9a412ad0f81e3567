// The picture that a component shows, inside its display bitmap.
#pragma once

/// A picture inside a component's display bitmap. It stays the component's.
struct ShownBitmap {
    const unsigned char* pixels = nullptr;  ///< the first pixel of the first row; null: no bitmap
    int width = 0;                          ///< pixels
    int height = 0;                         ///< rows
    int rowBytes = 0;                       ///< bytes from one row to the next
    int bits = 0;                           ///< bits per pixel: 1, 8, 24
    int bitRows = 1;  ///< 2 for a boundary: half of rowBytes for upper edges, half for left ones
};
