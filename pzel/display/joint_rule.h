// The joint display of a colour image: levels for hue, saturation and intensity instead of for its channels.
#pragma once

#include <cstdlib>

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

/// What happens to a normalised colour on its way to the screen: windows, then tables for intensity,
/// saturation and hue. Tables that map to themselves are left out: values keep more digits than a table has
/// entries.
class JointColour {
  public:
    template <class T>
    JointColour(const HsiLevels<T>& levels, const unsigned char* lut)
        : intensity(levels.intensity()),
          saturation(levels.saturation()),
          hue(levels.hueLow(), levels.hueHigh(), false) {
        for (int k = 0; lut && k < 3; ++k)
            if (!mapsToItself(lut + k * kTableEntries)) tables[k] = lut + k * kTableEntries;
    }

    bool keepsHue() const { return !tables[2] && !hue.isOn(); }

    Rgb kept(Rgb c) const {
        return withHueKept(
            c, [this](float v) { return looked(intensity(v), 0); },
            [this](float v) { return looked(saturation(v), 1); });
    }

    /// Grey stays grey.
    Rgb moved(Rgb colour) const {
        Hsi c = toHsi(colour);
        const float shown = looked(intensity(c.intensity), 0);
        if (!(c.saturation > 0)) return {shown, shown, shown};
        if (hue.isOn()) c.hue = hue(c.hue);
        return fromHsi({looked(c.hue / kTwoPi, 2) * kTwoPi, looked(saturation(c.saturation), 1), shown});
    }

  private:
    float looked(float v, int k) const {
        return tables[k] ? tables[k][int(clampUnit(v) * float(kLastEntry))] / 255.0f : v;
    }

    UnitWindow intensity, saturation;
    HueWindow hue;
    const unsigned char* tables[3] = {};  // null: none
};

/// Runs a function from normalised colour to shown colour over a block of pixels; blue is channel 0.
template <class T, class Function>
struct JointRule {
    HsiLevels<T> levels;
    Function shown;
    template <class Set>
    void operator()(Set, const T* b, const T* g, const T* r, int count, BgrBlock& out) const {
        const auto byte = [](float v) { return std::uint8_t(int(clampUnit(v) * 255.0f + 0.5f)); };
        for (int i = 0; i < count; ++i) {
            const Rgb c =
                shown({levels.normalised(2, r[i]), levels.normalised(1, g[i]), levels.normalised(0, b[i])});
            out.blue[i] = byte(c.blue);
            out.green[i] = byte(c.green);
            out.red[i] = byte(c.red);
        }
    }
};

}  // namespace pzel
