// The joint display of a colour image: levels for hue, saturation and intensity instead of for its channels.
#pragma once

#include "pzel/bounds/bound_entries.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/hsi.h"
#include "pzel/display/level_rules.h"
#include "pzel/display/pixel_rows.h"

namespace pzel {

/// Windows of the HSI bound as fractions of what the spatial bound allows, and the normalisation of the
/// channels.
template <class T>
struct JointLevels {
    /// For an image with both bounds; blue is channel 0.
    explicit JointLevels(Image* image) : intensity{}, saturation{}, hue(0, 0) {
        const Pair<T>* spatial = &boundEntry<T>(GetSpatialBound(image), 0);
        float sum = 0;
        for (int c = 0; c < 3; ++c) {
            const float range = float(spatial[c].high) - float(spatial[c].low);
            low[c] = float(spatial[c].low);
            inverse[c] = range != 0 ? 1 / range : 0;
            sum += range;
        }
        const float full = GetHSIFullScale(GetDataType(image));
        intensity = {entry(image, 0, 0) / (sum / 3), entry(image, 0, 1) / (sum / 3)};
        saturation = {entry(image, 1, 0) / full, entry(image, 1, 1) / full};
        const float circle = std::is_floating_point_v<T> ? kTwoPi : full;
        hue = HueWindow(entry(image, 2, 0) / circle, entry(image, 2, 1) / circle);
    }

    Rgb normalised(T b, T g, T r) const { return {unit(2, r), unit(1, g), unit(0, b)}; }

    UnitWindow intensity, saturation;
    HueWindow hue;

  private:
    float unit(int c, T v) const { return clampUnit((float(v) - low[c]) * inverse[c]); }

    /// HSI entries of integer types are stored unsigned.
    static float entry(Image* image, int which, int end) {
        unsigned char* hsi = GetHSIBound(image);
        if constexpr (std::is_floating_point_v<T>)
            return boundEntry<T>(hsi, which).*(end ? &Pair<T>::high : &Pair<T>::low);
        else {
            using U = std::make_unsigned_t<T>;
            return boundEntry<U>(hsi, which).*(end ? &Pair<U>::high : &Pair<U>::low);
        }
    }

    float low[3], inverse[3];
};

/// Runs a rule from normalised colour to shown colour over a block of pixels.
template <class T, class Rule>
struct JointRule {
    JointLevels<T> levels;
    Rule rule;
    template <class Row>
    void operator()(const Row& b, const Row& g, const Row& r, int count, BgrBlock& out) const {
        const auto byte = [](float v) { return std::uint8_t(int(clampUnit(v) * 255.0f + 0.5f)); };
        for (int i = 0; i < count; ++i) {
            const Rgb shown = rule(levels, levels.normalised(b[i], g[i], r[i]));
            out.blue[i] = byte(shown.blue);
            out.green[i] = byte(shown.green);
            out.red[i] = byte(shown.red);
        }
    }
};

/// Hue stays: every colour is the intensity plus its scaled distance from it, without trigonometry.
struct HueKept {
    template <class Levels>
    Rgb operator()(const Levels& levels, Rgb c) const {
        const float i = (c.red + c.green + c.blue) * 0.33333334f;
        const float shown = levels.intensity(i);
        const float spread = i - std::min({c.red, c.green, c.blue});  // saturation * intensity
        if (!(spread > 0)) return {shown, shown, shown};
        const float k = levels.saturation(spread / i) * shown / spread;
        return {shown + (c.red - i) * k, shown + (c.green - i) * k, shown + (c.blue - i) * k};
    }
};

/// Hue is windowed, or all three go through tables: intensity, saturation, hue. Grey stays grey.
struct HueMoved {
    const unsigned char* lut;  // three tables, or null

    template <class Levels>
    Rgb operator()(const Levels& levels, Rgb colour) const {
        Hsi c = toHsi(colour);
        const float shown = looked(levels.intensity(c.intensity), 0);
        if (!(c.saturation > 0)) return {shown, shown, shown};
        c.intensity = shown;
        c.saturation = looked(levels.saturation(c.saturation), 1);
        c.hue = levels.hue(c.hue);
        if (lut) c.hue = looked(c.hue / kTwoPi, 2) * kTwoPi;
        return fromHsi(c);
    }

    float looked(float v, int table) const {
        return lut ? lut[table * kTableEntries + int(clampUnit(v) * float(kLastEntry))] / 255.0f : v;
    }
};

}  // namespace pzel
