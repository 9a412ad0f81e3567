// Baking: per channel, and as hue, saturation and intensity.
#include "pzel/colour/convert_image.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/colour_block.h"
#include "pzel/colour/hsi.h"
#include "pzel/colour/hsi_levels.h"
#include "pzel/colour/sampled_tone.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/plane.h"
#include "pzel/loops/saturate.h"

namespace pzel {

namespace {

/// What a value of one channel becomes. In double precision, so that 16-bit values within equal bounds stay.
template <class T>
struct BakedValue {
    Pair<T> from, to;
    const Zel::Remapper* remapper;  // null: identity
    int channel;

    bool staysOnThread() const { return remapper; }
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
    static constexpr std::size_t kEntries = std::size_t(1) << (8 * sizeof(T));
    /// Whether an image has enough pixels for a table.
    static bool pays(const Image* image) { return GetImageSize(image) > kEntries; }
    BakedTable(const BakedValue<T>& rule, T* room) : values(room) {
        for (std::size_t i = 0; i < kEntries; ++i) room[i] = rule(T(U(i)));
    }
    T operator()(T v) const { return values[U(v)]; }
    const T* values;
};

/// Room for the table of one channel after the other, as bytes; none where no table pays.
std::vector<unsigned char> RoomForTables(const Image* image) {
    std::size_t bytes = 0;
    visitDisplayElement(GetDataType(image), [&]<class T>() {
        if constexpr (!std::is_floating_point_v<T>)
            if (BakedTable<T>::pays(image)) bytes = BakedTable<T>::kEntries * sizeof(T);
    });
    return std::vector<unsigned char>(bytes);
}

template <class T>
void BakeChannel(Image* image, int channel, const Zel::Remapper* remapper, unsigned char* room) {
    const auto type = ImageDataType(GetDataType(image));
    const CompBlackWhite full = GetSpatialBounds(image, GetSubType(image), type, channel);
    const BakedValue<T> rule{boundEntry<T>(GetBound(image), channel),
                             {narrowWide<T>(full.black), narrowWide<T>(full.white)},
                             remapper->IsIdentity(channel) ? nullptr : remapper,
                             channel};
    withRows<T>(*image, channel, 0, 0, [&](const auto& rows) {
        if constexpr (!std::is_floating_point_v<T>)
            if (BakedTable<T>::pays(image))
                return mapRows(rows, rows, image->width, image->height,
                               BakedTable<T>(rule, reinterpret_cast<T*>(room)));
        mapRows(rows, rows, image->width, image->height, rule);
    });
}

/// A remapper's curve for one channel, asked value by value; `unit` is what it takes for 1.
struct Curve {
    Curve(const Zel::Remapper* asked, int ofChannel, float one)
        : remapper(asked), channel(ofChannel), unit(one), on(!asked->IsIdentity(ofChannel)) {}
    void apply(float* values, int count) const {
        for (int i = 0; i < count; ++i) values[i] = remapper->Remap(values[i] / unit, channel) * unit;
    }
    bool isOn() const { return on; }
    const Zel::Remapper* remapper;
    int channel;
    float unit;
    bool on;
};

/// Of intensity or saturation.
struct AskedTone final : Tone {
    AskedTone(const Zel::Remapper* remapper, int channel) : curve{remapper, channel, 1} {}
    void apply(float* values, int count) const override {
        if (curve.isOn()) curve.apply(values, count);
    }
    bool asksHost() const override { return curve.isOn(); }
    Curve curve;
};

/// Of hue: the curve first, within the window's width.
struct AskedHue final : HueTone {
    AskedHue(const HueWindow& hues, const Zel::Remapper* remapper)
        : window(hues), curve{remapper, 5, hues.width()} {}
    void applyToAngles(float* angles, int count) const override {
        if (curve.isOn()) curve.apply(angles, count);
        applyWindow(window, angles, count);
    }
    bool asksHost() const override { return curve.isOn(); }
    HueWindow window;
    Curve curve;
};

/// Of intensity or saturation: the window first, then the curve.
struct BakedTone final : Tone {
    BakedTone(const UnitWindow& values, const Tone& tone) : window(values), curve(tone) {}
    void apply(float* values, int count) const override {
        applyWindow(window, values, count);
        curve.apply(values, count);
    }
    void applyUnasked(float* values, int count) const override {
        applyWindow(window, values, count);
        curve.applyUnasked(values, count);
    }
    bool asksHost() const override { return curve.asksHost(); }
    UnitWindow window;
    const Tone& curve;
};

/// A tone as it is, or sampled where it would be asked often for 8-bit data.
class QuickTone {
  public:
    QuickTone(const Tone& exact, bool sample, const SampledTone::Domain& domain) : tone(&exact) {
        if (sample) tone = &sampled.emplace(exact, domain);
    }
    QuickTone(const QuickTone&) = delete;  // it points into itself
    QuickTone& operator=(const QuickTone&) = delete;
    const Tone& operator*() const { return *tone; }

