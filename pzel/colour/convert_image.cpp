// Baking: per channel, and as hue, saturation and intensity.
#include "pzel/colour/convert_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bound_entries.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/colour_block.h"
#include "pzel/colour/hsi.h"
#include "pzel/colour/hsi_levels.h"
#include "pzel/image/convert.h"
#include "pzel/image/plane.h"

namespace pzel {

namespace {

/// What a value of one channel becomes. In double precision, so that 16-bit values within equal bounds stay.
template <class T>
struct BakedValue {
    Pair<T> from, to;
    const Zel::Remapper* remapper;  // null: identity
    int channel;

    T operator()(T v) const {
        const double range = double(from.high) - double(from.low), target = double(to.high) - double(to.low);
        if (!remapper) {
            if (v < from.low) return to.low;
            if (v > from.high) return to.high;
            return range == 0 ? to.low : narrowWide<T>((double(v) - from.low) * target / range + to.low);
        }
        double n = range == 0 ? 0 : (double(v) - from.low) / range;
        if (v < from.low) n = 0;
        if (v > from.high) n = 1;
        return narrowWide<T>(double(remapper->Remap(float(n), channel)) * target + to.low);
    }
};

/// Small integers by a table of all their values, which asks the remapper once for each.
template <class T>
struct BakedTable {
    using U = std::make_unsigned_t<T>;
    explicit BakedTable(const BakedValue<T>& rule) : values(std::size_t(1) << (8 * sizeof(T))) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = rule(T(U(i)));
    }
    T operator()(T v) const { return values[U(v)]; }
    std::vector<T> values;
};

template <class T>
void BakeChannel(Image* image, int channel, const Zel::Remapper* remapper) {
    const auto type = ImageDataType(GetDataType(image));
    const CompBlackWhite full = GetSpatialBounds(image, GetSubType(image), type, channel);
    const BakedValue<T> rule{boundEntry<T>(GetBound(image), channel),
                             {narrowWide<T>(full.black), narrowWide<T>(full.white)},
                             remapper->IsIdentity(channel) ? nullptr : remapper,
                             channel};
    withRows<T>(*image, channel, 0, 0, [&](const auto& rows) {
        if constexpr (!std::is_floating_point_v<T>)
            if (GetImageSize(image) > 1u << (8 * sizeof(T)))
                return mapRows(rows, rows, image->width, image->height, BakedTable<T>(rule));
        mapRows(rows, rows, image->width, image->height, rule);
    });
}

/// A piece of a sampled curve.
struct Cell {
    float value;  // at its start; NaN: not straight
    float rise;   // over the whole cell
};

/// picked[i] = cells[index[i]]. One by one, on its own: put into vectors, this takes twice as long.
[[gnu::noinline, gnu::optimize("no-tree-vectorize")]] void pickCells(const Cell* cells,
                                                                     const std::uint16_t* index, Cell* picked,
                                                                     int count) {
    for (int i = 0; i < count; ++i) std::memcpy(&picked[i], &cells[index[i]], sizeof(Cell));
}

/// What a curve is asked for, and how exactly.
struct Domain {
    float top;      // values 0 … top
    float unit;     // of the values, which the remapper takes for 1
    float allowed;  // error that does not show
};

/// Half of an 8-bit level: hue turns a colour's channel by 255 levels in a sixth of the circle.
constexpr float kHalfLevel = 1 / 510.0f, kHalfLevelOfHue = kSixth * kHalfLevel;

/// A remapper's curve for one channel; the identity is none. Where it would be asked often for 8-bit data it
/// is asked beforehand at many places, and straight in between; cells next to which its slope changes more
/// than is allowed ask it again.
class Curve {
  public:
    enum class Way { Asked, Sampled };

    Curve(const Zel::Remapper* source, int ofChannel, const Domain& values, Way way)
        : remapper(source->IsIdentity(ofChannel) ? nullptr : source),
          channel(ofChannel),
          unit(values.unit),
          perCell(kCells / values.top) {
        if (!remapper || way == Way::Asked) return;
        cells.resize(kCells + 1);
        for (int k = 0; k <= kCells; ++k) cells[std::size_t(k)].value = ask(float(k) / perCell);
        for (auto cell = cells.begin(); cell + 1 != cells.end(); ++cell)
            cell->rise = cell[1].value - cell->value;
        bool evenBefore = true;
        for (auto cell = cells.begin(); cell + 1 != cells.end(); ++cell) {
            const bool last = cell + 2 == cells.end();
            const bool evenBehind = last || std::abs(cell[1].rise - cell->rise) <= values.allowed;
            if (!evenBefore || !evenBehind) cell->value = NAN;
            evenBefore = evenBehind;
        }
    }

