// What is drawn, as rows of the destination's scale: each kind of source is unpacked, zoomed and coloured
// into contiguous pixels here, so that writing and blending know one to one only.
//
//   PixelRows       pixels as they are; one to one straight from the source
//   MaskRows        bits as bytes, 0xFF where one is set
//   BoundaryRows    the lines of a boundary, as bytes like a mask's
//   ColouredRows    bytes or a mask's bits by a rule from byte to pixel: a palette, two colours
//
// Each loads a source row once, however often it is repeated: load(y), then line(phase) for every row drawn.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "pzel/display/placement.h"
#include "pzel/loops/ranges.h"

namespace pzel {

using Cover = std::uint8_t;  ///< 0 or 0xFF

/// The eight bits of a byte as cover, most significant bit first.
inline constexpr auto kCoverOfByte = [] {
    std::array<std::array<Cover, 8>, 256> table{};
    for (int byte = 0; byte < 256; ++byte)
        for (int bit = 0; bit < 8; ++bit) table[byte][bit] = byte & 0x80 >> bit ? 0xFF : 0;
    return table;
}();

/// Adds `count` bits of a row, from bit `first` on, to a line of cover.
inline void addBits(const std::uint8_t* bits, std::int64_t first, std::int64_t count, Cover* cover) {
    const auto addSome = [&](std::int64_t from, std::int64_t n) {
        const auto& eight = kCoverOfByte[*bits++];
        for (std::int64_t i = 0; i < n; ++i) cover[i] = Cover(cover[i] | eight[std::size_t(from + i)]);
        cover += n;
        count -= n;
    };
    bits += first / 8;
    if (first % 8 && count > 0) addSome(first % 8, std::min(8 - first % 8, count));
    for (; count >= 8; count -= 8, cover += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, cover, 8);
        eight |= std::bit_cast<std::uint64_t>(kCoverOfByte[*bits++]);
        std::memcpy(cover, &eight, 8);
    }
    if (count > 0) addSome(0, count);
}

/// Fills a span from the source pixels from its first one on.
template <class Pixel>
void zoomLine(const Pixel* in, const Span& span, Pixel* out) {
    if (span.repeat == 1) {
        for (int i = 0; i < span.count; ++i) out[i] = in[std::int64_t(i) * span.step];
        return;
    }
    // Copies: bytes that are written might else be the span's.
    const int count = span.count, repeat = span.repeat;
    int i = 0, run = repeat - span.phase(0);
    if constexpr (sizeof(Pixel) == 1) {
        // A word for each pixel, of which the next one overwrites what is too much.
        constexpr int most = sizeof(std::uint64_t);
        for (; repeat <= most && i + most <= count; i += run, run = repeat) {
            const std::uint64_t word = *in++ * 0x0101010101010101u;
            std::memcpy(out + i, &word, most);
        }
    }
    for (; i < count; i += run, run = repeat) std::fill_n(out + i, std::min(run, count - i), *in++);
}

template <class PixelType>
class PixelRows {
  public:
    using Pixel = PixelType;
    static constexpr Effort kEffort = Effort::Moving;
    explicit PixelRows(const Placement& place)
        : place_(place), zoomed_(place.x.oneToOne() ? 0 : place.x.count) {}
    void load(std::int64_t y) {
        line_ = reinterpret_cast<const Pixel*>(place_.sourceRow(y)) + place_.x.source(0);
        if (zoomed_.empty()) return;
        zoomLine(line_, place_.x, zoomed_.data());
        line_ = zoomed_.data();
    }
    const Pixel* line(int) const { return line_; }

  private:
    const Placement& place_;
    std::vector<Pixel> zoomed_;
    const Pixel* line_ = nullptr;
};

class MaskRows {
  public:
    using Pixel = Cover;
    static constexpr Effort kEffort = Effort::Computing;
    explicit MaskRows(const Placement& place)
        : place_(place),
          bits_(std::size_t(place.x.sourceCount())),
          zoomed_(place.x.oneToOne() ? 0 : place.x.count) {}
    void load(std::int64_t y) {
        std::fill(bits_.begin(), bits_.end(), Cover(0));
        addBits(place_.sourceRow(y), place_.x.source(0), place_.x.sourceCount(), bits_.data());
        if (!zoomed_.empty()) zoomLine(bits_.data(), place_.x, zoomed_.data());
    }
    const Cover* line(int) const { return zoomed_.empty() ? bits_.data() : zoomed_.data(); }

