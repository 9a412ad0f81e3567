// Baking: per channel, and as hue, saturation and intensity.
#include "pzel/colour/convert_image.h"

#include <vector>

#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bound_entries.h"
#include "pzel/bounds/bounds.h"
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

/// Three channels by a function of normalised colours, in place; channel 0 is red here.
template <class T, class Function>
void BakeColours(Image* image, const HsiLevels<T>& levels, Function function) {
    withThreePlanes<T, T>(*image, 0, 0, [&](const auto& reds, const auto& greens, const auto& blues) {
        for (int y = 0; y < image->height; ++y) {
            const auto r = reds.row(y), g = greens.row(y), b = blues.row(y);
            for (int x = 0; x < image->width; ++x) {
                const Rgb c = function(
                    Rgb{levels.normalised(0, r[x]), levels.normalised(1, g[x]), levels.normalised(2, b[x])});
                r[x] = narrowWide<T>(levels.value(0, c.red));
                g[x] = narrowWide<T>(levels.value(1, c.green));
                b[x] = narrowWide<T>(levels.value(2, c.blue));
            }
        }
    });
}

/// Windows first, then the remapper; for hue the remapper first, within the window's width.
struct BakedColour {
    UnitWindow intensity, saturation;
    HueWindow hue;
    const Zel::Remapper *onIntensity, *onSaturation, *onHue;  // null: identity

    static float remapped(const Zel::Remapper* remapper, float v, int channel) {
        return remapper ? remapper->Remap(v, channel) : v;
    }
    float shownIntensity(float v) const { return remapped(onIntensity, intensity(v), 3); }
    float shownSaturation(float v) const { return remapped(onSaturation, saturation(v), 4); }

    Rgb hueKept(Rgb c) const {
        return withHueKept(
            c, [this](float v) { return shownIntensity(v); }, [this](float v) { return shownSaturation(v); });
    }
    Rgb hueMoved(Rgb colour) const {
        Hsi c = toHsi(colour);
        if (onHue) c.hue = onHue->Remap(c.hue / hue.width(), 5) * hue.width();
        if (hue.isOn()) c.hue = hue(c.hue);
        return fromHsi({c.hue, shownSaturation(c.saturation), shownIntensity(c.intensity)});
    }
};

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
    const auto unlessIdentity = [&](int channel) {
        return remapper->IsIdentity(channel) ? nullptr : remapper;
    };
    pzel::visitDisplayElement(GetDataType(image), [&]<class T>() {
        const pzel::HsiLevels<T> levels(image);
        const bool windowed = levels.hueLow() != levels.hueHigh();
        const Zel::Remapper* onHue = windowed ? unlessIdentity(5) : nullptr;
        const pzel::BakedColour colour{
            levels.intensity(), levels.saturation(), {levels.hueLow(), levels.hueHigh(), onHue != nullptr},
            unlessIdentity(3),  unlessIdentity(4),   onHue};
        if (colour.hue.isOn())
            pzel::BakeColours(image, levels, [&](pzel::Rgb c) { return colour.hueMoved(c); });
        else
            pzel::BakeColours(image, levels, [&](pzel::Rgb c) { return colour.hueKept(c); });
    });
}
