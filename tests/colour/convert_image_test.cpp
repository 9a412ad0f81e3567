// Hunts wrong ranges of baking, forgotten channels and layouts, hue windows that do not wrap, curves that are
// sampled too coarsely, and joint colour that the screen and the baked data show otherwise than the formulas.
#include "pzel/colour/convert_image.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <numbers>

#include "pzel/display/map_data.h"
#include "tests/support/curve.h"
#include "tests/support/images.h"

using namespace test;

namespace {

using Function = std::function<double(double)>;

/// Leaves the channels of `identity` alone and maps the others, by squaring them where nothing else is said.
struct Curve final : test::Curve {
    explicit Curve(
        std::string identityChannels, Function mapping = [](double v) { return v * v; })
        : identity(std::move(identityChannels)), function(std::move(mapping)) {}
    Remapper* Clone() const override { return new Curve(*this); }
    bool IsIdentity(int channel) const override {
        return identity.find(char('0' + channel)) != std::string::npos;
    }
    float Remap(float v, int) const override { return float(function(double(v))); }
    std::string identity;
    Function function;
};

TEST(Baking, ChannelsGoFromTheDataBoundIntoTheSpatialBound) {
    Random random(9);
    for (int type : {DataUInt8, DataInt8, DataUInt16, DataInt16, DataFloat}) {
        for (int kind : {SubColour, SubYuv, SubGrey}) {
            for (int size : {7, 24}) {  // fewer and more pixels than a byte has values
                const int channels = kind == SubGrey ? 1 : 3;
                TestImage image({size, size, channels, type, random.coin(), kind});
                image.randomise(random);
                std::vector<Pair> from, to;
                for (int c = 0; c < channels; ++c) {
                    const Pair range = type == DataFloat ? Pair(-200, 200) : rangeOf(image.trueType(c));
                    const int low = random(int(range.first), int(range.second) - 60);
                    image.setPair(c, {low, low + random(1, 59)});
                    from.push_back(image.pair(c));
                    to.push_back(readPair(GetSpatialBound(&image), c, image.trueType(c)));
                }
                std::vector<double> expected;
                Curve curve("1");
                for (int c = 0; c < channels; ++c) {
                    for (int i = 0; i < size * size; ++i) {
                        const double v = image.at(i % size, i / size, c, image.trueType(c));
                        const double width = from[c].second - from[c].first,
                                     target = to[c].second - to[c].first;
                        double n = std::clamp((v - from[c].first) / width, 0.0, 1.0);
                        if (c != 1) n = double(float(n) * float(n));
                        const double shown = n * target + to[c].first;
                        expected.push_back(type == DataFloat ? double(float(shown)) : std::trunc(shown));
                    }
                }
                ConvertImage(&image, &curve);
                for (int c = 0; c < channels; ++c)
                    for (int i = 0; i < size * size; ++i)
                        ASSERT_NEAR(image.at(i % size, i / size, c, image.trueType(c)),
                                    expected[std::size_t(c * size * size + i)],
                                    type == DataFloat ? 1e-4 : c == 1)
                            << type << ' ' << kind << ' ' << c;
                EXPECT_TRUE(image.pixels.intact());
            }
        }
    }
}

/// A colour of saturation 1 and intensity 1/2 by its hue as a fraction of the circle, channel 0 red.
void putHue(TestImage& image, int x, double hue) {
    const auto wave = [&](double at) {
        double d = std::abs(std::fmod(hue - at + 1.5, 1.0) - 0.5) * 6;
        return std::clamp(2 - d, 0.0, 1.0);
    };
    const double r = wave(0), g = wave(1 / 3.0), b = wave(2 / 3.0);
    image.put(x, 0, 0, std::round(200 * r));
    image.put(x, 0, 1, std::round(200 * g));
    image.put(x, 0, 2, std::round(200 * b));
}

double hueOf(TestImage& image, int x) {
    const double r = image.at(x, 0, 0), g = image.at(x, 0, 1), b = image.at(x, 0, 2);
    const double h = std::atan2(std::sqrt(3.0) * (g - b), 2 * r - g - b) / (2 * 3.14159265358979);
    return h < 0 ? h + 1 : h;
}

TEST(Baking, FullHsiLevelsKeepThePictureAndBlackStaysBlack) {
    Random random(10);
    for (int type : {DataUInt8, DataInt8, DataUInt16, DataInt16, DataFloat}) {
        for (bool interleaved : {false, true}) {
            TestImage image({16, 9, 3, type, interleaved});
            image.randomise(random);
            const Pair range = rangeOf(type);
            const double unit = (range.second - range.first) / 255;
            for (int y = 0; y < 9; ++y)
                for (int x = 0; x < 16; ++x)
                    for (int c = 0; c < 3; ++c)
                        image.put(x, y, c, std::clamp(image.at(x, y, c), range.first, range.second));
            for (int c = 0; c < 3; ++c) image.put(0, 0, c, range.first);
            std::vector<double> before;
            for (int i = 0; i < 16 * 9 * 3; ++i) before.push_back(image.at(i % 16, i / 16 % 9, i / 144));
            Curve curve("345");
            ConvertAllDataToRGB(&image, &curve);
            for (int i = 0; i < 16 * 9 * 3; ++i)
                ASSERT_NEAR(image.at(i % 16, i / 16 % 9, i / 144), before[std::size_t(i)], 1.01 * unit)
                    << type;
            for (int c = 0; c < 3; ++c) EXPECT_EQ(image.at(0, 0, c), range.first);
        }
    }
}

TEST(Baking, HueWindowsSpreadTheirHuesAndWrapAroundRed) {
    for (const auto& [low, high] : {std::pair(51, 153), std::pair(230, 26)}) {
        TestImage image({24, 1, 3, DataUInt8, true});
        SetDefaultBound(&image);
        SwitchBoundType(&image, BoundData, BoundHsi);
        writePair(GetHSIBound(&image), 2, DataUInt8, {low, high});
        const double a = low / 255.0, width = std::fmod(high / 255.0 - a + 1, 1.0),
                     centre = a + width / 2 - 0.5;
        std::vector<double> expected;
        for (int x = 0; x < 24; ++x) {
            putHue(image, x, x / 24.0);
            double h = hueOf(image, x);
            if (h < a) h += 1;
            h = (std::min(h, a + width) - a) / width + centre;
            expected.push_back(h - std::floor(h));
        }
        Curve curve("345");
        ConvertAllDataToRGB(&image, &curve);
        for (int x = 0; x < 24; ++x) {
            const double apart = std::abs(hueOf(image, x) - expected[std::size_t(x)]);
            EXPECT_LT(std::min(apart, 1 - apart), 0.01) << low << " hue " << x / 24.0;
        }
    }
}

constexpr double kCircle = 2 * std::numbers::pi;

/// Windows of intensity, saturation and hue as fractions, and what follows them; baked hue the other way
/// round.
struct Joint {
    Pair intensity, saturation, hue;
    Function tone, hueTone;  // null: the hue is left alone, window and all
    bool baked;

