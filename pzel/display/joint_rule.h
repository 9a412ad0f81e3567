// The joint display of a colour image: levels for hue, saturation and intensity instead of for its channels.
#pragma once

#include <cstdlib>

#include "pzel/colour/colour_block.h"
#include "pzel/colour/hsi.h"
#include "pzel/colour/hsi_levels.h"
#include "pzel/display/level_rules.h"
#include "pzel/display/pixel_rows.h"

namespace pzel {

/// A table that maps every value to itself, within less than one level.
inline bool mapsToItself(const unsigned char* table) {
    for (int i = 0; i < kTableEntries; ++i)
        if (std::abs(kLastEntry * table[i] - 255 * i) >= kLastEntry) return false;
    return true;
}

/// Puts values through a table in place; `unit` is what it takes for 1. Null: none.
inline void applyTable(const unsigned char* table, float unit, float* values, int count) {
    if (!table) return;
    const float there = 1 / unit, back = unit / 255;
    onBestSet([=](auto set) {
        if (count <= 0) return;
        std::uint16_t index[kPixelBlock];
        std::uint8_t found[kPixelBlock];
        for (int i = 0; i < count; ++i)
            index[i] = std::uint16_t(int(clampUnit(values[i] * there) * kLastEntry));
        lookUp(set, table, index, found, count);
        for (int i = 0; i < count; ++i) values[i] = float(found[i]) * back;
    });
}

/// A window, then a table.
struct ShownTone final : Tone {
    ShownTone(const UnitWindow& values, const unsigned char* lut) : window(values), table(lut) {}
    void apply(float* values, int count) const override {
        applyWindow(window, values, count);
        applyTable(table, 1, values, count);
    }
    UnitWindow window;
    const unsigned char* table;
};

struct ShownHue final : HueTone {
    ShownHue(const HueWindow& hues, const unsigned char* lut) : window(hues), table(lut) {}
    bool isOn() const { return window.isOn() || table; }
    void applyToAngles(float* angles, int count) const override {
        applyWindow(window, angles, count);
        applyTable(table, kTwoPi, angles, count);
    }
    HueWindow window;
    const unsigned char* table;
};

/// What happens to a normalised colour on its way to the screen. Tables that map to themselves are left out:
/// values keep more digits than a table has entries.
class JointColour {
  public:
    template <class T>
    JointColour(const HsiLevels<T>& levels, const unsigned char* lut)
        : intensity(levels.intensity(), tableOf(lut, 0)),
          saturation(levels.saturation(), tableOf(lut, 1)),
          hue({levels.hueLow(), levels.hueHigh(), false}, tableOf(lut, 2)) {}

    void show(ColourBlock& colours, int count) const {
        if (hue.isOn())
            changeColours(colours, count, intensity, saturation, hue, Greys::Stay);
        else
            changeColours(colours, count, intensity, saturation);
    }

  private:
    static const unsigned char* tableOf(const unsigned char* lut, int k) {
        return lut && !mapsToItself(lut + k * kTableEntries) ? lut + k * kTableEntries : nullptr;
    }
    ShownTone intensity, saturation;
    ShownHue hue;
};

/// 0 … 1 as a byte, rounded.
struct UnitToByte {
    std::uint8_t operator()(float v) const { return std::uint8_t(int(clampUnit(v) * scale() + kStart)); }
    static float black() { return 0; }
    static float scale() { return 255; }
    static constexpr float kStart = 0.5f;
};

/// Shows a block of pixels by the levels of its colours; blue is channel 0.
template <class T>
struct JointRule {
    HsiLevels<T> levels;
    const JointColour& colour;
    template <class Set>
    void operator()(Set set, const T* b, const T* g, const T* r, int count, BgrBlock& out) const {
        const HsiLevels<T> local = levels;
        ColourBlock c;
        for (int i = 0; i < count; ++i) c.blue[i] = local.normalised(0, b[i]);
        for (int i = 0; i < count; ++i) c.green[i] = local.normalised(1, g[i]);
        for (int i = 0; i < count; ++i) c.red[i] = local.normalised(2, r[i]);
        colour.show(c, count);
        const auto toBytes = [&](const BlockValues& values, std::uint8_t* bytes) {
            mapLine(set, UnitToByte(), +values.values, bytes, count);
        };
        toBytes(c.blue, out.blue);
        toBytes(c.green, out.green);
        toBytes(c.red, out.red);
    }
};

}  // namespace pzel
