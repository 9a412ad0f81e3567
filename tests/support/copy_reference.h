// What a typed copy makes of a rectangle, element by element, for sub types that are alike: the naive rules
// that tests compare with.
#pragma once

#include "pzel/pixels/typed_copy.h"
#include "tests/support/images.h"

namespace test {

inline int typeOf(const Image& image) {
    return image.dataType & DataTypeMask;
}

struct Rect {
    int sx, sy, dx, dy, w, h, mode = 0;
};

inline bool wide(int type) {
    return type == DataUInt32 || type == DataInt32;
}

inline Pair levelsOf(Image& image, int c) {
    const int type = trueType(image, c);
    if (type == DataBit || wide(type)) return rangeOf(type);
    // An unset bound may hold pairs that were set one by one.
    const Pair pair = image.bound ? readPair(image.bound, c, type) : Pair();
    if (image.state & (StateBoundSet | StateBoundDefault) || pair != Pair()) return pair;
    return type == DataFloat && c > 0 && image.imageType == SubYuv ? Pair{-128, 127} : rangeOf(type);
}

inline double convert(double v, bool shift, Pair s, Pair d, int type) {
    double result = v < s.first ? d.first : d.second;
    if (shift) {
        result = float(v + (d.first - s.first));
    } else if (std::isnan(v)) {
        result = std::clamp(0.0, d.first, d.second);
    } else if (v >= s.first && v <= s.second && (type != DataBit || v < s.second)) {
        const float scale = float(d.second - d.first) / float(s.second - s.first);
        result = float(v - s.first) * scale + float(d.first);
        result = std::clamp(type == DataFloat ? result : std::trunc(result), d.first, d.second);
    }
    if (type == DataFloat) return result;
    return std::isnan(result) ? 0 : std::clamp(std::trunc(result), rangeOf(type).first, rangeOf(type).second);
}

inline void copySlowly(Image& src, Image& dst, Rect r) {
    const int left = std::max({0, -r.sx, -r.dx}), top = std::max({0, -r.sy, -r.dy});
    r = {r.sx + left, r.sy + top, r.dx + left, r.dy + top, r.w - left, r.h - top, r.mode};
    const int w = std::min({r.w, src.width - r.sx, dst.width - r.dx}),
              h = std::min({r.h, src.height - r.sy, dst.height - r.dy});
    const bool same = typeOf(src) == typeOf(dst), bits = same && typeOf(src) == DataBit;
    const bool aligned = r.sx % 8 == 0 && r.dx % 8 == 0;
    if (w < 1 || h < 1 || (bits && r.sx % 8 == r.dx % 8 && !aligned)) return;
    const Pair s = levelsOf(src, 0), d = levelsOf(dst, 0);
    const bool shift =
        s.second - s.first == d.second - d.first && typeOf(src) != DataBit && typeOf(dst) != DataBit;
    const bool carried = shift && s.first == d.first;  // the first channel decides for all
    for (int c = 0; c < dst.channels && (same || (!wide(typeOf(src)) && !wide(typeOf(dst)))); ++c) {
        const int columns = bits && aligned ? (w + 7) / 8 * 8 : w;  // whole bytes of bits
        for (int i = 0; i < h * columns; ++i) {
            const int x = i % columns, y = i / columns;
            const int sType = same ? typeOf(src) : trueType(src, c), dType = same ? sType : trueType(dst, c);
            if (c < src.channels) {
                double v = elementAt(src, r.sx + x, r.sy + y, c, sType);
                if (!same) v = convert(v, shift, levelsOf(src, c), levelsOf(carried ? src : dst, c), dType);
                putElement(dst, r.dx + x, r.dy + y, c, v, dType);
            } else {
                const double first = (dst.imageType & 0xFF) == SubColour
                                         ? elementAt(dst, r.dx + x, r.dy + y, 0, typeOf(dst))
                                         : 0;
                putElement(dst, r.dx + x, r.dy + y, c, first, typeOf(dst));
            }
        }
    }
    const int border = r.mode & CopyBorderMask, right = r.dx + w, bottom = r.dy + h;
    if (bits || border < CopyBorderZero || border > CopyBorderFill) return;
    const bool fill = border == CopyBorderFill;
    const int endX = fill ? std::min<int>(r.dx + r.w, dst.width) : dst.width, startX = fill ? r.dx : 0;
    const int endY = fill ? std::min<int>(r.dy + r.h, dst.height) : dst.height;
    const auto strip = [&](int skip, int x0, int y0, int x1, int y1, int fromX, int fromY) {
        for (int i = 0; i < dst.channels * dst.height * dst.width && !(r.mode & skip); ++i) {
            const int x = i % dst.width, y = i / dst.width % dst.height, c = i / dst.width / dst.height;
            if (x < x0 || x >= x1 || y < y0 || y >= y1) continue;
            putElement(dst, x, y, c,
                       border == CopyBorderZero
                           ? 0
                           : elementAt(dst, fromX < 0 ? x : fromX, fromY < 0 ? y : fromY, c, typeOf(dst)),
                       typeOf(dst));
        }
    };
    if (!fill) strip(CopySkipLeft, 0, r.dy, r.dx, bottom, r.dx, -1);
    strip(CopySkipRight, right, r.dy, endX, bottom, right - 1, -1);
    if (!fill) strip(CopySkipTop, 0, 0, dst.width, r.dy, -1, r.dy);
    strip(CopySkipBottom, startX, bottom, endX, endY, -1, bottom - 1);
}

}  // namespace test