  private:
    const Placement& place_;
    std::vector<Cover> bits_, zoomed_;
};

/// The top row of an enlarged pixel shows its upper and its left edge, the rows below the left edge alone.
class BoundaryRows {
  public:
    using Pixel = Cover;
    static constexpr Effort kEffort = Effort::Computing;
    explicit BoundaryRows(const Placement& place)
        : place_(place),
          blocks_(std::size_t(place.x.sourceCount())),
          top_(place.x.count),
          below_(place.x.count) {}
    void load(std::int64_t y) {
        const Span& x = place_.x;
        gather(y, 0);
        if (x.repeat == 1)
            std::copy_n(blocks_.data(), x.count, top_.data());
        else
            zoomLine(blocks_.data(), x, top_.data());
        gather(y, 1);
        if (x.repeat == 1)
            std::copy_n(blocks_.data(), x.count, below_.data());
        else
            markFirstColumns();
        std::transform(top_.begin(), top_.end(), below_.begin(), top_.begin(), std::bit_or<Cover>());
    }
    const Cover* line(int phase) const { return phase ? below_.data() : top_.data(); }

  private:
    /// One half of the rows: for each block of source pixels that a shown pixel stands for, whether any of
    /// them has a line.
    void gather(std::int64_t y, int half) {
        const int step = place_.x.step, halfBytes = std::abs(place_.source.rowBytes) / 2;
        const std::int64_t end = std::min<std::int64_t>(y + place_.y.step, place_.source.height);
        const std::int64_t count = place_.x.sourceCount();
        std::fill(blocks_.begin(), blocks_.end(), Cover(0));
        for (; y < end; ++y)
            addBits(place_.sourceRow(y) + half * halfBytes, place_.x.source(0), count, blocks_.data());
        if (step == 1) return;
        for (std::int64_t block = 0, first = 0; first < count; ++block, first += step) {
            Cover any = 0;
            for (std::int64_t i = first; i < std::min(first + step, count); ++i)
                any = Cover(any | blocks_[std::size_t(i)]);
            blocks_[std::size_t(block)] = any;
        }
    }

    /// Left edges: the first column of every enlarged pixel, unless the span begins behind it.
    void markFirstColumns() {
        const int repeat = place_.x.repeat, entered = place_.x.phase(0);
        const Cover* left = blocks_.data() + (entered > 0);
        std::fill(below_.begin(), below_.end(), Cover(0));
        for (int i = entered ? repeat - entered : 0; i < place_.x.count; i += repeat) below_[i] = *left++;
    }

    const Placement& place_;
    std::vector<Cover> blocks_, top_, below_;
};

/// The pixels that a rule makes of the bytes of other rows.
template <class PixelType, class Rows, class Rule>
class ColouredRows {
  public:
    using Pixel = PixelType;
    static constexpr Effort kEffort = Effort::Computing;
    ColouredRows(const Placement& place, const Rule& rule)
        : rows_(place), rule_(rule), line_(place.x.count) {}
    void load(std::int64_t y) {
        rows_.load(y);
        const std::uint8_t* bytes = rows_.line(0);
        const Rule rule = rule_;  // out of reach of the pixels that are written
        Pixel* line = line_.data();
        for (std::size_t i = 0; i < line_.size(); ++i) line[i] = rule(bytes[i]);
    }
    const Pixel* line(int) const { return line_.data(); }

  private:
    Rows rows_;
    Rule rule_;
    std::vector<Pixel> line_;
};

struct ByPalette {
    const BgrColour* palette;
    BgrColour operator()(std::uint8_t entry) const { return palette[entry]; }
};

template <class Pixel>
struct ByBit {
    Pixel colours[2];  // of clear and of set bits
    Pixel operator()(Cover cover) const { return colours[cover & 1]; }
};

}  // namespace pzel
