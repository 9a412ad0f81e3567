// Drawing bitmaps into bitmaps, against a reference that walks the source and paints each of its pixels where
// it falls: wrong clipping, a picture shifted by a phase of its zoom, lines on the wrong edge or lost in
// shrinking, bits or padding changed beside the picture, a blend that rounds wrongly.
#include "pzel/display/overlay.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <functional>
#include <string>

#include "tests/support/images.h"

namespace {

using namespace test;
using Zoom = std::array<signed char, 2>;
using Pixel = std::array<u8, 3>;  // the first alone for 1 and 8 bits

enum Kind { Picture, Mask, Boundary };

struct Paint {
    u8 clear = 0, set = 255;
    const BgrColour* palette = nullptr;
    int transparency = 0;

    BgrColour colour(u8 entry) const { return palette ? palette[entry] : BgrColour{entry, entry, entry}; }
    Pixel pixel(u8 entry, int bits) const {
        if (bits < 24) return {entry};
        const BgrColour c = colour(entry);
        return {c.blue, c.green, c.red};
    }
};

struct Call {
    BitmapDestination d;
    BitmapSource s;
    signed char x, y;
    const Paint& p;
    int t;
};

struct Operation {
    const char* name;
    int to, from;
    Kind kind;
    bool blends;
    std::function<void(const Call&)> draw;

    void run(const BitmapDestination& d, const BitmapSource& s, Zoom zoom, const Paint& paint) const {
        draw({d, s, zoom[0], zoom[1], paint, paint.transparency});
    }
};

const Operation operations[] = {
    {"CopyBitmap 1", 1, 1, Picture, false, [](const Call& c) { CopyBitmap(c.d, c.s, c.x, c.y, 1); }},
    {"CopyBitmap 8", 8, 8, Picture, false, [](const Call& c) { CopyBitmap(c.d, c.s, c.x, c.y, 8); }},
    {"CopyBitmap 24", 24, 24, Picture, false, [](const Call& c) { CopyBitmap(c.d, c.s, c.x, c.y, 24); }},
    {"CopyBitmap8To24", 24, 8, Picture, false,
     [](const Call& c) { CopyBitmap8To24(c.d, c.s, c.x, c.y, c.p.palette); }},
    {"CopyBitTo1", 1, 1, Picture, false, [](const Call& c) { CopyBitTo1(c.d, c.s, c.x, c.y); }},
    {"CopyBitTo8", 8, 1, Picture, false,
     [](const Call& c) { CopyBitTo8(c.d, c.s, c.x, c.y, c.p.clear, c.p.set); }},
    {"CopyBitTo24", 24, 1, Picture, false,
     [](const Call& c) { CopyBitTo24(c.d, c.s, c.x, c.y, c.p.colour(c.p.clear), c.p.colour(c.p.set)); }},
    {"AddBoundaryTo1", 1, 1, Boundary, false, [](const Call& c) { AddBoundaryTo1(c.d, c.s, c.x, c.y); }},
    {"AddBoundaryTo8", 8, 1, Boundary, false,
     [](const Call& c) { AddBoundaryTo8(c.d, c.s, c.x, c.y, c.p.set); }},
    {"AddBoundaryTo24", 24, 1, Boundary, false,
     [](const Call& c) { AddBoundaryTo24(c.d, c.s, c.x, c.y, c.p.colour(c.p.set)); }},
    {"AddMask", 1, 1, Mask, false, [](const Call& c) { AddMask(c.d, c.s, c.x, c.y); }},
    {"DisplayMask 1", 1, 1, Mask, true,
     [](const Call& c) { DisplayMask(c.d, c.s, c.x, c.y, 1, c.p.set, c.p.palette, c.t); }},
    {"DisplayMask 8", 8, 1, Mask, true,
     [](const Call& c) { DisplayMask(c.d, c.s, c.x, c.y, 8, c.p.set, c.p.palette, c.t); }},
    {"DisplayMask 24", 24, 1, Mask, true,
     [](const Call& c) { DisplayMask(c.d, c.s, c.x, c.y, 24, c.p.set, c.p.palette, c.t); }},
    {"DisplayMaskOn8", 8, 1, Mask, true,
     [](const Call& c) { DisplayMaskOn8(c.d, c.s, c.x, c.y, c.p.set, c.t); }},
    {"DisplayMaskOn24", 24, 1, Mask, true,
     [](const Call& c) { DisplayMaskOn24(c.d, c.s, c.x, c.y, c.p.colour(c.p.set), c.t); }},
    {"AddTransparentBitTo1", 1, 1, Picture, true,
     [](const Call& c) { AddTransparentBitTo1(c.d, c.s, c.x, c.y, c.t); }},
    {"AddTransparentBitTo 1", 1, 1, Picture, true,
     [](const Call& c) { AddTransparentBitTo(c.d, c.s, c.x, c.y, 1, c.p.clear, c.p.set, c.p.palette, c.t); }},
    {"AddTransparentBitTo 8", 8, 1, Picture, true,
     [](const Call& c) { AddTransparentBitTo(c.d, c.s, c.x, c.y, 8, c.p.clear, c.p.set, c.p.palette, c.t); }},
    {"AddTransparentBitTo 24", 24, 1, Picture, true,
     [](const Call& c) {
         AddTransparentBitTo(c.d, c.s, c.x, c.y, 24, c.p.clear, c.p.set, c.p.palette, c.t);
     }},
    {"AddTransparentBitmap 1", 1, 1, Picture, true,
     [](const Call& c) { AddTransparentBitmap(c.d, c.s, c.x, c.y, 1, c.t); }},
    {"AddTransparentBitmap 8", 8, 8, Picture, true,
     [](const Call& c) { AddTransparentBitmap(c.d, c.s, c.x, c.y, 8, c.t); }},
    {"AddTransparentBitmap 24", 24, 24, Picture, true,
     [](const Call& c) { AddTransparentBitmap(c.d, c.s, c.x, c.y, 24, c.t); }},
    {"AddTransparentBitmap8To24", 24, 8, Picture, true,
     [](const Call& c) { AddTransparentBitmap8To24(c.d, c.s, c.x, c.y, c.p.palette, c.t); }},
};

/// Random rows between guards; `bottomUp` puts the first row last.
struct Rows {
    int bits, width, height, rowBytes, start;
    Guarded guarded;

