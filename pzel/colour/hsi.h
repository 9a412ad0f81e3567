// Hue, saturation and intensity of colours normalised to 0 … 1, and back; windows over them. For the display
// of HSI levels and for baking them into data, so that both show the same.
//
// The model is the HSI model of Gonzalez and Woods: intensity is the mean of the colours, saturation one
// minus the smallest over the mean, hue the angle around the grey axis, from red over green to blue.
#pragma once

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

inline Hsi toHsi(Rgb c) {
    const float i = intensityOf(c);
    const float s = i > 0 ? spreadOf(c) / i : 0.0f;
    const float d = (c.red - c.green) * (c.red - c.green) + (c.red - c.blue) * (c.green - c.blue);
    const float h = angleOf(1.7320508f * (c.green - c.blue), 2 * c.red - c.green - c.blue);
    return {d != 0 ? h : 0.0f, s, i};
}

inline Rgb fromHsi(Hsi c) {
    const bool second = c.hue >= kSecondSector, third = c.hue >= kThirdSector;
    const float h = c.hue - (third ? kThirdSector : second ? kSecondSector : 0.0f);
    const float a = c.saturation * c.intensity;
    const float x = a * cosine(h) / cosine(kSixth - h);
    const float low = clampUnit(c.intensity - a);
    const float high = clampUnit(c.intensity + x);
    const float middle = clampUnit(a + c.intensity - x);
    return {third    ? middle
            : second ? low
                     : high,
            third    ? low
            : second ? high
                     : middle,
            third    ? high
            : second ? middle
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
        : low(lowEnd), high(highEnd), inverse(highEnd > lowEnd ? 1 / (highEnd - lowEnd) : 0) {}
    bool isOn() const { return low != 0 || high != 1; }
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
