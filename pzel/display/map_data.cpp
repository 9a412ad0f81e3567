// From image data to bitmap bytes: which channels, which rule, which rows. The rules are in level_rules.h,
// fast_rules.h, yuv_rules.h and joint_rule.h, the walkers in loops/rows.h and pixel_rows.h.
#include "pzel/display/map_data.h"

#include <algorithm>
#include <cstring>

#include "pzel/bounds/bounds.h"
#include "pzel/display/fast_rules.h"
#include "pzel/display/joint_rule.h"
#include "pzel/display/level_rules.h"
#include "pzel/display/pixel_rows.h"
#include "pzel/display/yuv_rules.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/lifecycle.h"
#include "pzel/image/plane.h"

namespace pzel {

namespace {

/// Where the bytes go, and what part of the image they come from.
struct Job {
    Image* image;
    int x, y, width, height;
    ContiguousRows<std::uint8_t> out;
    const unsigned char* lut;

    template <class T>
    Pair<T> levels(int channel) const {
        return boundEntry<T>(GetBound(image), channel);
    }
    /// Leaves out what lies outside the image; false where nothing stays. `pixelBytes` are those of one pixel
    /// of the rows that are written.
    bool clip(int pixelBytes) {
        const int left = std::max(-x, 0), top = std::max(-y, 0);
        x += left;
        y += top;
        width = std::min(width - left, image->width - x);
        height = std::min(height - top, image->height - y);
        if (width <= 0 || height <= 0) return false;
        out.origin = out.row(top) + left * pixelBytes;
        return true;
    }
    const unsigned char* table(int channel) const { return lut ? lut + channel * kTableEntries : nullptr; }
};

/// Bits are copied as they are, whole rows of the image from its start, as far as a row that is written goes.
void CopyBitRows(const Job& job) {
    const std::ptrdiff_t rowBytes = job.image->rowBytes;
    const auto bytes = std::size_t(std::min(rowBytes, job.out.rowStep));
    if (bytes == 0) return;  // there need be no bitmap
    for (int y = 0; y < std::min<int>(job.height, job.image->height); ++y)
        std::memcpy(job.out.row(y), job.image->data + y * rowBytes, bytes);
}

/// One channel as one byte a pixel.
template <class T>
void MapChannel(const Job& job, int channel) {
    withRule(job.levels<T>(channel), job.lut, [&](const auto& rule) {
        withRows<const T>(*job.image, channel, job.x, job.y,
                          [&](const auto& in) { mapRows(in, job.out, job.width, job.height, rule); });
    });
}

/// Three channels by their own levels. Interleaved rows by linear rules are rows of samples, those of equal
/// levels of one channel; rules of one kind run in one pass, others channel by channel.
template <class T>
void MapColour(const Job& job) {
    const Pair<T> levels[] = {job.levels<T>(0), job.levels<T>(1), job.levels<T>(2)};
    const auto* start = reinterpret_cast<const T*>(GetImageData(job.image, job.x, job.y));
    const ContiguousRows<const T> samples{start, job.image->rowBytes};
    const bool interleaved = IsInterleaved(job.image);
    if (interleaved && !job.lut && levels[0] == levels[1] && levels[0] == levels[2]) {
        withRule(levels[0], job.lut,
                 [&](const auto& rule) { mapRows(samples, job.out, 3 * job.width, job.height, rule); });
        return;
    }
    const bool inOnePass =
        withThreeRules(levels, job.lut, [&]<class Rule>(const Rule& b, const Rule& g, const Rule& r) {
            if constexpr (hasLanes<Rule>) {
                if (interleaved)
                    return mapRows(samples, job.out, 3 * job.width, job.height, LinearLanes<Rule>(b, g, r));
            }
            withThreePlanes<const T, const T>(
                *job.image, job.x, job.y, [&](const auto& blue, const auto& green, const auto& red) {
                    mapPixelRows(blue, green, red, job.out, job.width, job.height, ByChannel<Rule>{b, g, r});
                });
        });
    if (inOnePass) return;
    for (int c = 0; c < 3; ++c) {
        const StridedRows<std::uint8_t, 3> out{{job.out.origin + c, job.out.rowStep}, 3};
        withPlainRule(levels[c], job.table(c), [&](const auto& rule) {
            withRows<const T>(*job.image, c, job.x, job.y,
                              [&](const auto& in) { mapRows(in, out, job.width, job.height, rule); });
        });
    }
}

template <class Y, class C, class Rule>
void MapYuvRows(const Job& job, const Rule& rule) {
    withThreePlanes<const Y, const C>(*job.image, job.x, job.y,
                                      [&](const auto& y, const auto& u, const auto& v) {
                                          mapPixelRows(y, u, v, job.out, job.width, job.height, rule);
                                      });
}

/// Luminance by its levels, the differences by the high ends of theirs.
template <class T>
void MapYuv(const Job& job) {
    using Y = typename YuvElements<T>::Luminance;
    using C = typename YuvElements<T>::Difference;
    const Pair<Y> levels = job.levels<Y>(0);
    const C highU = job.levels<C>(1).high, highV = job.levels<C>(2).high;
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        if (takesShortCuts() && job.lut)
            return MapYuvRows<Y, C>(job,
                                    YuvRule<ByteTable, ByteDifference, TableMatrix>{
                                        {levels, job.lut}, {highU, job.table(1)}, {highV, job.table(2)}});
    }
    if (!job.lut) {
        const YuvRule<LinearLuminance<Y>, LinearDifference<C>, LinearMatrix> rule{
            {levels, nullptr}, {highU, nullptr}, {highV, nullptr}};
        if constexpr (std::is_same_v<T, std::uint8_t>)
            if (takesShortCuts() && ByteYuv::fits(levels, highU, highV))
                return MapYuvRows<Y, C>(job, ByteYuv{rule});
        if constexpr (std::is_floating_point_v<T>) {
            if (!fitFloats(levels, highU, highV))
                return MapYuvRows<Y, C>(
                    job, YuvRule<WideLuminance, WideDifference, LinearMatrix>{{levels}, {highU}, {highV}});
        }
        MapYuvRows<Y, C>(job, rule);
        return;
    }
    withPlainRule(levels, job.lut, [&](const auto& luminance) {
        using Luminance = std::decay_t<decltype(luminance)>;
        using Difference = TableDifference<C>;
        MapYuvRows<Y, C>(job, YuvRule<Luminance, Difference, TableMatrix>{
                                  luminance, {highU, job.table(1)}, {highV, job.table(2)}});
    });
}

/// Colour by the levels of hue, saturation and intensity.
template <class T>
void MapJoint(const Job& job) {
    const HsiLevels<T> levels(job.image);
    const JointColour colour(levels, job.lut);
    const JointRule<T> rule{levels, colour};
    withThreePlanes<const T, const T>(
        *job.image, job.x, job.y, [&](const auto& blue, const auto& green, const auto& red) {
            mapPixelRows(blue, green, red, job.out, job.width, job.height, rule);
        });
}

/// Levels of hue and the like know the sign of 8-bit data, which the others do not.
void MapJointColour(const Job& job) {
    visitDisplayElement(GetDataType(job.image), [&]<class T>() { MapJoint<T>(job); });
}

/// The channel that a channel mode shows.
int ShownChannel(unsigned char mode, bool yuv) {
    switch (mode) {
        case 0x40: return yuv ? 0 : 2;
        case 0x80: return 1;
        case 0xC0: return yuv ? 2 : 0;
        default: return 0;
    }
}

template <class T>
void MapThree(const Job& job, unsigned char mode) {
    const bool yuv = GetSubType(job.image) == SubYuv;
    if (mode) return MapChannel<T>(job, ShownChannel(mode, yuv));
    if (yuv) {
        using Element = std::conditional_t<std::is_same_v<T, std::int16_t>, std::uint16_t, T>;
        return MapYuv<Element>(job);
    }
    MapColour<T>(job);
}

/// Whether the levels are those of hue, saturation and intensity together.
bool IsShownJointly(Image* image, unsigned char mode) {
    return image->channels == 3 && mode == 0 && GetSubType(image) != SubYuv &&
           GetBoundType(image) == BoundHsi;
}

/// Calls f.operator()<T>() with the type that elements are compared in: 8-bit data are unsigned in both
/// types.
template <class F>
void VisitShownElement(int typeCode, F&& f) {
    visitDisplayElement(typeCode == DataInt8 ? int(DataUInt8) : typeCode, [&]<class T>() {
        if constexpr (!std::is_same_v<T, std::int8_t>) f.template operator()<T>();
    });
}

}  // namespace

}  // namespace pzel

