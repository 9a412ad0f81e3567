// Hue, saturation and intensity of colours normalised to 0 … 1, and back; windows over them. For the display
// of HSI levels and for baking them into data, so that both show the same.
//
// The model is the HSI model of Gonzalez and Woods: intensity is the mean of the colours, saturation one
// minus the smallest over the mean, hue the angle around the grey axis, from red over green to blue.
#pragma once

#include <cmath>
#include <limits>

#include "pzel/loops/clamp.h"

namespace pzel {

constexpr float kTwoPi = 6.2831855f;
constexpr float kSecondSector = 2.0943952f;  // green
constexpr float kThirdSector = 4.18879f;     // blue; slightly below 4π/3, deliberately
constexpr float kSixth = 1.0471976f;

struct Rgb {
    float red, green, blue;
};

/// Clamped to 0 … 1; not a number gives 0.
inline float clampUnit(float v) {
    return clampTo(kUnitEnds, v);
}

/// The angle of a direction, 0 … 2π, as std::atan2 gives it, within 4e-7; 0 for no direction. Without a
/// branch or a call, for loops that vectorise. The polynomial is 4.4.49 of Abramowitz and Stegun's Handbook.
inline float angleOf(float y, float x) {
    const float ax = x < 0 ? -x : x, ay = y < 0 ? -y : y;
    const float low = ax < ay ? ax : ay, high = ax < ay ? ay : ax;
    const float t = high > 0 ? low / high : 0.0f, s = t * t;
    float a = 0.0028662257f * s - 0.0161657367f;
    a = a * s + 0.0429096138f;
    a = a * s - 0.0752896400f;
    a = a * s + 0.1065626393f;
    a = a * s - 0.1420889944f;
    a = a * s + 0.1999355085f;
    a = a * s - 0.3333314528f;
    a = a * s * t + t;
    a = ay > ax ? 1.5707964f - a : a;
    a = x < 0 ? 3.1415927f - a : a;
    return y < 0 ? kTwoPi - a : a;
}

/// The cosine of an angle of at most 2.2 both ways, within 2e-7: its Taylor series.
inline float cosine(float x) {
    const float s = x * x;
    float c = -1 / 87178291200.0f * s + 1 / 479001600.0f;
    c = c * s - 1 / 3628800.0f;
    c = c * s + 1 / 40320.0f;
    c = c * s - 1 / 720.0f;
    c = c * s + 1 / 24.0f;
    c = c * s - 0.5f;
    return c * s + 1;
}

inline float smallestOf(Rgb c) {
    const float s = c.red < c.green ? c.red : c.green;
    return s < c.blue ? s : c.blue;
}

inline float intensityOf(Rgb c) {
    return (c.red + c.green + c.blue) * 0.33333334f;
}

/// Intensity times saturation: how far the smallest component lies below the mean. Exactly 0 for greys.
inline float spreadOf(Rgb c) {
    return (c.red + c.green + c.blue - 3 * smallestOf(c)) * 0.33333334f;
}

/// Saturation of a colour with a spread; black has none.
inline float saturationOf(float spread, float intensity) {
    return intensity > 0 ? spread / intensity : 0.0f;
}

/// Hue in a form that needs no trigonometry: 0 at red, 1 at green, 2 at blue, up to 3 at red again. Between
/// them it is the part that the second colour has in what both have more than the third. 0 for greys. Chosen
/// step by step: compilers make branches of one choice inside another.
inline float turnOf(Rgb c) {
    const float low = smallestOf(c);
    const bool first = c.blue == low, second = c.red == low;
    float start = second ? 1.0f : 2.0f, more = second ? c.blue : c.red;
    start = first ? 0.0f : start;
    more = first ? c.green : more;
    const float all = 3 * spreadOf(c);
    return all > 0 ? start + (more - low) / all : 0.0f;
}

/// The hue of a turn as an angle, 0 … 2π.
inline float angleOfTurn(float turn) {
    const float start = turn >= 2 ? 2.0f : turn >= 1 ? 1.0f : 0.0f;
    const float part = turn - start;
    return start * kSecondSector + angleOf(1.7320508f * part, 2 - 3 * part);
}

/// The turn of an angle from 0 to 2π.
inline float turnOfAngle(float hue) {
    const bool second = hue >= kSecondSector, third = hue >= kThirdSector;
    const float h = hue - (third ? kThirdSector : second ? kSecondSector : 0.0f);
    const float start = third ? 2.0f : second ? 1.0f : 0.0f;
    return start + (2 - cosine(h) / cosine(kSixth - h)) * 0.33333334f;
}

/// The colour of a turn, a saturation and an intensity.
inline Rgb ofTurn(float turn, float saturation, float intensity) {
    const bool second = turn >= 1, third = turn >= 2;
    const float part = 3 * (turn - (third ? 2.0f : second ? 1.0f : 0.0f));
    const float spread = saturation * intensity;
    const float falling = clampUnit(intensity + spread * (2 - part));
    const float rising = clampUnit(intensity + spread * (part - 1));
    const float low = clampUnit(intensity - spread);
    return {third    ? rising
            : second ? low
                     : falling,
            third    ? low
            : second ? falling
                     : rising,
            third    ? falling
            : second ? rising
                     : low};
}

/// A colour with intensity `shown`, of saturation `saturation` and the same hue: every component is the
/// intensity plus its scaled distance from it, without trigonometry.
inline Rgb withHueKept(Rgb c, float shown, float saturation) {
    const float i = intensityOf(c);
    const float spread = spreadOf(c);
    const float k = spread > 0 ? saturation * shown / spread : 0.0f;
    return {clampUnit(shown + (c.red - i) * k), clampUnit(shown + (c.green - i) * k),
            clampUnit(shown + (c.blue - i) * k)};
}

/// A window on intensity or saturation: 0 below, 1 above, linear between.
struct UnitWindow {
    UnitWindow(float lowEnd, float highEnd)
        : low(lowEnd),
          high(highEnd),
          stretch(high > low ? 1 / (high - low) : std::numeric_limits<float>::max()) {
        // Ends in the wrong order are a step: from the low end on values are above the high one.
        if (high < low) low = std::nextafter(low, high);
    }
    bool isOn() const { return low != 0 || high != 1; }
    float operator()(float v) const { return clampUnit((v - low) * stretch); }
    float low, high, stretch;
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
        h = h < from ? h + kTwoPi : h;
        h = h > to ? to : h;
        h = (h - from) * stretch + centre;
        const float past = h >= kTwoPi ? h - kTwoPi : h;
        return h < 0 ? h + kTwoPi : past;
    }

  private:
    bool on;
    float from, to;
    float centre, stretch;
};

}  // namespace pzel
