// Hue, saturation and intensity of single colours, and remappers that are baked in.
#include "tests/fuzz/rows.h"

namespace fuzz {

namespace {

struct Ranges {
    std::array<float, 3> low, high;
};

Ranges ranges(World& w) {
    Ranges r;
    for (std::size_t i = 0; i < 3; ++i) {
        r.low[i] = float(w.draw(-60, 60));
        r.high[i] = r.low[i] + float(w.draw(1, 255));
    }
    return r;
}

/// A colour near its ranges; `inside` says whether it lies in them.
std::array<float, 3> colour(World& w, const Ranges& r, bool& inside) {
    std::array<float, 3> c;
    inside = true;
    for (std::size_t i = 0; i < 3; ++i) {
        c[i] = w.draw.oneIn(12) ? w.real() : r.low[i] + (r.high[i] - r.low[i]) * float(w.draw(0, 16)) / 16;
        inside = inside && c[i] >= r.low[i] && c[i] <= r.high[i];
    }
    return c;
}

/// Hue, saturation and intensity by their formulas.
struct Hsi {
    double h, s, i;
    Hsi(const Ranges& r, const std::array<float, 3>& c) {
        std::array<double, 3> n;
        for (std::size_t k = 0; k < 3; ++k) {
            const double v = c[k] < r.low[k] || std::isnan(c[k]) ? r.low[k] : std::min(c[k], r.high[k]);
            n[k] = (v - r.low[k]) / (double(r.high[k]) - r.low[k]);
        }
        const double sum = n[0] + n[1] + n[2], least = std::min({n[0], n[1], n[2]});
        i = sum / 3;
        s = sum == 0 ? 0 : 1 - 3 * least / sum;
        const double root = std::sqrt((n[0] - n[1]) * (n[0] - n[1]) + (n[0] - n[2]) * (n[1] - n[2]));
        h = root < 1e-9 ? -1 : std::acos(std::clamp((n[0] - (n[1] + n[2]) / 2) / root, -1.0, 1.0));
        if (h >= 0 && n[2] > n[1]) h = 2 * M_PI - h;
    }
};

void convert(World& w, bool joint) {
    Image* const image = w.image({.channels = w.draw.oneIn(4) ? -1 : 3});
    if (joint && !w.mayJoin(image)) return;
    w.out(image);
    if (w.draw.coin()) w.setLevels(image);
    const Bytes before = pixelsOf(image);
    Tone tone(&w, w.draw(0, 11));
    if (joint) {
        CALL(ConvertAllDataToRGB, image, &tone);
    } else {
        CALL(ConvertImage, image, &tone);
    }
    const int type = typeOf(image);
    const bool converts =
        type != DataBit && type != DataUInt32 && type != DataInt32 && (!joint || image->channels >= 3);
    HOLDS(converts || pixelsOf(image) == before);
    HOLDS(joint || tone.id != 0 || pixelsOf(image).size() == before.size());
}

}  // namespace

void addColourRows(Table& table) {
    table.never("RGBtoHSI, ComputeHSI and its parts", [](World& w) {
        const Ranges r = ranges(w);
        RGBtoHSI converter = CALL(RGBtoHSI, r.low[0], r.low[1], r.low[2], r.high[0], r.high[1], r.high[2]);
        const float scale = float(w.draw(1, 255));
        CALL_ON(&converter, SetScale_H, scale), CALL_ON(&converter, SetScale_S, scale),
            CALL_ON(&converter, SetScale_I, scale);
        bool inside;
        const auto c = colour(w, r, inside);
        if (std::isnan(c[0] + c[1] + c[2])) return;  // nothing is said of them
        const Hsi wanted(r, c);
        float h = 7, s = 7, i = 7;
        const RGBtoHSI& k = converter;
        HOLDS(CALL_ON(&k, ComputeI, c[0], c[1], c[2], i) == inside && (inside || i == 7));
        HOLDS(CALL_ON(&k, ComputeS, c[0], c[1], c[2], s) == inside && (inside || s == 7));
        HOLDS(CALL_ON(&k, ComputeH, c[0], c[1], c[2], h) == inside && (inside || h == 7));
        float all[3] = {7, 7, 7};
        HOLDS(CALL_ON(&k, ComputeHSI, c[0], c[1], c[2], all[0], all[1], all[2]) == inside);
        HOLDS(all[1] == s && all[2] == i);
        CALL_ON(&k, ComputeI_RD, c[0], c[1], c[2], i), CALL_ON(&k, ComputeS_RD, c[0], c[1], c[2], s);
        CALL_ON(&k, ComputeH_RD, c[0], c[1], c[2], h),
            CALL_ON(&k, ComputeHSI_RD, c[0], c[1], c[2], all[0], all[1], all[2]);
        HOLDS(std::fabs(i - wanted.i * scale) < 1e-4 * scale);
        // Of what is too dark for floats no saturation is told.
        HOLDS(wanted.i < 1e-30 || std::fabs(s - wanted.s * scale) < 1e-3 * scale);
        const double turn = std::fabs(h - wanted.h * scale / (2 * M_PI)) / scale;
        HOLDS(wanted.h < 0 || wanted.s < 0.01 || std::min(turn, 1 - turn) < 2e-3);
        w.see(h), w.see(s), w.see(i);
    });
    table.strong("ConvertImage", [](World& w) { convert(w, false); });
    table.strong("ConvertAllDataToRGB", [](World& w) { convert(w, true); });
}

}  // namespace fuzz