    Rows(Random& random, int depth, int w, int h, bool twoRows, bool bottomUp)
        : bits(depth),
          width(w),
          height(h),
          rowBytes(((w * depth + 7) / 8 + random(0, 3)) * (twoRows ? 2 : 1)),
          start(bottomUp && h > 0 ? (h - 1) * rowBytes : 0),
          guarded(unsigned(rowBytes * h)) {
        random.fill(guarded.data(), guarded.size());
        if (bottomUp) rowBytes = -rowBytes;
    }
    u8* origin() { return guarded.data() + start; }
    BitmapDestination destination() { return {origin(), rowBytes, width, height}; }
    BitmapSource source(int x, int y) { return {origin(), rowBytes, width, height, x, y}; }

    Pixel at(const Bytes& bytes, int x, int y, int skip = 0) const {
        const u8* row = bytes.data() + start + y * rowBytes + skip;
        if (bits == 1) return {u8(row[x / 8] >> (7 - x % 8) & 1)};
        if (bits == 8) return {row[x]};
        return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
    }
    void put(Bytes& bytes, int x, int y, const Pixel& pixel) const {
        u8* row = bytes.data() + start + y * rowBytes;
        if (bits == 1) row[x / 8] = u8((row[x / 8] & ~(0x80 >> x % 8)) | (pixel[0] ? 0x80 >> x % 8 : 0));
        if (bits >= 8) std::copy_n(pixel.begin(), bits / 8, row + bits / 8 * x);
    }
};

/// The destination's bytes after the operation, from the source's pixels one by one.
Bytes expected(const Operation& operation, Rows& to, Rows& from, int left, int top, Zoom zoom,
               const Paint& p) {
    const Bytes before = to.guarded.bytes(), source = from.guarded.bytes();
    Bytes after = before;
    const int t = operation.blends ? std::clamp(p.transparency, 0, 128) : 0;
    const auto paint = [&](int x, int y, const Pixel& drawn) {
        if (x < 0 || y < 0 || x >= to.width || y >= to.height) return;
        Pixel result = to.at(before, x, y);
        for (int c = 0; c < 3; ++c) {
            if (to.bits > 1)
                result[c] = u8((drawn[c] * (128 - t) + result[c] * t + 64) / 128);
            else if (t < 64)
                result[c] = drawn[c];
        }
        to.put(after, x, y, result);
    };
    const auto larger = [&](int axis) { return std::max<int>(zoom[axis], 1); };
    const auto smaller = [&](int axis) { return std::max(-zoom[axis], 1); };
    const Pixel tint = to.bits == 1 ? Pixel{1} : p.pixel(p.set, to.bits);
    for (int y = 0; y < from.height; ++y)
        for (int x = 0; x < from.width; ++x) {
            const int atX = left + x / smaller(0) * larger(0), atY = top + y / smaller(1) * larger(1);
            const bool taken = x % smaller(0) == 0 && y % smaller(1) == 0;
            const Pixel pixel = from.at(source, x, y);
            const bool upper = pixel[0];
            for (int j = 0; j < larger(1); ++j)
                for (int i = 0; i < larger(0); ++i) {
                    if (operation.kind == Boundary) {
                        const bool edge = from.at(source, x, y, std::abs(from.rowBytes) / 2)[0];
                        if ((upper && j == 0) || (edge && i == 0)) paint(atX + i, atY + j, tint);
                    } else if (taken && operation.kind == Mask) {
                        if (pixel[0]) paint(atX + i, atY + j, tint);
                    } else if (taken) {
                        const bool recoloured = from.bits < to.bits;
                        const u8 entry = from.bits == 8 ? pixel[0] : pixel[0] ? p.set : p.clear;
                        paint(atX + i, atY + j, recoloured ? p.pixel(entry, to.bits) : pixel);
                    }
                }
        }
    return after;
}

TEST(Overlay, EveryOperationDrawsWhatTheReferenceDraws) {
    Random random(7);
    std::array<BgrColour, 256> palette;
    random.fill(&palette[0].blue, sizeof palette);
    const std::vector<int> zooms = {-3, -2, -1, 0, 1, 2, 3};
    for (const Operation& operation : operations)
        for (int round = 0; round < 6 * 49; ++round) {
            Zoom zoom = {(signed char)zooms[round % 7], (signed char)zooms[round / 7 % 7]};
            if (random(0, 19) == 0) zoom[random(0, 1)] = (signed char)random.pick({-128, -20, 17, 127});
            const int most = random.pick({0, 1, 9, 24, 80});
            Rows to(random, operation.to, random(0, most), random(0, 20), false, random.coin());
            Rows from(random, operation.from, random(0, 80), random(0, 12), operation.kind == Boundary,
                      random.coin());
            const int left = random(-from.width * std::max<int>(zoom[0], 1) - 2, to.width + 2);
            const int x = random.coin() ? random(-5, 5) : left, y = random(-14, 14);
            const Paint paint{u8(random(0, 255)), u8(random(0, 255)),
                              random.coin() ? palette.data() : nullptr,
                              random.coin() ? random(0, 128) : random.pick({-9, 0, 63, 64, 127, 128, 900})};
            SCOPED_TRACE(std::string(operation.name) + ", round " + std::to_string(round));
            const Bytes wanted = expected(operation, to, from, x, y, zoom, paint);
            operation.run(to.destination(), from.source(x, y), zoom, paint);
            ASSERT_EQ(to.guarded.bytes(), wanted);
            ASSERT_TRUE(to.guarded.intact());
        }
}

// The whole of the blend: all pairs of bytes, all transparencies.
TEST(Overlay, BlendRoundsToNearest) {
    Bytes drawn(65536), present(65536);
    for (int i = 0; i < 65536; ++i) drawn[i] = u8(i % 256), present[i] = u8(i / 256);
    for (int t = 0; t <= 128; ++t) {
        Bytes result = present, wanted(65536);
        for (int i = 0; i < 65536; ++i) wanted[i] = u8((drawn[i] * (128 - t) + present[i] * t + 64) / 128);
        AddTransparentBitmap({result.data(), 256, 256, 256}, {drawn.data(), 256, 256, 256}, 1, 1, 8, t);
        ASSERT_TRUE(same(result, wanted)) << "at " << t;
    }
}

}  // namespace
