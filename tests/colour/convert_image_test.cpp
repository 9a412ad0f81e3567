// Hunts wrong ranges of baking, forgotten channels and layouts, hue windows that do not wrap.
#include "pzel/colour/convert_image.h"

#include <gtest/gtest.h>

#include "tests/support/images.h"

using namespace test;

namespace {

/// Leaves the channels of `identity` alone and squares the others.
struct Curve final : Zel::Remapper {
    explicit Curve(std::string identityChannels) : identity(std::move(identityChannels)) {}
    bool IsEqual(const Remapper& other) const override { return this == &other; }
    Remapper* Clone() const override { return new Curve(identity); }
    void SetMode(int, int) override {}
    int GetMode() const override { return 0; }
    void Reset() override {}
    int GetNumbChannels() const override { return 3; }
    bool IsIdentity(int channel) const override {
        return identity.find(char('0' + channel)) != std::string::npos;
    }
    float Remap(float v, int) const override { return v * v; }
    const unsigned char* GetLookupTable() const override { return nullptr; }
    std::string identity;
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

}  // namespace