void MapData(unsigned char* dst, unsigned short dstRowBytes, unsigned short width, unsigned short height,
             Image* image, short x0, short y0, const unsigned char* lut, unsigned char channelMode) {
    if (!image->data || image->channels == 0) return;
    pzel::Job job{image, x0, y0, width, height, {dst, dstRowBytes}, lut};
    if (GetDataType(image) == DataBit) return pzel::CopyBitRows(job);
    if (pzel::IsShownJointly(image, channelMode))
        return MapDataHSI(dst, dstRowBytes, width, height, image, x0, y0, lut);
    if (!job.clip(image->channels == 3 && channelMode == 0 ? 3 : 1)) return;
    pzel::VisitShownElement(GetDataType(image), [&]<class T>() {
        if (image->channels == 1) pzel::MapChannel<T>(job, 0);
        if (image->channels == 3) pzel::MapThree<T>(job, channelMode);
    });
}

void MapDataHSI(unsigned char* dst, unsigned short dstRowBytes, unsigned short width, unsigned short height,
                Image* image, short x0, short y0, const unsigned char* lut) {
    pzel::Job job{image, x0, y0, width, height, {dst, dstRowBytes}, lut};
    if (image->data && image->channels == 3 && GetSubType(image) != SubYuv && job.clip(3))
        pzel::MapJointColour(job);
}