  private:
    const Tone* tone;
    std::optional<SampledTone> sampled;
};

/// Pixels that wait for the host, a bit for each; rows share no byte.
class Waiting {
  public:
    Waiting(int width, int height)
        : rowBytes(std::size_t(width + 7) / 8), bits(rowBytes * std::size_t(height)) {}
    void add(int x, int y) {
        std::uint8_t& eight = bits[rowBytes * std::size_t(y) + std::size_t(x) / 8];
        eight = std::uint8_t(eight | 1 << x % 8);
    }
    /// Calls f(x, y) with each of them.
    template <class F>
    void visit(const F& f) const {
        for (std::size_t i = 0; i < bits.size(); ++i)
            for (int bit = 0; bits[i] >> bit; ++bit)
                if (bits[i] >> bit & 1) f(int(i % rowBytes) * 8 + bit, int(i / rowBytes));
    }

  private:
    std::size_t rowBytes;
    std::vector<std::uint8_t> bits;
};

/// Three channels through a change of their normalised colours, in place; channel 0 is red here. The change
/// is change(colours, count, unasked) as changeColours has it. Where it need not ask the host for most
/// colours, several threads change the others, and the calling one changes what is left.
template <class T>
class ColourBaking {
  public:
    ColourBaking(Image* of, const HsiLevels<T>& how) : image(of), levels(how) {}

    template <class Change>
    void run(bool asksHost, const Change& change) const {
        const std::int64_t elements = 3 * std::int64_t(GetImageSize(image));
        const Ranges ranges(image->height, elements, Effort::Computing,
                            asksHost || !rowsStandApart(*image) ? 1 : kMostRanges);
        Waiting waiting(ranges.size() > 1 ? image->width : 0, image->height);
        withThreePlanes<T, T>(*image, 0, 0, [&](const auto&... channels) {
            if (ranges.size() == 1) return changeRows(0, image->height, nullptr, change, channels...);
            ranges.run(
                [&](int, int first, int end) { changeRows(first, end, &waiting, change, channels...); });
            changeWaiting(waiting, change, channels...);
        });
    }

  private:
    template <class Change, class Rows>
    void changeRows(int first, int end, Waiting* waiting, const Change& change, const Rows& reds,
                    const Rows& greens, const Rows& blues) const {
        onBestSet([=, &change, all = levels, width = int(image->width)](auto set) {
            const HsiLevels<T> local = all;
            ColourBlock c;
            Unasked unasked;
            const auto changeBlock = [&](auto& block, int x, int y, int count) {
                for (int i = 0; i < count; ++i) c.red[i] = local.normalised(0, block.first[i]);
                for (int i = 0; i < count; ++i) c.green[i] = local.normalised(1, block.second[i]);
                for (int i = 0; i < count; ++i) c.blue[i] = local.normalised(2, block.third[i]);
                change(c, count, waiting ? &unasked : nullptr);
                if (!unasked.any) {
                    for (int i = 0; i < count; ++i) block.first[i] = local.value(0, c.red[i]);
                    for (int i = 0; i < count; ++i) block.second[i] = local.value(1, c.green[i]);
                    for (int i = 0; i < count; ++i) block.third[i] = local.value(2, c.blue[i]);
                } else {
                    const auto keep = [&](int k, auto* values, const BlockValues& changed) {
                        for (int i = 0; i < count; ++i) {
                            const T value = local.value(k, changed[i]);
                            values[i] = unasked.at[i] ? values[i] : value;
                        }
                    };
                    keep(0, +block.first, c.red);
                    keep(1, +block.second, c.green);
                    keep(2, +block.third, c.blue);
                    for (int i = 0; i < count; ++i)
                        if (unasked.at[i]) waiting->add(x + i, y);
                }
                block.store(set, x, y, count);
            };
            forEachBlock(set, reds, greens, blues, {0, width, first, end}, changeBlock);
        });
    }

