// Cells are narrow where values are small: tones like gamma are steepest there. Few cells, which registers
// can hold, serve where they come close enough, many otherwise.
#include "pzel/colour/sampled_tone.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "pzel/colour/hsi.h"
#include "pzel/loops/shuffle.h"

namespace pzel {

namespace {

constexpr int kFewCells = kFewLines, kManyCells = 1024;

/// Close to a square root, without one: half the exponent, and the mantissa between. 0 and 1 stay.
constexpr std::uint32_t kHalfExponent = std::bit_cast<std::uint32_t>(1.0f) / 2;
float roughRoot(float v) {
    return std::bit_cast<float>((std::bit_cast<std::uint32_t>(v) >> 1) + kHalfExponent);
}
float roughSquare(float v) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(v);
    return bits > kHalfExponent ? std::bit_cast<float>((bits - kHalfExponent) << 1) : 0.0f;
}

/// The tone at the ends of all cells, in the order of its values.
struct Samples {
    Samples(const Tone& tone, const SampledTone::Domain& domain) {
        for (int k = 0; k <= kManyCells; ++k) at[k] = roughSquare(float(k) / kManyCells) * domain.top;
        std::memcpy(values, at, sizeof values);
        for (int k = 0; k <= kManyCells; k += kPixelBlock)
            tone.apply(values + k, k + kPixelBlock <= kManyCells ? kPixelBlock : kManyCells + 1 - k);
        if (!domain.isCircular) return;
        for (int k = 1; k <= kManyCells; ++k)
            values[k] -= domain.top * std::round((values[k] - values[k - 1]) / domain.top);
    }
    /// The slope from sample a to sample b.
    float slope(int a, int b) const { return (values[b] - values[a]) / (at[b] - at[a]); }
    /// How far sample k lies from the line through samples a and b.
    float apart(int k, int a, int b) const {
        return std::abs(values[a] + slope(a, b) * (at[k] - at[a]) - values[k]);
    }
    float at[kManyCells + 1], values[kManyCells + 1];
};

bool fewAreEnough(const Samples& samples, float allowed) {
    constexpr int step = kManyCells / kFewCells;
    for (int k = 0; k < kManyCells; ++k)
        if (!(samples.apart(k, k / step * step, k / step * step + step) <= allowed)) return false;
    return true;
}

}  // namespace

SampledTone::SampledTone(const Tone& exact, const Domain& values) : tone(exact), domain(values) {
    const Samples samples(exact, values);
    const int cells = fewAreEnough(samples, values.allowed) ? kFewCells : kManyCells;
    const int step = kManyCells / cells;
    for (int k = 0; k < kManyCells; k += step) {
        const float slope = samples.slope(k, k + step), first = samples.values[k];
        const float shift = values.isCircular ? values.top * std::floor(first / values.top) : 0.0f;
        lines.push_back({first - shift - slope * samples.at[k], slope});
    }
    if (cells == kFewCells) return;
    for (int k = 1; k < kManyCells; ++k) {
        if (samples.apart(k, k - 1, k + 1) <= values.allowed) continue;
        isCrooked = true;
        lines[std::size_t(k - 1)].start = lines[std::size_t(k)].start =
            std::numeric_limits<float>::quiet_NaN();
    }
}

void SampledTone::apply(float* values, int count) const {
    if (!isCrooked) return applyUnasked(values, count);
    float given[kPixelBlock];
    std::memcpy(given, values, sizeof(float) * std::size_t(count));
    applyUnasked(values, count);
    askCrooked(given, values, count);
}

void SampledTone::applyUnasked(float* values, int count) const {
    onBestSet([=, line = lines.data(), cells = int(lines.size()), circular = domain.isCircular,
               top = domain.top](auto set) {
        if (count <= 0) return;
        const float unit = 1 / top, scale = float(cells) * 0.999999f;  // 1 is in the last cell
        std::int32_t cell[kPixelBlock];
        for (int i = 0; i < count; ++i) cell[i] = int(roughRoot(clampUnit(values[i] * unit)) * scale);
        followLines(set, line, cells, cell, values, count);
        if (!circular) return;
        for (int i = 0; i < count; ++i) {
            const float v = values[i] < 0 ? values[i] + top : values[i];
            values[i] = v >= top ? v - top : v;
        }
    });
}

void SampledTone::askCrooked(const float* given, float* values, int count) const {
    float asked[kPixelBlock];
    int place[kPixelBlock], n = 0;
    for (int i = 0; i < count; ++i) {
        if (!std::isnan(values[i])) continue;
        asked[n] = given[i];
        place[n++] = i;
    }
    if (n > 0) tone.apply(asked, n);
    for (int i = 0; i < n; ++i) values[place[i]] = asked[i];
}

}  // namespace pzel
