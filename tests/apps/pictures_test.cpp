// What becomes of many files and frames, and of a picture at the end: stacks, sheets, shrinking, turning,
// colours.
#include <algorithm>
#include <cmath>

#include "program.h"

namespace {

Shown Turned(const Shown& picture) {  // by 90 degrees, clockwise
    Shown turned(picture.height, picture.width, picture.channels);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            for (int c = 0; c < picture.channels; ++c)
                turned.At(picture.height - 1 - y, x, c) = picture.At(x, y, c);
    return turned;
}

Shown Mirrored(const Shown& picture) {
    Shown mirrored = picture;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            for (int c = 0; c < picture.channels; ++c)
                mirrored.At(picture.width - 1 - x, y, c) = picture.At(x, y, c);
    return mirrored;
}

// The mean over the area that a smaller pixel covers, by as many samples as show it.
double MeanOf(const Shown& picture, double left, double right, double top, double bottom, int c) {
    double sum = 0, area = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const double wide = std::min(right, x + 1.0) - std::max(left, static_cast<double>(x));
            const double high = std::min(bottom, y + 1.0) - std::max(top, static_cast<double>(y));
            if (wide <= 0 || high <= 0) continue;
            sum += wide * high * picture.At(x, y, c);
            area += wide * high;
        }
    }
    return sum / area;
}

class PicturesTest : public AppTest {
  protected:
    Shown Noise(int width, int height, int channels) {
        Shown noise(width, height, channels);
        for (auto& value : noise.values) value = static_cast<std::uint8_t>(random());
        return noise;
    }
    // A picture of one value.
    std::string Flat(const std::string& name, int value, int width = 4) {
        Shown flat(width, 3, 1);
        std::fill(flat.values.begin(), flat.values.end(), static_cast<std::uint8_t>(value));
        WritePicture<std::uint8_t>(Path(name), {flat});
        return Path(name);
    }
    // The values that the pixel at the origin has in frame after frame.
    static std::string Values(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--all", "--pixel", "0,0"});
        const Outcome run = Render(arguments);
        EXPECT_EQ(run.err, "");
        std::string values;
        std::size_t start = 0;
        for (std::size_t end; (end = run.out.find('\n', start)) != std::string::npos; start = end + 1) {
            const std::size_t colon = run.out.rfind(": ", end);
            values += run.out.substr(colon + 2, end - colon - 2) + " ";
        }
        return values;
    }
};

