// The lookup table of a tone curve. Its entries are rounded so that a curve without gamma shows 8-bit values
// exactly as they are, or exactly as their complement.
#include "tone_curve.h"

#include <cmath>

namespace {

constexpr int kEntries = 512;
constexpr double kTopLevel = 255;
constexpr int kIntensity = 3;  // the first of the three channels behind the image's own

double Bent(Bend bend, double v) {
    constexpr double kLogScale = 1000, kAsinhScale = 10;
    switch (bend) {
        case Bend::None: break;
        case Bend::Log: return std::log1p(kLogScale * v) / std::log1p(kLogScale);
        case Bend::Asinh: return std::asinh(kAsinhScale * v) / std::asinh(kAsinhScale);
        case Bend::SquareRoot: return std::sqrt(v);
    }
    return v;
}

}  // namespace

ToneCurve::ToneCurve(Bend bent, double exponent, bool turned, Model of)
    : bend(bent), gamma(exponent), inverted(turned), model(of) {
    BuildTable();
}

bool ToneCurve::IsEqual(const Zel::Remapper& other) const {
    const auto* curve = dynamic_cast<const ToneCurve*>(&other);
    return curve && curve->bend == bend && curve->gamma == gamma && curve->inverted == inverted &&
           curve->model == model;
}

Zel::Remapper* ToneCurve::Clone() const {
    return new ToneCurve(*this);
}

void ToneCurve::SetMode(int hsi, int) {
    mode = hsi;
    BuildTable();
}

int ToneCurve::GetMode() const {
    return mode;
}

void ToneCurve::Reset() {
    bend = Bend::None;
    gamma = 1;
    inverted = false;
    BuildTable();
}

int ToneCurve::GetNumbChannels() const {
    return model == Model::Grey ? 1 : 3;
}

bool ToneCurve::IsCurved(int channel) const {
    if (channel == kIntensity) return model == Model::Colour;
    return model == Model::Yuv ? channel == 0 : channel >= 0 && channel < GetNumbChannels();
}

bool ToneCurve::IsIdentity(int channel) const {
    return !IsCurved(channel) || (bend == Bend::None && gamma == 1 && !inverted);
}

float ToneCurve::Remap(float value, int channel) const {
    if (IsIdentity(channel)) return value;
    const double curved = std::pow(Bent(bend, static_cast<double>(value)), 1 / gamma);
    return static_cast<float>(inverted ? 1 - curved : curved);
}

const unsigned char* ToneCurve::GetLookupTable() const {
    return table.data();
}

void ToneCurve::BuildTable() {
    table.clear();
    const int first = mode == 1 ? kIntensity : 0;
    for (int channel = first; channel < first + GetNumbChannels(); ++channel) {
        for (int i = 0; i < kEntries; ++i) {
            const float level = Remap(static_cast<float>(i) / (kEntries - 1), channel);
            table.push_back(static_cast<unsigned char>(std::lround(kTopLevel * static_cast<double>(level))));
        }
    }
}
