// Hunts wrong ranges, scales and hue branches, and hues that are no numbers.
#include "pzel/colour/rgb_to_hsi.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/images.h"

namespace {

constexpr double kPi = 3.14159265358979;

/// How far hue, saturation and intensity reach.
struct Reach {
    double h, s, i;
};

void expectTheModel(const RGBtoHSI& convert, const Reach& reach) {
    test::Random random(7);
    for (int n = 0; n < 20000; ++n) {
        const double r = random(-1, 11) / 10.0, g = random(-1, 11) / 10.0, b = random(-1, 11) / 10.0;
        const float fr = float(-10 + 100 * r), fg = float(255 * g), fb = float(5 + 20 * b);
        const bool inside = std::min({r, g, b}) >= 0 && std::max({r, g, b}) <= 1;
        float h = -1, s = -1, i = -1;
        ASSERT_EQ(convert.ComputeHSI(fr, fg, fb, h, s, i), inside);
        if (!inside) {
            ASSERT_TRUE(h == -1 && s == -1 && i == -1) << "nothing is written";
        }
        convert.ComputeHSI_RD(fr, fg, fb, h, s, i);
        const double cr = std::clamp(r, 0.0, 1.0), cg = std::clamp(g, 0.0, 1.0), cb = std::clamp(b, 0.0, 1.0);
        const double sum = cr + cg + cb;
        ASSERT_NEAR(i / reach.i, sum / 3, 1e-5);
        ASSERT_NEAR(s / reach.s, sum == 0 ? 0 : 1 - 3 * std::min({cr, cg, cb}) / sum, 1e-5);
        double turns = std::atan2(std::sqrt(3.0) * (cg - cb), 2 * cr - cg - cb) / (2 * kPi);
        if (turns < 0) turns += 1;
        const double apart = std::abs(h / reach.h - turns);
        if (cr != cg || cg != cb) {
            ASSERT_LT(std::min(apart, 1 - apart), 6e-4) << r << ' ' << g << ' ' << b;
        }
        float single;
        convert.ComputeH_RD(fr, fg, fb, single);
        ASSERT_EQ(single, h);
    }
}

TEST(RgbToHsi, FollowsTheModelOverRangesOfEveryChannel) {
    RGBtoHSI convert(-10, 0, 5, 90, 255, 25);
    expectTheModel(convert, {2 * kPi, 1, 255});
    convert.SetScale_H(360);
    convert.SetScale_S(100);
    convert.SetScale_I(200);
    expectTheModel(convert, {360, 100, 200});
}

TEST(RgbToHsi, NoTintHasAHueThatIsNoNumber) {
    test::Random random(8);
    const RGBtoHSI convert(0, 0, 0, 65535, 65535, 65535);
    for (int n = 0; n < 200000; ++n) {
        const float base = float(random(0, 65000)), tint = float(random(0, 2));
        float h;
        convert.ComputeH_RD(base + tint, base + float(random(0, 2)), base, h);
        ASSERT_TRUE(h >= 0 && h <= 6.2831855f) << base;
    }
}

}  // namespace