TEST_F(PicturesTest, StacksFilesInTheOrderOfTheirNumbers) {
    std::filesystem::create_directory(Path("slices"));
    Flat("slices/a10.png", 10);
    Flat("slices/a9.png", 9);
    Flat("slices/a100.png", 100);
    WriteBytes("slices/notes.txt", "no picture");
    EXPECT_EQ(Values({Path("slices")}), "9 10 100 ");
    EXPECT_EQ(Values({Path("slices/a?.png")}), "9 ");
    EXPECT_EQ(Values({"--stack", Path("slices/a100.png"), Path("slices/a9.png"), "--order", "given"}),
              "100 9 ");
    EXPECT_EQ(Values({"--stack", Path("slices/a100.png"), Path("slices/a9.png")}), "9 100 ");
    EXPECT_NE(Render({Path("slices"), "-o", Path("o.png")}).out.find("1 files that are no pictures left out"),
              std::string::npos);
    // As layers the upper one hides the lower one, which is told; a thin one does not.
    const std::string a = Path("slices/a9.png"), b = Path("slices/a10.png");
    EXPECT_NE(Render({a, b, "-o", Path("o.png")}).out.find(a + ": hidden behind " + b), std::string::npos);
    EXPECT_EQ(Render({a, b + "@0.5", "-o", Path("o.png")}).out.find("hidden"), std::string::npos);
    const std::string other = Flat("slices/b.png", 1, 5);
    const Outcome refused = Render({Path("slices"), "--pixel", "0,0"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find(other + ": does not fit into a stack"), std::string::npos) << refused.err;
    EXPECT_NE(Render({"--stack", Path("slices/a9.png"), "--order", "position", "--pixel", "0,0"})
                  .err.find("tells no position"),
              std::string::npos);
}

TEST_F(PicturesTest, TakesStepsAndFramesOfTheirOwn) {
    std::vector<Shown> frames(7, Shown(4, 3, 1));
    for (std::size_t i = 0; i < frames.size(); ++i) frames[i].At(0, 0) = static_cast<std::uint8_t>(i);
    WritePicture<std::uint8_t>(Path("stack.tif"), frames);
    const auto numbers = [&](const char* option, const char* span) {
        const Outcome run = Render({Path("stack.tif"), option, span, "--pixel", "0,0"});
        std::string all;
        for (std::size_t at = 0; (at = run.out.find(": ", run.out.find("pixel", at))) != std::string::npos;
             ++at)
            all += run.out[at + 2];
        return all;
    };
    EXPECT_EQ(numbers("--frames", "4-"), "456");
    EXPECT_EQ(numbers("--frames", "0-5:2"), "024");
    EXPECT_EQ(numbers("--frames", "1-:5"), "16");
    EXPECT_EQ(numbers("--ranges", "5-,0-2:2"), "5602");
    // One frame stands still while the others go on.
    const Outcome run =
        Render({Path("stack.tif") + "@frame=2", Path("stack.tif") + "@frame=5", "--difference"});
    EXPECT_NE(run.out.find("3"), std::string::npos) << run.out;
}

TEST_F(PicturesTest, MakesMasksOfLabelsAndColours) {
    Shown labels(8, 2, 1), colours(8, 2, 3);
    for (int x = 0; x < 8; ++x) {
        labels.At(x, 0) = static_cast<std::uint8_t>(x % 4);
        colours.At(x, 1, x % 3) = 200;
    }
    WritePicture<std::uint8_t>(Path("labels.png"), {labels});
    WritePicture<std::uint8_t>(Path("colours.png"), {colours});
    const Shown three = Picture(Path("labels.png") + "@mask=3,white,1");
    const Shown green = Picture(Path("colours.png") + "@mask=#00c800,white,1");
    const Shown any = Picture(Path("colours.png") + "@mask,white,1");
    for (int x = 0; x < 8; ++x) {
        EXPECT_EQ(three.At(x, 0), x % 4 == 3 ? 255 : 0);
        EXPECT_EQ(green.At(x, 1), x % 3 == 1 ? 255 : 0);
        EXPECT_EQ(any.At(x, 0), 0);
        EXPECT_EQ(any.At(x, 1), 255);
    }
}

TEST_F(PicturesTest, ShrinksByMeansAndTurnsEveryPixel) {
    for (const int channels : {1, 3}) {
        const Shown noise = Noise(61, 37, channels);
        WritePicture<std::uint8_t>(Path("noise.png"), {noise});
        const Shown small = Picture(Path("noise.png"), {"--fit", "17x100"});
        ASSERT_EQ(small.width, 17);
        ASSERT_EQ(small.height, 10);
        for (int y = 0; y < small.height; ++y) {
            for (int x = 0; x < small.width; ++x) {
                for (int c = 0; c < channels; ++c) {
                    const double mean =
                        MeanOf(noise, x * 61 / 17.0, (x + 1) * 61 / 17.0, y * 3.7, (y + 1) * 3.7, c);
                    ASSERT_NEAR(small.At(x, y, c), mean, 0.51) << x << "," << y;
                }
            }
        }
        EXPECT_EQ(Picture(Path("noise.png"), {"--fit", "100x37"}), noise);
        const Shown right = Turned(noise);
        EXPECT_EQ(Picture(Path("noise.png"), {"--turn", "90"}), right);
        EXPECT_EQ(Picture(Path("noise.png"), {"--turn", "180"}), Turned(right));
        EXPECT_EQ(Picture(Path("noise.png"), {"--turn", "270"}), Turned(Turned(right)));
        EXPECT_EQ(Picture(Path("noise.png"), {"--flip", "horizontal"}), Mirrored(noise));
        EXPECT_EQ(Picture(Path("noise.png"), {"--flip", "vertical", "--turn", "180"}), Mirrored(noise));
    }
}

TEST_F(PicturesTest, BendsByCurvesAndColoursByMaps) {
    Shown ramp(256, 1, 1);
    for (int v = 0; v < 256; ++v) ramp.values[static_cast<std::size_t>(v)] = static_cast<std::uint8_t>(v);
    WritePicture<std::uint8_t>(Path("ramp.png"), {ramp});
    const Shown log = Picture(Path("ramp.png"), {"--curve", "log", "--bake"});
    const Shown asinh = Picture(Path("ramp.png"), {"--curve", "asinh", "--bake"});
    const Shown root = Picture(Path("ramp.png"), {"--curve", "sqrt", "--bake"});
    const Shown hot = Picture(Path("ramp.png"), {"--colormap", "hot"});
    const Shown viridis = Picture(Path("ramp.png"), {"--colormap", "viridis"});
    for (int v = 0; v < 256; ++v) {
        const double share = v / 255.0;
        EXPECT_NEAR(log.At(v, 0), 255 * std::log1p(1000 * share) / std::log(1001), 1) << v;
        EXPECT_NEAR(asinh.At(v, 0), 255 * std::asinh(10 * share) / std::asinh(10), 1) << v;
        EXPECT_NEAR(root.At(v, 0), 255 * std::sqrt(share), 1) << v;
        EXPECT_NEAR(hot.At(v, 0, 0), 255 * std::min(1.0, share * 8 / 3), 1) << v;
        EXPECT_NEAR(hot.At(v, 0, 2), 255 * std::max(0.0, share * 4 - 3), 1) << v;
    }
    constexpr int kEnds[2][3] = {{68, 1, 84}, {253, 231, 37}};
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(viridis.At(0, 0, c), kEnds[0][c]);
        EXPECT_EQ(viridis.At(255, 0, c), kEnds[1][c]);
    }
    // A part of a coloured layer keeps its place.
    const Shown part =
        Picture(Path("ramp.png") + "@colormap=hot", {Path("ramp.png") + "@+0+5", "--area", "100,0,150,5"});
    for (int x = 0; x < 51; ++x) EXPECT_EQ(part.At(x, 0, 0), hot.At(x + 100, 0, 0)) << x;
    EXPECT_EQ(Render({PictureSample("coffee.png"), "--colormap", "hot", "-o", Path("o.png")}).status, 1);
}

