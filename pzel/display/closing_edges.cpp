// The mask is found again from its left edges, 64 pixels at a time, and checked by its upper ones.
#include "pzel/display/closing_edges.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace pzel {

namespace {

using Word = std::uint64_t;
constexpr int kWordBytes = sizeof(Word), kWordBits = 8 * kWordBytes;

/// Up to eight bytes of a row as a word, its first pixel as the most significant bit; zeros behind the bytes.
Word loadBits(const unsigned char* bytes, int count) {
    Word word = 0;
    if (count >= kWordBytes) {
        for (int i = 0; i < kWordBytes; ++i) word = word << 8 | bytes[i];
        return word;
    }
    for (int i = 0; i < count; ++i) word |= Word{bytes[i]} << (kWordBits - 8 * (i + 1));
    return word;
}

/// Each bit becomes the sum, modulo 2, of itself and all in front of it: edges become what lies between them.
Word between(Word edges) {
    for (int shift = 1; shift < kWordBits; shift *= 2) edges ^= edges >> shift;
    return edges;
}

}  // namespace

ClosingEdges::ClosingEdges(const BitmapSource& boundary) {
    const int bytes = (boundary.width + 7) / 8, half = std::abs(boundary.rowBytes) / 2;
    std::vector<Word> mask(static_cast<std::size_t>((bytes + kWordBytes - 1) / kWordBytes));
    std::vector<unsigned char> ends(2 * static_cast<std::size_t>(boundary.height));
    for (int y = 0; y < boundary.height; ++y) {
        const unsigned char* upper = boundary.pixels + std::ptrdiff_t(y) * boundary.rowBytes;
        bool inside = false;
        for (int at = 0; at < bytes; at += kWordBytes) {
            const int pixels = std::min(boundary.width - 8 * at, kWordBits);
            const Word used = ~Word{0} << (kWordBits - pixels);
            Word& above = mask[static_cast<std::size_t>(at / kWordBytes)];
            const Word row = between(loadBits(upper + half + at, bytes - at)) ^ (inside ? ~Word{0} : 0);
            if (((loadBits(upper + at, bytes - at) ^ above ^ row) & used) != 0) {
                right.assign(ends.size(), 0);
                bottom.assign(2 * static_cast<std::size_t>(half), 0);
                return;
            }
            above = row & used;
            inside = (row >> (kWordBits - pixels) & 1) != 0;
        }
        ends[2 * static_cast<std::size_t>(y) + 1] = inside ? 0x80 : 0;
    }
    right = std::move(ends);
    bottom.assign(2 * static_cast<std::size_t>(half), 0);
    for (int i = 0; i < bytes; ++i)
        bottom[static_cast<std::size_t>(i)] = static_cast<unsigned char>(
            mask[static_cast<std::size_t>(i / kWordBytes)] >> (kWordBits - 8 * (i % kWordBytes + 1)));
}

}  // namespace pzel
