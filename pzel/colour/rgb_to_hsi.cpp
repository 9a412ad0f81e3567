// The conversion itself: one function for each of the three values, over normalised colours.
#include "pzel/colour/rgb_to_hsi.h"

#include <algorithm>
#include <cmath>

struct RGBtoHSI::Colour {
    float r, g, b;
    float sum() const { return r + g + b; }
};

RGBtoHSI::RGBtoHSI(float lowR, float lowG, float lowB, float highR, float highG, float highB)
    : minR(lowR),
      maxR(highR),
      minG(lowG),
      maxG(highG),
      minB(lowB),
      maxB(highB),
      invRangeR(1 / (highR - lowR)),
      invRangeG(1 / (highG - lowG)),
      invRangeB(1 / (highB - lowB)),
      scaleH(1),
      scaleS(1),
      scaleI(1 / (3 * std::min({invRangeR, invRangeG, invRangeB}))) {}

void RGBtoHSI::SetScale_I(float x) {
    scaleI = x * 0.33333334f;
}
void RGBtoHSI::SetScale_S(float x) {
    scaleS = x;
}
void RGBtoHSI::SetScale_H(float x) {
    scaleH = x * 0.15915494f;
}

bool RGBtoHSI::inRange(float r, float g, float b) const {
    if (r > maxR || g > maxG || b > maxB) return false;
    return !(r - minR < 0 || g - minG < 0 || b - minB < 0);
}

RGBtoHSI::Colour RGBtoHSI::normalised(float r, float g, float b) const {
    return {(r - minR) * invRangeR, (g - minG) * invRangeG, (b - minB) * invRangeB};
}

RGBtoHSI::Colour RGBtoHSI::clamped(float r, float g, float b) const {
    const auto within = [](float v, float low, float high) { return v > high ? high : v < low ? low : v; };
    return normalised(within(r, minR, maxR), within(g, minG, maxG), within(b, minB, maxB));
}

float RGBtoHSI::intensity(const Colour& c) const {
    return c.sum() * scaleI;
}

float RGBtoHSI::saturation(const Colour& c) const {
    const float sum = c.sum();
    return sum == 0 ? 0.0f : (1 - 3 * std::min({c.r, c.g, c.b}) / sum) * scaleS;
}

float RGBtoHSI::hue(const Colour& c) const {
    const float d = (c.r - c.g) * (c.r - c.g) + (c.r - c.b) * (c.g - c.b);
    if (d == 0) return d;
    // Rounding may carry the cosine of a faint tint out of its range.
    const float cosine = std::clamp((c.r - 0.5f * (c.g + c.b)) / std::sqrt(d), -1.0f, 1.0f);
    const float angle = std::acos(cosine);
    return (c.b > c.g ? 6.2831855f - angle : angle) * scaleH;
}

void RGBtoHSI::all(const Colour& c, float& h, float& s, float& i) const {
    if (c.sum() == 0) {
        h = s = i = 0;
        return;
    }
    s = saturation(c);
    i = intensity(c);
    h = hue(c);
}

bool RGBtoHSI::ComputeI(float r, float g, float b, float& i) const {
    if (!inRange(r, g, b)) return false;
    i = intensity(normalised(r, g, b));
    return true;
}

bool RGBtoHSI::ComputeS(float r, float g, float b, float& s) const {
    if (!inRange(r, g, b)) return false;
    s = saturation(normalised(r, g, b));
    return true;
}

bool RGBtoHSI::ComputeH(float r, float g, float b, float& h) const {
    if (!inRange(r, g, b)) return false;
    h = hue(normalised(r, g, b));
    return true;
}

bool RGBtoHSI::ComputeHSI(float r, float g, float b, float& h, float& s, float& i) const {
    if (!inRange(r, g, b)) return false;
    all(normalised(r, g, b), h, s, i);
    return true;
}

void RGBtoHSI::ComputeI_RD(float r, float g, float b, float& i) const {
    i = intensity(clamped(r, g, b));
}
void RGBtoHSI::ComputeS_RD(float r, float g, float b, float& s) const {
    s = saturation(clamped(r, g, b));
}
void RGBtoHSI::ComputeH_RD(float r, float g, float b, float& h) const {
    h = hue(clamped(r, g, b));
}
void RGBtoHSI::ComputeHSI_RD(float r, float g, float b, float& h, float& s, float& i) const {
    all(clamped(r, g, b), h, s, i);
}
