// What the tests of display share: the naive rules from elements to bitmap bytes, pixel by pixel, and the
// call that they are compared with.
#pragma once

#include <gtest/gtest.h>

#include "pzel/display/map_data.h"
#include "tests/support/images.h"

namespace test {

inline int unsignedOf(int type) {
    return GetTrueDataType(true, 3, 0, u8(type));
}

/// How far a value stands between its levels, of `top`: in single precision, unless they are further apart
/// than that reaches.
inline double between(double v, Pair levels, float top, float start) {
    const auto [black, white] = levels;
    if (std::isinf(float(white - black))) return (v - black) * top / (white - black) + start;
    return float(v - black) * (top / float(white - black)) + start;
}

/// An element's byte without a table.
inline u8 throughLevels(double v, Pair levels) {
    const auto [black, white] = levels;
    if (!(v > black)) return 0;
    return v >= white ? u8(255) : u8(between(v, levels, 255, 0.5f));
}

/// An element's byte through a table of 512 entries; `type` is the one it compares in.
inline u8 throughTable(double v, Pair levels, const u8* lut, int type) {
    const auto [black, white] = levels;
    if (type == DataUInt8 && levels == Pair(0, 255)) return lut[2 * int(v)];
    if (type == DataUInt16 && levels == Pair(0, 65535)) return lut[int(v) >> 7];
    if (!(v > black)) return lut[0];
    return lut[v >= white ? 511 : int(between(v, levels, 511, 0))];
}

inline u8 clampToByte(double v) {
    return u8(std::clamp(v, 0.0, 255.0));
}

/// One blue-green-red pixel from luminance and colour differences; the limits are the whites of the latter.
inline void showYuv(u8* pixel, const double v[3], const Pair levels[3], const u8* lut, int type) {
    if (lut) {
        const auto difference = [&](int c) {
            const float limit = float(levels[c].second), size = float(std::fabs(v[c]));
            const float value = lut[512 * c + (size < limit ? int(size * (511.0f / limit)) : 511)];
            return v[c] < 0 ? -value : value;
        };
        const float y = throughTable(v[0], levels[0], lut, unsignedOf(type)), du = difference(1),
                    dv = difference(2);
        pixel[0] = clampToByte(y + 0.88652f * du);
        pixel[1] = clampToByte(y - 0.172185f * du - 0.357204f * dv);
        pixel[2] = clampToByte(y + 0.512905f * dv);
        return;
    }
    const auto difference = [&](int c) {
        const double limit = levels[c].second;
        if (std::fabs(v[c]) >= limit) return v[c] < 0 ? -127.5f : 127.5f;
        return float(v[c] + limit) * (127.5f / float(limit)) - 127.5f;
    };
    const auto [black, white] = levels[0];
    const float scaled = float(v[0] - black) * (255.0f / float(white - black));
    const float y = v[0] > black ? v[0] < white ? scaled : 255 : 0, du = difference(1), dv = difference(2);
    pixel[0] = clampToByte(y + 1.77304 * du);
    pixel[1] = clampToByte(y - 0.34437f * du - 0.714407f * dv);
    pixel[2] = clampToByte(y + 1.402581f * dv);
}

/// A call's rectangle, its rows of bytes and how it shows them.
struct View {
    int x0, y0, width, height, rowBytes;
    const u8* lut = nullptr;
    int mode = 0;
};

inline bool isYuvColour(const Image& image, int mode) {
    return image.channels == 3 && mode == 0 && (image.imageType & 0xFF) == SubYuv;
}

/// 8-bit data compare as unsigned, YUV colour has an unsigned luminance and signed differences, the rest
/// follows its code.
inline int shownType(const Image& image, int channel, int mode) {
    const int type = image.dataType & DataTypeMask;
    if (isYuvColour(image, mode)) return GetTrueDataType(true, 3, channel, u8(type));
    return type == DataInt8 ? unsignedOf(DataInt8) : type;
}

/// What MapData makes of rows, pixel by pixel, for images of bytes, 16 bits and floats.
inline Bytes mappedSlowly(Image& image, const View& view, Bytes rows) {
    const bool yuv = (image.imageType & 0xFF) == SubYuv, colour = image.channels == 3 && view.mode == 0;
    const int order = view.mode % 64 ? 0 : view.mode / 64;
    const int alone = image.channels < 3 || order == 0 ? 0 : yuv ? order - 1 : 3 - order;
    Pair levels[3];
    int types[3];
    for (int c = 0; c < image.channels; ++c) {
        types[c] = shownType(image, c, view.mode);
        levels[c] = readPair(GetBound(&image), c, types[c]);
    }
    for (int i = 0; i < view.width * view.height; ++i) {
        const int x = i % view.width, y = i / view.width;
        u8* pixel = &rows[y * view.rowBytes + x * (colour ? 3 : 1)];
        double v[3];
        for (int c = 0; c < image.channels; ++c)
            v[c] = elementAt(image, view.x0 + x, view.y0 + y, c, types[c]);
        if (colour && yuv) showYuv(pixel, v, levels, view.lut, image.dataType & DataTypeMask);
        for (int c = 0; c < (!colour ? 1 : yuv ? 0 : 3); ++c) {
            const int from = colour ? c : alone;
            pixel[c] = view.lut ? throughTable(v[from], levels[from], view.lut + 512 * c, types[from])
                                : throughLevels(v[from], levels[from]);
        }
    }
    return rows;
}

/// The rows that MapData writes, all bytes beside them untouched.
inline Bytes mapped(TestImage& image, const View& view) {
    Guarded rows(view.rowBytes * view.height);
    MapData(rows.data(), u16(view.rowBytes), u16(view.width), u16(view.height), &image, short(view.x0),
            short(view.y0), view.lut, u8(view.mode));
    EXPECT_TRUE(rows.intact());
    return rows.bytes();
}

inline void setLevels(TestImage& image, int channel, Pair levels, int mode = 0) {
    writePair(GetBound(&image), channel, shownType(image, channel, mode), levels);
    image.state |= StateBoundSet;
}

}  // namespace test