TEST_F(PicturesTest, PutsPicturesOnSheetsAndIntoFolders) {
    const Shown wide = Noise(20, 8, 1), tall = Noise(6, 14, 3), last = Noise(20, 14, 1);
    WritePicture<std::uint8_t>(Path("wide.png"), {wide});
    WritePicture<std::uint8_t>(Path("tall.png"), {tall});
    WritePicture<std::uint8_t>(Path("last.png"), {last});
    const std::vector<std::string> inputs = {"--each", Path("wide.png"), Path("tall.png"), Path("last.png"),
                                             "-q"};
    auto arguments = inputs;
    arguments.insert(arguments.end(), {"-o", Path("sheet.png"), "--montage", "2x2", "--no-titles"});
    ASSERT_EQ(Render(arguments).status, 0);
    const Shown sheet = ReadShown(Path("sheet.png"));
    ASSERT_EQ(sheet.width, 2 * 20 + 3 * 4);
    ASSERT_EQ(sheet.height, 2 * 14 + 3 * 4);
    const auto expectAt = [&](const Shown& cell, int left, int top) {
        for (int y = 0; y < cell.height; ++y)
            for (int x = 0; x < cell.width; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(sheet.At(left + x, top + y, c), cell.At(x, y, cell.channels == 3 ? c : 0));
    };
    expectAt(wide, 4, 4 + 3);
    expectAt(tall, 28 + 7, 4);
    expectAt(last, 4, 22);
    arguments.pop_back();
    ASSERT_EQ(Render(arguments).status, 0);
    EXPECT_GT(ReadShown(Path("sheet.png")).height, sheet.height);  // titles need room
    auto each = inputs;
    each.insert(each.end(), {Path("missing.png"), "-o", Path("each/")});
    const Outcome run = Render(each);
    EXPECT_EQ(run.status, 1);  // of the missing one; the others are there
    EXPECT_EQ(ReadShown(Path("each/wide.png")), wide);
    EXPECT_EQ(ReadShown(Path("each/last.png")), last);
}

}  // namespace