    void apply(float* values, int count) const {
        if (!remapper) return;
        if (cells.empty()) {
            for (int i = 0; i < count; ++i) values[i] = ask(values[i]);
            return;
        }
        float given[kPixelBlock];
        int uneven = 0;
        onBestSet([=, this, asked = +given, found = &uneven](auto) {
            std::uint16_t index[kPixelBlock] = {};
            float part[kPixelBlock];
            Cell cell[kPixelBlock];
            for (int i = 0; i < count; ++i) {
                asked[i] = values[i];
                float t = values[i] * perCell;
                t = t > 0 ? t : 0.0f;
                t = t < kCells ? t : float(kCells);
                index[i] = std::uint16_t(int(t));
                part[i] = t - float(int(t));
            }
            pickCells(cells.data(), index, cell, count);
            int without = 0;
            for (int i = 0; i < count; ++i) {
                values[i] = cell[i].value + cell[i].rise * part[i];
                without += values[i] != values[i];
            }
            *found = without;
        });
        if (uneven == 0) return;
        for (int i = 0; i < count; ++i)
            if (values[i] != values[i]) values[i] = ask(given[i]);
    }

  private:
    float ask(float value) const { return remapper->Remap(value / unit, channel) * unit; }

    static constexpr int kCells = 2048;
    const Zel::Remapper* remapper;
    int channel;
    float unit, perCell;
    std::vector<Cell> cells;
};

/// Of intensity or saturation: the window first, then the curve.
struct BakedTone final : Tone {
    BakedTone(const UnitWindow& values, Curve tone) : window(values), curve(std::move(tone)) {}
    void apply(float* values, int count) const override {
        applyWindow(window, values, count);
        curve.apply(values, count);
    }
    UnitWindow window;
    Curve curve;
};

/// Of hue: the curve first, within the window's width.
struct BakedHue final : Tone {
    BakedHue(const HueWindow& hues, Curve tone) : window(hues), curve(std::move(tone)) {}
    void apply(float* values, int count) const override {
        curve.apply(values, count);
        applyWindow(window, values, count);
    }
    HueWindow window;
    Curve curve;
};

/// Three channels through a change of their normalised colours, in place; channel 0 is red here.
template <class T, class Change>
void BakeColours(Image* image, const HsiLevels<T>& levels, const Change& change) {
    const auto bake = [&](const auto& reds, const auto& greens, const auto& blues) {
        onBestSet([=, &change, width = image->width, height = image->height](auto set) {
            const HsiLevels<T> local = levels;
            ColourBlock c;
            forEachBlock(set, reds, greens, blues, width, height, [&](auto& block, int x, int y, int count) {
                for (int i = 0; i < count; ++i) c.red[i] = local.normalised(0, block.first[i]);
                for (int i = 0; i < count; ++i) c.green[i] = local.normalised(1, block.second[i]);
                for (int i = 0; i < count; ++i) c.blue[i] = local.normalised(2, block.third[i]);
                change(c, count);
                for (int i = 0; i < count; ++i) block.first[i] = local.value(0, c.red[i]);
                for (int i = 0; i < count; ++i) block.second[i] = local.value(1, c.green[i]);
                for (int i = 0; i < count; ++i) block.third[i] = local.value(2, c.blue[i]);
                block.store(set, x, y, count);
            });
        });
    };
    withThreePlanes<T, T>(*image, 0, 0, bake);
}

template <class T>
void BakeJointly(Image* image, const Zel::Remapper* remapper) {
    // Sampling asks as often as some thousand pixels do.
    constexpr std::uint32_t enough = 1 << 16;
    const bool sampled = sizeof(T) == 1 && takesShortCuts() && GetImageSize(image) >= enough;
    const auto way = sampled ? Curve::Way::Sampled : Curve::Way::Asked;
    const HsiLevels<T> levels(image);
    const Domain unit{1, 1, kHalfLevel};
    const BakedTone intensity(levels.intensity(), Curve(remapper, 3, unit, way));
    const BakedTone saturation(levels.saturation(), Curve(remapper, 4, unit, way));
    const bool windowed = levels.hueLow() != levels.hueHigh();
    const HueWindow window(levels.hueLow(), levels.hueHigh(), windowed && !remapper->IsIdentity(5));
    if (!window.isOn())
        return BakeColours(image, levels, [&](ColourBlock& c, int count) {
            changeColours(c, count, intensity, saturation);
        });
    const BakedHue hue(window, Curve(remapper, 5, {kTwoPi, window.width(), kHalfLevelOfHue}, way));
    BakeColours(image, levels, [&](ColourBlock& c, int count) {
        changeColours(c, count, intensity, saturation, hue, Greys::Follow);
    });
}

}  // namespace

}  // namespace pzel

void ConvertImage(Image* image, Zel::Remapper* remapper) {
    const unsigned short subType = GetSubType(image);
    const bool colours = (subType == SubColour || subType == SubYuv) && image->channels == 3;
    const bool grey = subType == SubGrey && image->channels == 1;
    if (!image->data || (!colours && !grey)) return;
    if (!(image->state & (StateBoundSet | StateBoundDefault))) SetDefaultBound(image);
    for (int c = 0; c < image->channels; ++c)
        pzel::visitDisplayElement(pzel::trueType(image, c),
                                  [&]<class T>() { pzel::BakeChannel<T>(image, c, remapper); });
}

void ConvertAllDataToRGB(Image* image, Zel::Remapper* remapper) {
    if (!image->data || image->channels < 3) return;
    pzel::visitDisplayElement(GetDataType(image), [&]<class T>() { pzel::BakeJointly<T>(image, remapper); });
}
