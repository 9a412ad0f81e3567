// The row rule of display bitmaps.
#include "pzel/display/bitmap.h"

#include <cstdint>

unsigned short ComputeBmpLineBytes(int width, int bitsPerPixel) {
    std::uint16_t bytes = 0;
    switch (bitsPerPixel) {
        case 1: bytes = std::uint16_t((width + 7) / 8); break;
        case 8: bytes = std::uint16_t(width); break;
        case 24: bytes = std::uint16_t(3 * width); break;
        default: break;
    }
    return std::uint16_t((bytes + 3) & ~3);
}
