// Hue, saturation and intensity of single colours, with ranges for the inputs and scales for the outputs.
#pragma once

#include "pzel/export.h"

/// Converts red, green and blue, each within its own range, after the HSI model of Gonzalez and Woods:
/// intensity is the mean of the normalised values, saturation 1 minus three times the smallest over their
/// sum, hue the angle arccos((r - (g + b) / 2) / sqrt((r - g)² + (r - b)(g - b))), turned round where blue
/// exceeds green.
///
/// The plain operations return false for an input outside its range and then write nothing; those that end in
/// `_RD` move it to the near end. Ranges must not be empty.
class PZEL_API RGBtoHSI {
  public:
    /// The three minima first, then the three maxima. By default hue is in radians (0 … 2π), saturation 0 … 1
    /// and intensity 0 … the largest range.
    RGBtoHSI(float minR, float minG, float minB, float maxR, float maxG, float maxB);

    /// Intensity runs from 0 to x.
    void SetScale_I(float x);
    /// Saturation runs from 0 to x.
    void SetScale_S(float x);
    /// Hue runs from 0 to x.
    void SetScale_H(float x);

    bool ComputeI(float r, float g, float b, float& i) const;
    bool ComputeS(float r, float g, float b, float& s) const;
    bool ComputeH(float r, float g, float b, float& h) const;
    /// All three; 0, 0, 0 where all inputs are at their minima.
    bool ComputeHSI(float r, float g, float b, float& h, float& s, float& i) const;
    void ComputeI_RD(float r, float g, float b, float& i) const;
    void ComputeS_RD(float r, float g, float b, float& s) const;
    void ComputeH_RD(float r, float g, float b, float& h) const;
    void ComputeHSI_RD(float r, float g, float b, float& h, float& s, float& i) const;

    float minR, maxR;                       ///< range of red
    float minG, maxG;                       ///< range of green
    float minB, maxB;                       ///< range of blue
    float invRangeR, invRangeG, invRangeB;  ///< 1 / range
    float scaleH;                           ///< factor on the hue in radians
    float scaleS;                           ///< factor on the saturation
    float scaleI;                           ///< factor on the sum of the normalised values

  private:
    struct Colour;
    bool inRange(float r, float g, float b) const;
    Colour normalised(float r, float g, float b) const;
    Colour clamped(float r, float g, float b) const;
    float intensity(const Colour& c) const;
    float saturation(const Colour& c) const;
    float hue(const Colour& c) const;
    void all(const Colour& c, float& h, float& s, float& i) const;
};
