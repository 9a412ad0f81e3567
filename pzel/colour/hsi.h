// Hue, saturation and intensity of colours normalised to 0 … 1, and back; windows over them. For the display
// of HSI levels and for baking them into data, so that both show the same.
//
// The model is the HSI model of Gonzalez and Woods: intensity is the mean of the colours, saturation one
// minus the smallest over the mean, hue the angle around the grey axis, from red over green to blue.
#pragma once

#include <algorithm>
#include <cmath>

namespace pzel {

constexpr float kTwoPi = 6.2831855f;
constexpr float kSecondSector = 2.0943952f;  // green
constexpr float kThirdSector = 4.18879f;     // blue; slightly below 4π/3, deliberately
constexpr float kSixth = 1.0471976f;

struct Rgb {
    float red, green, blue;
};

struct Hsi {
    float hue;         // radians, 0 … 2π; 0 without saturation
    float saturation;  // 0 … 1
    float intensity;   // 0 … 1
};

inline float clampUnit(float v) {
    return v > 0 ? (v < 1 ? v : 1.0f) : 0.0f;
}

inline Hsi toHsi(Rgb c) {
    const float i = (c.red + c.green + c.blue) * 0.33333334f;
    if (i == 0) return {0, 0, 0};
    const float s = 1 - std::min({c.red, c.green, c.blue}) / i;
    const float d = (c.red - c.green) * (c.red - c.green) + (c.red - c.blue) * (c.green - c.blue);
    if (d == 0) return {0, s, i};
    const float h = std::atan2(1.7320508f * (c.green - c.blue), 2 * c.red - c.green - c.blue);
    return {h < 0 ? h + kTwoPi : h, s, i};
}

inline Rgb fromHsi(Hsi c) {
    float h = c.hue;
    int sector = 0;
    if (h >= kThirdSector) {
        sector = 2;
        h -= kThirdSector;
    } else if (h >= kSecondSector) {
        sector = 1;
        h -= kSecondSector;
    }
    const float a = c.saturation * c.intensity;
    const float x = a * std::cos(h) / std::cos(kSixth - h);
    const float low = clampUnit(c.intensity - a);
    const float high = clampUnit(c.intensity + x);
    const float middle = clampUnit(a + c.intensity - x);
    if (sector == 0) return {high, middle, low};
    if (sector == 1) return {low, high, middle};
    return {middle, low, high};
}

/// A window on intensity or saturation: 0 below, 1 above, linear between.
struct UnitWindow {
    UnitWindow(float lowEnd, float highEnd)
        : low(lowEnd), high(highEnd), inverse(highEnd > lowEnd ? 1 / (highEnd - lowEnd) : 0) {}
    float operator()(float v) const { return v < low ? 0.0f : v > high ? 1.0f : (v - low) * inverse; }
    float low, high, inverse;
};

/// A window on hue, from one angle to another, over 0 where it must: the hues in it are spread around the
/// circle, its centre stays where it is.
class HueWindow {
  public:
    /// Fractions of the circle. Equal ones leave hue alone, and so do 0 and 1 unless `keepFull` asks for
    /// them.
    HueWindow(float low, float high, bool keepFull)
        : on(low != high && (keepFull || low != 0 || high != 1)), from(low * kTwoPi), to(high * kTwoPi) {
        if (to < from) to += kTwoPi;
        centre = (from + to) / 2 - 3.1415925f;
        stretch = on ? kTwoPi / (to - from) : 1.0f;
    }
    bool isOn() const { return on; }
    /// The angle between both ends, 0 … 2π.
    float width() const { return to - from; }
    float operator()(float h) const {
        if (h < from) h += kTwoPi;
        if (h > to) h = to;
        h = (h - from) * stretch + centre;
        if (h < 0) return h + kTwoPi;
        return h >= kTwoPi ? h - kTwoPi : h;
    }

  private:
    bool on;
    float from, to;
    float centre, stretch;
};

/// A colour with other intensity and saturation and the same hue: every component is the intensity plus its
/// scaled distance from it, without trigonometry. `intensity` and `saturation` map 0 … 1 to 0 … 1.
template <class Intensity, class Saturation>
Rgb withHueKept(Rgb c, const Intensity& intensity, const Saturation& saturation) {
    const float i = (c.red + c.green + c.blue) * 0.33333334f;
    const float shown = intensity(i);
    const float spread = i - std::min({c.red, c.green, c.blue});  // saturation * intensity
    const float k = spread > 0 ? saturation(spread / i) * shown / spread : 0.0f;
    return {clampUnit(shown + (c.red - i) * k), clampUnit(shown + (c.green - i) * k),
            clampUnit(shown + (c.blue - i) * k)};
}

}  // namespace pzel
