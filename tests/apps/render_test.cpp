// Pictures that the tests write themselves, rendered and compared with plain computations.
#include <algorithm>
#include <cmath>
#include <limits>

#include "program.h"

namespace {

// The display's rule for one value, as plainly as it can be said.
std::uint8_t Mapped(double value, double black, double white) {
    if (!(value > black)) return 0;
    if (value >= white) return 255;
    const float scale = static_cast<float>(255.0 / (white - black));
    return static_cast<std::uint8_t>(static_cast<float>(value - black) * scale + 0.5f);
}

template <class T>
Shown MappedAll(const Pixels<T>& pixels, double black, double white) {
    Shown shown(pixels.width, pixels.height, pixels.channels);
    std::transform(pixels.values.begin(), pixels.values.end(), shown.values.begin(),
                   [&](T value) { return Mapped(static_cast<double>(value), black, white); });
    return shown;
}

template <class T>
Pixels<T> RandomPixels(std::mt19937& random, int width, int height, int channels, std::uint32_t most) {
    Pixels<T> pixels(width, height, channels);
    std::uniform_int_distribution<std::uint32_t> any(0, most);
    for (T& value : pixels.values) value = static_cast<T>(any(random));
    return pixels;
}

Shown Crop(const Shown& whole, int left, int top, int right, int bottom) {
    Shown part(right - left + 1, bottom - top + 1, whole.channels);
    for (int y = 0; y < part.height; ++y) {
        for (int x = 0; x < part.width; ++x) {
            for (int c = 0; c < part.channels; ++c) part.At(x, y, c) = whole.At(left + x, top + y, c);
        }
    }
    return part;
}

Shown Plane(const Shown& colour, int channel) {
    Shown plane(colour.width, colour.height, 1);
    for (std::size_t i = 0; i < plane.values.size(); ++i) plane.values[i] = colour.values[i * 3 + channel];
    return plane;
}

using RenderTest = AppTest;

TEST_F(RenderTest, MapsValuesThroughLevelsExactly) {
    const auto words = RandomPixels<std::uint16_t>(random, 333, 97, 1, 65535);
    WritePicture<std::uint16_t>(Path("words.tif"), {words});
    EXPECT_EQ(Picture(Path("words.tif"), {"--levels", "1000:50000"}), MappedAll(words, 1000, 50000));
    EXPECT_EQ(Picture(Path("words.tif"), {"--levels", "full"}), MappedAll(words, 0, 65535));
    // Levels outside the type are kept, not cut off.
    EXPECT_EQ(Picture(Path("words.tif"), {"--levels", "-30000:90000"}), MappedAll(words, -30000, 90000));

    auto sorted = words.values;
    std::sort(sorted.begin(), sorted.end());
    const auto [low, high] = std::minmax_element(sorted.begin(), sorted.end());
    EXPECT_EQ(Picture(Path("words.tif")), MappedAll(words, *low, *high));
    const std::size_t clipped = sorted.size() * 5 / 100;
    EXPECT_EQ(Picture(Path("words.tif"), {"--levels", "5%"}),
              MappedAll(words, sorted[clipped], sorted[sorted.size() - 1 - clipped]));

    // 32-bit integers that no float of this size can tell apart.
    auto far = RandomPixels<std::uint32_t>(random, 31, 9, 1, 200);
    for (auto& value : far.values) value += 4000000000U;
    WritePicture<std::uint32_t>(Path("far.tif"), {far});
    const auto [least, most] = std::minmax_element(far.values.begin(), far.values.end());
    EXPECT_EQ(Picture(Path("far.tif")), MappedAll(far, *least, *most));
}

TEST_F(RenderTest, KeepsNotNumbersOutOfTheLevels) {
    Pixels<float> floats(5, 1, 1);
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    floats.values = {std::numeric_limits<float>::quiet_NaN(), -2, 6, kInfinite, -kInfinite};
    WritePicture<float>(Path("floats.tif"), {floats});
    for (const char* levels : {"data", "0%"}) {
        const Outcome run = Render({Path("floats.tif"), "-o", Path("o.png"), "--levels", levels});
        EXPECT_NE(run.out.find("levels -2:6,"), std::string::npos) << run.out;
        EXPECT_EQ(ReadShown(Path("o.png")).values, (std::vector<std::uint8_t>{0, 0, 255, 255, 0}));
    }
}

TEST_F(RenderTest, ShowsColourAsStoredWhateverTheLayout) {
    const auto colour = RandomPixels<std::uint8_t>(random, 53, 17, 3, 255);
    WritePicture<std::uint8_t>(Path("colour.png"), {colour});
    const std::vector<std::vector<std::string>> variations = {{},
                                                              {"--channel", "green"},
                                                              {"--area", "3,2,41,16"},
                                                              {"--levels", "10:200,0:255,30:90"},
                                                              {"--gamma", "1.7"}};
    for (std::vector<std::string> options : variations) {
        const Shown interleaved = Picture(Path("colour.png"), options);
        options.insert(options.end(), {"--layout", "planar"});
        EXPECT_EQ(Picture(Path("colour.png"), options), interleaved) << options[0];
    }
    EXPECT_EQ(Picture(Path("colour.png")), colour);
    EXPECT_EQ(Picture(Path("colour.png"), {"--channel", "red"}), Plane(colour, 0));
    EXPECT_EQ(Picture(Path("colour.png"), {"--channel", "blue"}), Plane(colour, 2));
    EXPECT_EQ(Picture(Path("colour.png"), {"--area", "3,2,41,16"}), Crop(colour, 3, 2, 41, 16));
    const Shown levelled = Picture(Path("colour.png"), {"--levels", "10:200,0:255,30:90"});
    EXPECT_EQ(Plane(levelled, 0), MappedAll(Plane(colour, 0), 10, 200));
    EXPECT_EQ(Plane(levelled, 1), Plane(colour, 1));
    EXPECT_EQ(Plane(levelled, 2), MappedAll(Plane(colour, 2), 30, 90));

    // Alpha is left out, and leaves no trace in the colours.
    auto glass = RandomPixels<std::uint8_t>(random, 9, 4, 4, 255);
    WritePicture<std::uint8_t>(Path("glass.png"), {glass});
    Shown opaque(9, 4, 3);
    for (std::size_t i = 0; i < 36; ++i) std::copy_n(&glass.values[4 * i], 3, &opaque.values[3 * i]);
    EXPECT_EQ(Picture(Path("glass.png")), opaque);
}

TEST_F(RenderTest, BendsValuesByGammaAndInversion) {
    Shown ramp(256, 1, 1);
    for (int v = 0; v < 256; ++v) ramp.At(v, 0) = static_cast<std::uint8_t>(v);
    WritePicture<std::uint8_t>(Path("ramp.png"), {ramp});
    const Shown inverted = Picture(Path("ramp.png"), {"--invert"});
    const Shown bent = Picture(Path("ramp.png"), {"--gamma", "2.2"});
    for (int v = 0; v < 256; ++v) {
        EXPECT_EQ(inverted.At(v, 0), 255 - v);
        EXPECT_NEAR(bent.At(v, 0), 255 * std::pow(2 * v / 511.0, 1 / 2.2), 0.51) << v;
    }
}

TEST_F(RenderTest, ShowsBitsInOrderAndPolarity) {
    auto bits = RandomPixels<std::uint8_t>(random, 21, 11, 1, 1);
    for (auto& value : bits.values) value = static_cast<std::uint8_t>(value * 255);
    WritePicture<std::uint8_t>(Path("bits.tif"), {bits}, 1);
    ASSERT_NE(Render({Path("bits.tif"), "--info"}).out.find("element type: bit\n"), std::string::npos);
    EXPECT_EQ(Picture(Path("bits.tif")), bits);
    EXPECT_EQ(Picture(Path("bits.tif"), {"--area", "5,3,19,10"}), Crop(bits, 5, 3, 19, 10));
    Shown inverted = bits;
    for (auto& value : inverted.values) value = static_cast<std::uint8_t>(255 - value);
    EXPECT_EQ(Picture(Path("bits.tif"), {"--invert"}), inverted);
}

TEST_F(RenderTest, SharesLevelsAmongFramesUnlessAsked) {
    std::vector<Pixels<std::uint16_t>> frames;
    for (const int top : {1000, 500, 2000, 800}) {
        frames.push_back(RandomPixels<std::uint16_t>(random, 40, 30, 1, static_cast<std::uint32_t>(top)));
        frames.back().At(0, 0) = 0;
        frames.back().At(1, 0) = static_cast<std::uint16_t>(top);
    }
    WritePicture<std::uint16_t>(Path("stack.tif"), frames);
    const auto shown = [&](int n) { return ReadShown(Path("o_000" + std::to_string(n) + ".png")); };
    ASSERT_EQ(Render({Path("stack.tif"), "-o", Path("o.png"), "--all"}).status, 0);
    for (int n = 0; n < 4; ++n) EXPECT_EQ(shown(n), MappedAll(frames[n], 0, 1000)) << n;
    ASSERT_EQ(Render({Path("stack.tif"), "-o", Path("o.png"), "--frames", "1-3", "--per-frame"}).status, 0);
    for (int n = 1; n < 4; ++n) EXPECT_EQ(shown(n), MappedAll(frames[n], 0, frames[n].At(1, 0))) << n;
    EXPECT_EQ(Picture(Path("stack.tif"), {"--frame", "2"}), MappedAll(frames[2], 0, 2000));
}

}  // namespace
