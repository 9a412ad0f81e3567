// The lookup table of a tone curve. Its entries are rounded so that a curve without gamma shows 8-bit values
// exactly as they are, or exactly as their complement.
#include "tone_curve.h"

#include <algorithm>
#include <cmath>
#include <utility>

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

// The rise of the line between two points, and at a point: the weighted harmonic mean of the two beside it,
// or 0 at a peak, so that the cubic in between stays within its ends (F. Fritsch and J. Butland, 1984).
double Rise(const std::vector<TonePoint>& points, std::size_t i) {
    return (points[i + 1].out - points[i].out) / (points[i + 1].in - points[i].in);
}

double SlopeAt(const std::vector<TonePoint>& points, std::size_t i) {
    if (i == 0) return Rise(points, 0);
    if (i + 1 == points.size()) return Rise(points, i - 1);
    const double before = Rise(points, i - 1), after = Rise(points, i);
    if (before * after <= 0) return 0;
    const double left = points[i].in - points[i - 1].in, right = points[i + 1].in - points[i].in;
    const double weight = (left + 2 * right) / (3 * (left + right));
    return before * after / (weight * after + (1 - weight) * before);
}

double Through(const std::vector<TonePoint>& points, double v) {
    if (points.empty()) return v;
    if (v <= points.front().in) return points.front().out;
    if (v >= points.back().in) return points.back().out;
    const auto next = std::upper_bound(points.begin(), points.end(), v,
                                       [](double value, const TonePoint& p) { return value < p.in; });
    const auto i = static_cast<std::size_t>(next - points.begin()) - 1;
    const double width = points[i + 1].in - points[i].in;
    const double t = (v - points[i].in) / width;
    const double start = SlopeAt(points, i) * width, end = SlopeAt(points, i + 1) * width;
    const double rise = points[i + 1].out - points[i].out;
    const double cubic =
        points[i].out + t * (start + t * (3 * rise - 2 * start - end + t * (start + end - 2 * rise)));
    return std::clamp(cubic, 0.0, 1.0);
}

}  // namespace

double Tone::At(double v) const {
    const double curved = std::pow(Through(points, Bent(bend, v)), 1 / gamma);
    return inverted ? 1 - curved : curved;
}

ToneCurve::ToneCurve(Tones of, Model kind) : tones(std::move(of)), model(kind) {
    BuildTable();
}

bool ToneCurve::IsEqual(const Zel::Remapper& other) const {
    const auto* curve = dynamic_cast<const ToneCurve*>(&other);
    return curve && curve->tones == tones && curve->model == model;
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
    tones = {{}};
    BuildTable();
}

int ToneCurve::GetNumbChannels() const {
    return model == Model::Grey ? 1 : 3;
}

// Null: the channel stays as it is. Colour is stored blue first.
const Tone* ToneCurve::ToneOf(int channel) const {
    const bool joint = channel >= kIntensity;
    if (joint && model != Model::Colour) return nullptr;
    const int user = joint ? channel - kIntensity : model == Model::Colour ? 2 - channel : channel;
    if (user < 0 || user >= GetNumbChannels()) return nullptr;
    if (tones.size() > 1) return &tones[static_cast<std::size_t>(user)];
    const bool firstAlone = joint || model == Model::Yuv;
    return firstAlone && user > 0 ? nullptr : &tones[0];
}

bool ToneCurve::IsIdentity(int channel) const {
    const Tone* const tone = ToneOf(channel);
    return !tone || tone->IsIdentity();
}

float ToneCurve::Remap(float value, int channel) const {
    if (IsIdentity(channel)) return value;
    return static_cast<float>(ToneOf(channel)->At(static_cast<double>(value)));
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
