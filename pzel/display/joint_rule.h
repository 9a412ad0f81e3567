// The joint display of a colour image: levels for hue, saturation and intensity instead of for its channels.
#pragma once

#include "pzel/colour/hsi.h"
#include "pzel/colour/hsi_levels.h"
#include "pzel/display/level_rules.h"
#include "pzel/display/pixel_rows.h"

namespace pzel {

/// What happens to a normalised colour on its way to the screen.
class JointColour {
  public:
    template <class T>
    JointColour(const HsiLevels<T>& levels, const unsigned char* lut)
        : intensity(levels.intensity()),
          saturation(levels.saturation()),
          hue(levels.hueLow(), levels.hueHigh(), false),
          tables(lut) {}

    bool keepsHue() const { return !tables && !hue.isOn(); }

    Rgb kept(Rgb c) const { return withHueKept(c, intensity, saturation); }

    /// Hue is windowed, or all three go through tables: intensity, saturation, hue. Grey stays grey.
    Rgb moved(Rgb colour) const {
        Hsi c = toHsi(colour);
        const float shown = looked(intensity(c.intensity), 0);
        if (!(c.saturation > 0)) return {shown, shown, shown};
        c.intensity = shown;
        c.saturation = looked(saturation(c.saturation), 1);
        if (hue.isOn()) c.hue = hue(c.hue);
        if (tables) c.hue = looked(c.hue / kTwoPi, 2) * kTwoPi;
        return fromHsi(c);
    }

  private:
    float looked(float v, int table) const {
        if (!tables) return v;
        return tables[table * kTableEntries + int(clampUnit(v) * float(kLastEntry))] / 255.0f;
    }

    UnitWindow intensity, saturation;
    HueWindow hue;
    const unsigned char* tables;
};

/// Runs a function from normalised colour to shown colour over a block of pixels; blue is channel 0.
template <class T, class Function>
struct JointRule {
    HsiLevels<T> levels;
    Function shown;
    template <class Row>
    void operator()(const Row& b, const Row& g, const Row& r, int count, BgrBlock& out) const {
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
