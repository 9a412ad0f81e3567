// Drawing bitmaps into bitmaps: the calls, and what they make of the destination, found by walking the source
// and painting each of its pixels where it falls.
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>

#include "pzel/display/overlay.h"
#include "tests/support/images.h"

namespace test {

using Zoom = std::array<signed char, 2>;
using Pixel = std::array<u8, 3>;  // the first alone for 1 and 8 bits

enum OverlayKind { Picture, Mask, Boundary };

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

struct OverlayCall {
    BitmapDestination d;
    BitmapSource s;
    signed char x, y;
    const Paint& p;
    int t;
};

struct Overlay {
    const char* name;
    int to, from;
    OverlayKind kind;
    bool blends;
    void (*draw)(const OverlayCall&);

    void run(const BitmapDestination& d, const BitmapSource& s, Zoom zoom, const Paint& paint) const {
        draw({d, s, zoom[0], zoom[1], paint, paint.transparency});
    }
};

/// Every exported function of the family, at every depth that it takes.
inline const Overlay overlays[] = {
    {"CopyBitmap 1", 1, 1, Picture, false, [](const OverlayCall& c) { CopyBitmap(c.d, c.s, c.x, c.y, 1); }},
    {"CopyBitmap 8", 8, 8, Picture, false, [](const OverlayCall& c) { CopyBitmap(c.d, c.s, c.x, c.y, 8); }},
    {"CopyBitmap 24", 24, 24, Picture, false,
     [](const OverlayCall& c) { CopyBitmap(c.d, c.s, c.x, c.y, 24); }},
    {"CopyBitmap8To24", 24, 8, Picture, false,
     [](const OverlayCall& c) { CopyBitmap8To24(c.d, c.s, c.x, c.y, c.p.palette); }},
    {"CopyBitTo1", 1, 1, Picture, false, [](const OverlayCall& c) { CopyBitTo1(c.d, c.s, c.x, c.y); }},
    {"CopyBitTo8", 8, 1, Picture, false,
     [](const OverlayCall& c) { CopyBitTo8(c.d, c.s, c.x, c.y, c.p.clear, c.p.set); }},
    {"CopyBitTo24", 24, 1, Picture, false,
     [](const OverlayCall& c) {
         CopyBitTo24(c.d, c.s, c.x, c.y, c.p.colour(c.p.clear), c.p.colour(c.p.set));
     }},
    {"AddBoundaryTo1", 1, 1, Boundary, false,
     [](const OverlayCall& c) { AddBoundaryTo1(c.d, c.s, c.x, c.y); }},
    {"AddBoundaryTo8", 8, 1, Boundary, false,
     [](const OverlayCall& c) { AddBoundaryTo8(c.d, c.s, c.x, c.y, c.p.set); }},
    {"AddBoundaryTo24", 24, 1, Boundary, false,
     [](const OverlayCall& c) { AddBoundaryTo24(c.d, c.s, c.x, c.y, c.p.colour(c.p.set)); }},
    {"AddMask", 1, 1, Mask, false, [](const OverlayCall& c) { AddMask(c.d, c.s, c.x, c.y); }},
    {"DisplayMask 1", 1, 1, Mask, true,
     [](const OverlayCall& c) { DisplayMask(c.d, c.s, c.x, c.y, 1, c.p.set, c.p.palette, c.t); }},
    {"DisplayMask 8", 8, 1, Mask, true,
     [](const OverlayCall& c) { DisplayMask(c.d, c.s, c.x, c.y, 8, c.p.set, c.p.palette, c.t); }},
    {"DisplayMask 24", 24, 1, Mask, true,
     [](const OverlayCall& c) { DisplayMask(c.d, c.s, c.x, c.y, 24, c.p.set, c.p.palette, c.t); }},
    {"DisplayMaskOn8", 8, 1, Mask, true,
     [](const OverlayCall& c) { DisplayMaskOn8(c.d, c.s, c.x, c.y, c.p.set, c.t); }},
    {"DisplayMaskOn24", 24, 1, Mask, true,
     [](const OverlayCall& c) { DisplayMaskOn24(c.d, c.s, c.x, c.y, c.p.colour(c.p.set), c.t); }},
    {"AddTransparentBitTo1", 1, 1, Picture, true,
     [](const OverlayCall& c) { AddTransparentBitTo1(c.d, c.s, c.x, c.y, c.t); }},
    {"AddTransparentBitTo 1", 1, 1, Picture, true,
     [](const OverlayCall& c) {
         AddTransparentBitTo(c.d, c.s, c.x, c.y, 1, c.p.clear, c.p.set, c.p.palette, c.t);
     }},
    {"AddTransparentBitTo 8", 8, 1, Picture, true,
     [](const OverlayCall& c) {
         AddTransparentBitTo(c.d, c.s, c.x, c.y, 8, c.p.clear, c.p.set, c.p.palette, c.t);
     }},
    {"AddTransparentBitTo 24", 24, 1, Picture, true,
     [](const OverlayCall& c) {
         AddTransparentBitTo(c.d, c.s, c.x, c.y, 24, c.p.clear, c.p.set, c.p.palette, c.t);
     }},
    {"AddTransparentBitmap 1", 1, 1, Picture, true,
     [](const OverlayCall& c) { AddTransparentBitmap(c.d, c.s, c.x, c.y, 1, c.t); }},
    {"AddTransparentBitmap 8", 8, 8, Picture, true,
     [](const OverlayCall& c) { AddTransparentBitmap(c.d, c.s, c.x, c.y, 8, c.t); }},
    {"AddTransparentBitmap 24", 24, 24, Picture, true,
     [](const OverlayCall& c) { AddTransparentBitmap(c.d, c.s, c.x, c.y, 24, c.t); }},
    {"AddTransparentBitmap8To24", 24, 8, Picture, true,
     [](const OverlayCall& c) { AddTransparentBitmap8To24(c.d, c.s, c.x, c.y, c.p.palette, c.t); }},
};

/// How pixels stand in rows of bytes; `start` is where the first row does.
struct Raster {
    int bits, width, height, rowBytes, start;

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
inline Bytes overlaid(const Overlay& operation, const Raster& to, const Bytes& before, const Raster& from,
                      const Bytes& source, int left, int top, Zoom zoom, const Paint& p) {
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
            for (int j = std::max(0, -atY); j < std::min(larger(1), to.height - atY); ++j)
                for (int i = std::max(0, -atX); i < std::min(larger(0), to.width - atX); ++i) {
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

}  // namespace test
