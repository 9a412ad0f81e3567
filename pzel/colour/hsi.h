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
    float low, high;
    float operator()(float v) const { return v < low ? 0.0f : v > high ? 1.0f : (v - low) / width(); }

  private:
    float width() const { return high > low ? high - low : 1.0f; }
};

/// A window on hue, from one angle to another, over 0 where it must: the hues in it are spread around the
/// circle, its centre stays where it is. Fractions of the circle; equal ones, or all of it, leave hue alone.
class HueWindow {
  public:
    HueWindow(float lowFraction, float highFraction)
        : on(lowFraction != highFraction && !(lowFraction == 0 && highFraction == 1)),
          from(lowFraction * kTwoPi),
          to(highFraction * kTwoPi) {
        if (to < from) to += kTwoPi;
        centre = (from + to) / 2 - 3.1415925f;
        stretch = on ? kTwoPi / (to - from) : 1.0f;
    }
    bool isOn() const { return on; }
    float operator()(float h) const {
        if (!on) return h;
        if (h < from) h += kTwoPi;
        if (h > to) h = to;
        h = (h - from) * stretch + centre;
        if (h < 0) h += kTwoPi;
        return h >= kTwoPi ? h - kTwoPi : h;
    }

  private:
    bool on;
    float from, to;
    float centre, stretch;
};

}  // namespace pzel