    template <class Change, class Rows>
    void changeWaiting(const Waiting& waiting, const Change& change, const Rows& reds, const Rows& greens,
                       const Rows& blues) const {
        ColourBlock c;
        int xs[kPixelBlock], ys[kPixelBlock], count = 0;
        const auto changeThese = [&] {
            change(c, count, nullptr);
            for (int i = 0; i < count; ++i) {
                reds.row(ys[i])[xs[i]] = levels.value(0, c.red[i]);
                greens.row(ys[i])[xs[i]] = levels.value(1, c.green[i]);
                blues.row(ys[i])[xs[i]] = levels.value(2, c.blue[i]);
            }
            count = 0;
        };
        waiting.visit([&](int x, int y) {
            c.red[count] = levels.normalised(0, reds.row(y)[x]);
            c.green[count] = levels.normalised(1, greens.row(y)[x]);
            c.blue[count] = levels.normalised(2, blues.row(y)[x]);
            xs[count] = x;
            ys[count++] = y;
            if (count == kPixelBlock) changeThese();
        });
        if (count > 0) changeThese();
    }

    Image* image;
    const HsiLevels<T>& levels;
};

/// A fifth of an 8-bit level, for intensity and saturation: together they change a channel by up to five
/// times as much. A turn of hue changes it by up to three times as much.
constexpr float kHiddenError = 0.2f / 255;

template <class T>
void BakeJointly(Image* image, const Zel::Remapper* remapper) {
    // Sampling asks as often as some thousand pixels do.
    constexpr std::uint32_t enough = 1 << 16;
    const bool sampled = sizeof(T) == 1 && takesShortCuts() && GetImageSize(image) >= enough;
    const HsiLevels<T> levels(image);
    const AskedTone askedIntensity(remapper, 3), askedSaturation(remapper, 4);
    const SampledTone::Domain unit{1, false, kHiddenError}, circle{3, true, kHiddenError / 3};
    const QuickTone quickIntensity(askedIntensity, sampled && askedIntensity.curve.isOn(), unit),
        quickSaturation(askedSaturation, sampled && askedSaturation.curve.isOn(), unit);
    const BakedTone intensity(levels.intensity(), *quickIntensity),
        saturation(levels.saturation(), *quickSaturation);
    const bool windowed = levels.hueLow() != levels.hueHigh();
    const HueWindow window(levels.hueLow(), levels.hueHigh(), windowed && !remapper->IsIdentity(5));
    const ColourBaking<T> baking(image, levels);
    const bool asks = intensity.asksHost() || saturation.asksHost();
    if (!window.isOn())
        return baking.run(asks, [&](ColourBlock& c, int count, Unasked* unasked) {
            changeColours(c, count, intensity, saturation, unasked);
        });
    const AskedHue askedHue(window, remapper);
    const QuickTone hue(askedHue, sampled, circle);
    baking.run(asks || (*hue).asksHost(), [&](ColourBlock& c, int count, Unasked* unasked) {
        changeColours(c, count, intensity, saturation, *hue, Greys::Follow, unasked);
    });
}

}  // namespace

}  // namespace pzel

void ConvertImage(Image* image, Zel::Remapper* remapper) {
    const unsigned short subType = GetSubType(image);
    const bool colours = (subType == SubColour || subType == SubYuv) && image->channels == 3;
    const bool grey = subType == SubGrey && image->channels == 1;
    if (!image->data || (!colours && !grey)) return;
    std::vector<unsigned char> room = pzel::RoomForTables(image);
    if (!(image->state & (StateBoundSet | StateBoundDefault))) SetDefaultBound(image);
    for (int c = 0; c < image->channels; ++c)
        pzel::visitDisplayElement(pzel::trueType(image, c),
                                  [&]<class T>() { pzel::BakeChannel<T>(image, c, remapper, room.data()); });
}

void ConvertAllDataToRGB(Image* image, Zel::Remapper* remapper) {
    if (!image->data || image->channels < 3) return;
    pzel::visitDisplayElement(GetDataType(image), [&]<class T>() { pzel::BakeJointly<T>(image, remapper); });
}
