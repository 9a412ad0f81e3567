// What happens where a drawn row meets the destination's row: written, blended, tinted, packed into bits.
// Every operation takes the destination's row, the first pixel in it, the drawn line and its length.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "pzel/display/blend.h"
#include "pzel/display/draw.h"
#include "pzel/display/zoomed_rows.h"
#include "pzel/loops/instruction_set.h"

namespace pzel {

static_assert(sizeof(BgrColour) == 3, "a colour is a pixel of a 24-bit row");

/// Copies pixels.
template <class Pixel>
struct WritePixels {
    static constexpr int kPixelBits = 8 * sizeof(Pixel);
    void operator()(std::uint8_t* row, int x, const Pixel* line, int count) const {
        std::memcpy(row + std::ptrdiff_t(x) * sizeof(Pixel), line, count * sizeof(Pixel));
    }
};

/// Blends pixels, which are runs of bytes to it.
template <class Pixel>
struct BlendPixels {
    static constexpr int kPixelBits = 8 * sizeof(Pixel);
    Blend blend;
    void operator()(std::uint8_t* row, int x, const Pixel* line, int count) const {
        std::uint8_t* to = row + std::ptrdiff_t(x) * sizeof(Pixel);
        const auto* from = reinterpret_cast<const std::uint8_t*>(line);
        onBestSet([=, local = blend, bytes = count * sizeof(Pixel)](auto set) {
            blendLine(set, local, from, to, bytes);
        });
    }
};

/// Applies an operation to the covered pixels, run by run; what masks and boundaries leave clear costs next
/// to nothing. `line` holds as many pixels as the longest run.
template <class Pixel, class Operation>
struct WhereCovered {
    static constexpr int kPixelBits = Operation::kPixelBits;
    const Pixel* line;
    Operation operation;
    void operator()(std::uint8_t* row, int x, const Cover* cover, int count) const {
        const auto next = [&](int from, int wanted) {
            const auto* found = static_cast<const Cover*>(std::memchr(cover + from, wanted, count - from));
            return found ? int(found - cover) : count;
        };
        for (int begin = next(0, 0xFF), end; begin < count; begin = next(end, 0xFF)) {
            end = next(begin, 0);
            operation(row, x + begin, line, end - begin);
        }
    }
};

enum class BitRule { Copy, Add };

/// Eight bytes of cover as the bits of a byte, the first as the most significant.
inline std::uint8_t packByte(const Cover* cover) {
    constexpr std::array<std::uint8_t, 8> places = {0x80, 0x40, 0x20, 0x10, 8, 4, 2, 1};
    std::uint64_t eight;
    std::memcpy(&eight, cover, 8);
    eight &= std::bit_cast<std::uint64_t>(places);
    return std::uint8_t(eight * 0x0101010101010101u >> 56);  // the sum of all eight bytes
}

/// Packs cover into a row of bits; Add keeps the bits that are set.
template <BitRule rule>
struct PackBits {
    static constexpr int kPixelBits = 1;
    void operator()(std::uint8_t* row, int x, const Cover* cover, int count) const {
        row += x / 8;
        for (int bit = x % 8; count > 0; bit = 0) {
            const int n = std::min(count, 8 - bit);
            std::uint8_t bits = 0;
            if (n == 8) {
                bits = packByte(cover);
            } else {
                for (int i = 0; i < n; ++i) bits = std::uint8_t(bits | (cover[i] & 0x80 >> (bit + i)));
            }
            const int replaced = rule == BitRule::Copy ? 0xFF >> bit & 0xFF00 >> (bit + n) : bits;
            *row = std::uint8_t((*row & ~replaced) | bits);
            ++row;
            cover += n;
            count -= n;
        }
    }
};

}  // namespace pzel
