// Colour models, baking, frame ranges and pixel text: pictures that must look alike, and plain computations.
#include <algorithm>
#include <cmath>

#include "program.h"

namespace {

class ColourTest : public AppTest {
  protected:
    // Two ways to show a picture, in both layouts, that must be the same within `most` levels.
    void ExpectAlike(const std::string& input, std::vector<std::string> one, std::vector<std::string> other,
                     int most) {
        for (const char* layout : {"interleaved", "planar"}) {
            for (auto* options : {&one, &other}) options->insert(options->end(), {"--layout", layout});
            const Shown a = Picture(input, one);
            const Shown b = Picture(input, other);
            ASSERT_EQ(a.values.size(), b.values.size());
            int difference = 0;
            for (std::size_t i = 0; i < a.values.size(); ++i)
                difference = std::max(difference, std::abs(a.values[i] - b.values[i]));
            EXPECT_LE(difference, most) << input << " " << testing::PrintToString(other);
            for (auto* options : {&one, &other}) options->resize(options->size() - 2);
        }
    }
    void ExpectBakedAlike(const std::string& input, const std::vector<std::string>& options, int most = 2) {
        std::vector<std::string> baked = options;
        baked.push_back("--bake");
        ExpectAlike(input, options, baked, most);
    }
    // A photograph as another element type, spread over `scale`.
    template <class T>
    std::string Photograph(const std::string& name, double scale) {
        const Shown photo = ReadShown(PictureSample("coffee.png"));
        Pixels<T> copy(photo.width, photo.height, photo.channels);
        std::transform(photo.values.begin(), photo.values.end(), copy.values.begin(),
                       [&](std::uint8_t v) { return static_cast<T>(v * scale); });
        WritePicture<T>(Path(name), {copy});
        return Path(name);
    }
};

TEST_F(ColourTest, ShowsLuminanceAndDifferencesLikeTheColour) {
    const std::string words = Photograph<std::uint16_t>("words.tif", 257);
    const std::string floats = Photograph<float>("floats.tif", 1 / 255.0);
    ExpectAlike(PictureSample("coffee.png"), {}, {"--to-yuv"}, 2);
    ExpectAlike(PictureSample("color.png"), {}, {"--to-yuv"}, 2);
    ExpectAlike(words, {"--levels", "full"}, {"--to-yuv"}, 2);
    ExpectAlike(floats, {"--levels", "0:1"}, {"--to-yuv"}, 2);

    // Of a grey picture in colour the luminance is the grey, and no difference is left.
    Shown grey(32, 8, 3);
    for (std::size_t i = 0; i < grey.values.size(); ++i) grey.values[i] = static_cast<std::uint8_t>(i / 3);
    WritePicture<std::uint8_t>(Path("grey.png"), {grey});
    const Shown y = Picture(Path("grey.png"), {"--to-yuv", "--channel", "y"});
    const Shown u = Picture(Path("grey.png"), {"--to-yuv", "--channel", "u"});
    for (int v = 0; v < 256; ++v) {
        EXPECT_EQ(y.values[v], v);
        EXPECT_NEAR(u.values[v], 127.5, 1);
    }
}

TEST_F(ColourTest, BakesWhatIsShown) {
    const std::string photo = PictureSample("coffee.png");
    ExpectBakedAlike(photo, {"--gamma", "2.2"});
    ExpectBakedAlike(photo, {"--levels", "20:200,0:255,30:220", "--gamma", "1.3", "--invert"});
    ExpectBakedAlike(photo, {"--levels", "-20:300"});
    ExpectBakedAlike(PictureSample("moon.png"), {"--levels", "1%", "--gamma", "0.7"});
    ExpectBakedAlike(Photograph<std::uint16_t>("words.tif", 100), {"--gamma", "1.5"});
    ExpectBakedAlike(Photograph<float>("floats.tif", 0.01), {"--levels", "0.2:2", "--gamma", "1.5"});
    ExpectBakedAlike(DicomSample("SC_ybr_full_422_uncompressed.dcm"), {"--levels", "20:200"});
    ExpectBakedAlike(PictureSample("color.png"), {"--channel", "hsi", "--levels", "0:200,0:128,200:30"});
    ExpectBakedAlike(Photograph<std::int8_t>("signed.tif", 0.45),
                     {"--channel", "hsi", "--levels", "100:200,0:128,full"});
    // The display's table has 512 steps, steep ones near black, and a pure colour is three times its
    // intensity.
    ExpectBakedAlike(photo, {"--channel", "hsi", "--gamma", "1.5"}, 10);
}

TEST_F(ColourTest, ShowsColourByIntensitySaturationAndHue) {
    const std::vector<std::string> full = {"--channel", "hsi", "--levels", "full"};
    ExpectAlike(PictureSample("color.png"), {}, {"--channel", "hsi"}, 2);
    ExpectAlike(PictureSample("coffee.png"), {}, full, 2);
    ExpectAlike(Photograph<std::uint16_t>("words.tif", 257), {"--levels", "full"}, full, 2);
    ExpectAlike(Photograph<float>("floats.tif", 1 / 255.0), {"--levels", "0:1"}, full, 2);
    ExpectAlike(Photograph<std::int8_t>("signed.tif", 0.45), {"--levels", "full"}, full, 2);

    // Without saturation nothing but the intensity is left, without intensity nothing.
    const std::string photo = PictureSample("coffee.png");
    const Shown pale = Picture(photo, {"--channel", "hsi", "--levels", "full,254:255,full"});
    const Shown intensity = Picture(photo, {"--channel", "intensity"});
    int coloured = 0;
    for (std::size_t i = 0; i < intensity.values.size(); ++i) {
        const std::uint8_t* p = &pale.values[3 * i];
        const bool grey = p[0] == p[1] && p[1] == p[2];
        coloured += !grey;
        if (grey) {
            ASSERT_NEAR(p[0], intensity.values[i], 1) << i;
        }
    }
    EXPECT_LT(coloured, 0.05 * static_cast<double>(intensity.values.size()));
    EXPECT_NE(Picture(photo, full), pale);
}

TEST_F(ColourTest, VisitsRangesInOrderAndTellsPixels) {
    std::vector<Pixels<std::uint16_t>> frames(8, Pixels<std::uint16_t>(5, 4, 1));
    for (std::size_t n = 0; n < frames.size(); ++n) frames[n].At(3, 2) = static_cast<std::uint16_t>(1000 + n);
    WritePicture<std::uint16_t>(Path("stack.tif"), frames);
    const Outcome run =
        Render({Path("stack.tif"), "-o", Path("o.png"), "-q", "--ranges", "5-6,1,6-7", "--pixel", "3,2"});
    std::string lines;
    for (const char* n : {"5", "6", "1", "6", "7"})
        lines += Path("stack.tif") + " frame " + n + " of 8: pixel 3,2: 100" + n + "\n";
    EXPECT_EQ(run.out, lines);
    EXPECT_EQ(Files(), (std::vector<std::string>{"o_0001.png", "o_0005.png", "o_0006.png", "o_0007.png",
                                                 "stack.tif"}));

    // Colour as a user names it; bits from the left; what was asked for instead of the file's values.
    Shown colour(3, 2, 3);
    colour.values[0] = 10, colour.values[1] = 20, colour.values[2] = 30;
    WritePicture<std::uint8_t>(Path("colour.png"), {colour});
    const auto text = [&](std::vector<std::string> options) {
        const std::string out = Render(options).out;
        return out.substr(std::min(out.size(), out.rfind(": ") + 2));
    };
    EXPECT_EQ(text({Path("colour.png"), "--pixel", "0,0"}), "10 20 30\n");
    EXPECT_EQ(text({Path("colour.png"), "--pixel", "0,0", "--levels", "0:51", "--bake"}), "50 100 150\n");
    EXPECT_EQ(text({Path("colour.png"), "--pixel", "0,0", "--channel", "intensity"}), "20\n");
    Shown bits(11, 1, 1);
    bits.values[9] = 255;
    WritePicture<std::uint8_t>(Path("bits.tif"), {bits}, 1);
    for (int x = 0; x < 11; ++x)
        EXPECT_EQ(text({Path("bits.tif"), "--pixel", std::to_string(x) + ",0"}), x == 9 ? "1\n" : "0\n") << x;
}

}  // namespace
