// Colour models of three-channel images and grey, in all directions: pixels pass through normalised rows of
// floats, so that each model is told once, whatever the element types and layouts.
//
// Luminance is 0.299 R + 0.587 G + 0.114 B (ITU-R BT.601); the colour differences are the ones that the
// display mapping undoes: R = Y + 1.402581 V, G = Y - 0.34437 U - 0.714407 V, B = Y + 1.77304 U on 0 … 255
// and ±127.5.
#include <algorithm>
#include <cmath>

#include "pzel/image/bound_array.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/plane.h"
#include "pzel/loops/saturate.h"
#include "pzel/pixels/copy_area.h"

namespace pzel {

namespace {

enum class Model { Grey, Colour, Yuv };

Model ModelOf(const Image& image) {
    if (image.channels != 3) return Model::Grey;
    return GetSubType(&image) == SubColour ? Model::Colour : Model::Yuv;
}

constexpr int kBlock = 256;

/// Part of a row: luminance and colours 0 … 1, colour differences -1 … 1; colours blue first.
struct Block {
    float channel[3][kBlock];
    int count;
};

/// How elements of a channel relate to normalised values: value = origin + unit * normalised.
template <class Real>
struct Normal {
    Real origin;
    Real unit;
};

/// Differences reach from -1 to 1 over the high end of their pair on both sides; everything else from 0 to 1
/// over its pair.
template <class Real, class T>
Normal<Real> NormalOf(Pair<T> pair, bool difference) {
    if (difference) return {0, Real(pair.high)};
    return {Real(pair.low), Real(pair.high) - Real(pair.low)};
}

/// Calls f with the relation in single precision, or in double where floats do not reach from end to end.
template <class T, class F>
void WithNormal(Pair<T> pair, bool difference, F&& f) {
    const auto normal = NormalOf<float>(pair, difference);
    if constexpr (std::is_same_v<T, float>)
        if (!std::isfinite(normal.unit)) return f(NormalOf<double>(pair, difference));
    f(normal);
}

float ToFloat(float v) {
    return v;
}
float ToFloat(double v) {
    return narrowWide<float>(v);
}

template <class F>
void VisitAny(int typeCode, F&& f) {
    if (typeCode == DataBit)
        f.template operator()<bool>();
    else
        visitElement(typeCode, f);
}

/// Equal element types carry the full range over, whatever the bounds; different ones map pair to pair.
template <class T>
Pair<T> PairOf(const Image& image, int channel, bool byBounds) {
    return byBounds ? copyPair<T>(image, channel) : channelRange<T>(image, channel);
}

template <class T>
T Rounded(float v) {
    if constexpr (std::is_same_v<T, float>) {
        return v;
    } else if constexpr (std::is_same_v<T, bool>) {
        return v >= 0.5f;
    } else {
        // As doubles, so that the ends of the 32-bit types are exact.
        const double w = std::floor(double(v) + 0.5);
        constexpr double low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
        return w > low ? (w < high ? T(w) : std::numeric_limits<T>::max())
                       : (w == w ? std::numeric_limits<T>::min() : T(0));
    }
}

/// One image's side of a conversion.
struct Side {
    const Image& image;
    Model model;
    bool byBounds;

    int channels() const { return model == Model::Grey ? 1 : 3; }
    bool isDifference(int c) const { return model == Model::Yuv && c > 0; }

    void load(Block& block, int x, int y) const {
        for (int c = 0; c < channels(); ++c) {
            VisitAny(trueType(&image, c), [&]<class T>() {
                WithNormal(PairOf<T>(image, c, byBounds), isDifference(c),
                           [&]<class Real>(Normal<Real> normal) {
                               const Real scale = normal.unit != 0 ? 1 / normal.unit : 0;
                               withRows<const T>(image, c, x, y, [&](const auto& rows) {
                                   const auto row = rows.row(0);
                                   for (int i = 0; i < block.count; ++i)
                                       block.channel[c][i] = ToFloat((Real(row[i]) - normal.origin) * scale);
                               });
                           });
            });
        }
    }

    void store(const Block& block, int x, int y) const {
        for (int c = 0; c < channels(); ++c) {
            VisitAny(trueType(&image, c), [&]<class T>() {
                WithNormal(
                    PairOf<T>(image, c, byBounds), isDifference(c), [&]<class Real>(Normal<Real> normal) {
                        withRows<T>(image, c, x, y, [&](const auto& rows) {
                            const auto row = rows.row(0);
                            for (int i = 0; i < block.count; ++i)
                                row[i] =
                                    Rounded<T>(ToFloat(block.channel[c][i] * normal.unit + normal.origin));
                        });
                    });
            });
        }
    }
};

// The factors of the display mapping on normalised values: differences of 1 stand for 127.5 of 255.
constexpr float kRedOfV = 1.402581f / 2, kBlueOfU = 1.77304f / 2;
constexpr float kGreenOfU = 0.34437f / 2, kGreenOfV = 0.714407f / 2;

void ColourToYuv(Block& block) {
    auto& [b, g, r] = block.channel;
    for (int i = 0; i < block.count; ++i) {
        const float y = 0.299f * r[i] + 0.587f * g[i] + 0.114f * b[i];
        const float u = (b[i] - y) * (1 / kBlueOfU), v = (r[i] - y) * (1 / kRedOfV);
        b[i] = y;
        g[i] = u;
        r[i] = v;
    }
}

void YuvToColour(Block& block) {
    auto& [b, g, r] = block.channel;
    for (int i = 0; i < block.count; ++i) {
        const float y = b[i], u = g[i], v = r[i];
        b[i] = y + kBlueOfU * u;
        g[i] = y - kGreenOfU * u - kGreenOfV * v;
        r[i] = y + kRedOfV * v;
    }
}

/// Grey stands in the first channel, as luminance does.
void ConvertBlock(Block& block, Model from, Model to) {
    if (from == to) return;
    if (from == Model::Grey) {
        for (int c = 1; c < 3; ++c)
            for (int i = 0; i < block.count; ++i)
                block.channel[c][i] = to == Model::Colour ? block.channel[0][i] : 0.0f;
    } else if (from == Model::Colour) {
        ColourToYuv(block);
    } else if (to == Model::Colour) {
        YuvToColour(block);
    }
}

}  // namespace

void convertColourModel(const Image& src, Image& dst, const CopyArea& area) {
    const bool byBounds = GetDataType(&src) != GetDataType(&dst);
    const Side from{src, ModelOf(src), byBounds}, to{dst, ModelOf(dst), byBounds};
    const auto convertRange = [&](int first, int end) {
        Block block;
        for (int y = first; y < end; ++y) {
            for (int x = 0; x < area.width; x += kBlock) {
                block.count = std::min(kBlock, area.width - x);
                from.load(block, area.srcX + x, area.srcY + y);
                ConvertBlock(block, from.model, to.model);
                to.store(block, area.dstX + x, area.dstY + y);
            }
        }
    };
    // Pairs are read for each block: their arrays are there before several threads ask for them.
    if (byBounds)
        for (Image* image : {const_cast<Image*>(&src), &dst}) CheckBoundArray(image);
    if (!rowsStandApart(dst)) return convertRange(0, area.height);
    forRanges(area.height, 3 * std::int64_t(area.width) * area.height, Effort::Computing, convertRange);
}

}  // namespace pzel