    using Colour = std::array<double, 3>;  // red, green, blue; 0 ... 1

    /// What becomes of a colour. `nudge` moves what the tones get: beside a jump rounding decides.
    Colour operator()(Colour c, double nudge) const {
        const auto windowed = [](double v, Pair w) {
            return std::clamp((v - w.first) / (w.second - w.first), 0.0, 1.0);
        };
        const double i = (c[0] + c[1] + c[2]) / 3, least = std::min({c[0], c[1], c[2]});
        const bool grey = c[0] == c[1] && c[0] == c[2];
        const double s = grey ? 0 : 1 - least / i;
        const double shown = tone(windowed(i, intensity) + nudge);
        double colourful = tone(windowed(s, saturation) + nudge);
        if (!hueTone) {
            for (double& v : c)
                v = std::clamp(!grey ? shown + (v - i) / (i - least) * colourful * shown : shown, 0.0, 1.0);
            return c;
        }
        if (!baked && grey) colourful = 0;
        double h = std::atan2(std::sqrt(3.0) * (c[1] - c[2]), 2 * c[0] - c[1] - c[2]);
        if (grey) h = 0;
        if (h < 0) h += kCircle;
        const double from = hue.first * kCircle, width = std::fmod(hue.second - hue.first + 1, 1.0) * kCircle;
        if (baked) h = hueTone(h / width + nudge) * width;
        if (h < from) h += kCircle;
        h = (std::min(h - from, width) / width - 0.5) * kCircle + from + width / 2;
        h = std::fmod(h + kCircle, kCircle);
        if (!baked) h = hueTone(h / kCircle + nudge) * kCircle;
        const int sector = std::min(2, int(h / kCircle * 3));
        h -= sector * kCircle / 3;
        const double most = shown + colourful * shown * std::cos(h) / std::cos(kCircle / 6 - h);
        const double lowest = shown * (1 - colourful);
        c[std::size_t(sector)] = most;
        c[std::size_t(sector + 1) % 3] = 3 * shown - most - lowest;
        c[std::size_t(sector + 2) % 3] = lowest;
        for (double& v : c) v = std::clamp(v, 0.0, 1.0);
        return c;
    }
};

// More pixels than it takes for curves to be sampled.
TEST(JointColour, IsBakedAndShownByTheFormulas) {
    constexpr int width = 1204, height = 55, pixels = width * height;
    Random random(11);
    const Function curves[] = {[](double v) { return v + 0.025 * std::sin(35 * v); },
                               [](double v) { return v < 0.381966 ? 0.1 + v / 2 : 1 - v / 3; },
                               [](double v) { return std::cbrt(std::max(v, 0.0)); },
                               [](double v) { return v < 0.6 ? v + 0.4 : v - 0.6; }};
    for (int round = 0; round < 4 * 2 * 4; ++round) {
        const Function& curve = curves[round % 4];
        const bool hues = round / 4 % 2, baked = round / 8 % 2;
        TestImage image({width, height, 3, DataUInt8, round / 16 == 1});
        image.randomise(random);
        for (int i = 0; i < 3 * 256; ++i) image.put(i / 3, 0, i % 3, i / 3);
        SetDefaultBound(&image);
        SwitchBoundType(&image, BoundData, BoundHsi);
        const std::pair<int, int> windows[] = {{20, 240}, {10, 200}, {hues ? 200 : 0, hues ? 90 : 255}};
        for (int k = 0; k < 3; ++k)
            writePair(GetHSIBound(&image), k, DataUInt8, {windows[k].first, windows[k].second});
        const auto window = [&](int k) { return Pair(windows[k].first / 255.0, windows[k].second / 255.0); };

        Bytes table(3 * 512);
        for (int i = 0; i < 3 * 512; ++i)
            table[i] =
                i < 1024 || hues ? u8(std::clamp(curve(i % 512 / 511.0), 0.0, 1.0) * 255) : u8(i % 512 / 2);
        const Function looked = [&](double v) { return table[int(std::clamp(v, 0.0, 1.0) * 511)] / 255.0; };
        const Function tone = baked ? curve : looked;
        const Joint joint{window(0), window(1), window(2), tone, hues ? tone : Function(), baked};

        const auto channel = [&](int c) { return baked ? c : 2 - c; };
        std::vector<Joint::Colour> colours(pixels);
        for (int i = 0; i < 3 * pixels; ++i)
            colours[i / 3][i % 3] = image.at(i / 3 % width, i / 3 / width, channel(i % 3)) / 255;
        Bytes shown(3 * pixels);
        Curve remapper(hues ? "" : "5", curve);
        if (baked)
            ConvertAllDataToRGB(&image, &remapper);
        else
            MapDataHSI(shown.data(), 3 * width, width, height, &image, 0, 0, table.data());
        for (int i = 0; i < 3 * pixels && baked; ++i)
            shown[i] = u8(image.at(i / 3 % width, i / 3 / width, i % 3));

        const auto isNear = [&](int i, double nudge) {
            const Joint::Colour wanted = joint(colours[i], nudge);
            bool near = true;
            for (int c : {0, 1, 2}) {
                const double level = 255 * wanted[c] + (baked ? 0 : 0.5);
                near &= std::abs(shown[3 * i + channel(c)] - std::floor(level)) <= 1;
            }
            return near;
        };
        for (int i = 0; i < pixels; ++i)
            ASSERT_TRUE(isNear(i, 0) || isNear(i, 2e-5) || isNear(i, -2e-5))
                << "round " << round << ", colour " << 255 * colours[i][0] << ' ' << 255 * colours[i][1]
                << ' ' << 255 * colours[i][2];
        EXPECT_TRUE(image.pixels.intact());
    }
}

}  // namespace
