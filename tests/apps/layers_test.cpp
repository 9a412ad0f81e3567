// Layers: pictures that are put together wrongly at some place, opacity, depth or zoom; arguments taken apart
// wrongly; fields that lose or mix rows.
#include <algorithm>
#include <limits>
#include <optional>
#include <type_traits>

#include "program.h"

namespace {

// A layer as the command line has it and as the test computes it.
struct TestLayer {
    std::string argument;
    Shown shown;           // of a mask or an outline: 255 where it is set
    bool overlay = false;  // only what is set is drawn, in red or white
    bool lines = false;
    bool white = false;
    bool hidden = false;
    int x = 0, y = 0;
    int transparency = 0;  // of 128

    bool IsSet(int column, int row) const {
        return column >= 0 && row >= 0 && column < shown.width && row < shown.height &&
               shown.At(column, row) != 0;
    }
    bool UpperEdge(int column, int row) const { return IsSet(column, row) != IsSet(column, row - 1); }
    bool LeftEdge(int column, int row) const { return IsSet(column, row) != IsSet(column - 1, row); }
    // Set pixels at the border of the picture, where nothing follows them.
    bool LastRow(int column, int row) const { return row == shown.height - 1 && IsSet(column, row); }
    bool LastColumn(int column, int row) const { return column == shown.width - 1 && IsSet(column, row); }
};

// The zoom of one axis: source pixels for each shown one, and shown ones for each source pixel.
struct Zoom {
    explicit Zoom(int n) : step(std::max(-n, 1)), repeat(std::max(n, 1)) {}
    int step, repeat;
};

class LayersTest : public AppTest {
  protected:
    int Any(int low, int high) { return std::uniform_int_distribution(low, high)(random); }

    // A file of any kind with a random picture, and any options.
    TestLayer AnyLayer(int number) {
        TestLayer layer;
        const int kind = Any(0, 5);
        layer.overlay = kind >= 3;
        layer.lines = kind == 5;
        layer.shown = Shown(Any(1, 30), Any(1, 25), kind == 2 ? 3 : 1);
        const bool bits = kind == 0 || layer.overlay;
        for (auto& value : layer.shown.values) value = std::uint8_t(bits ? Any(0, 1) * 255 : Any(0, 255));
        const std::string name = Path(std::to_string(number) + ".tif");
        std::string options;
        if (kind == 4) {  // by a threshold
            Pixels<std::uint16_t> words(layer.shown.width, layer.shown.height, 1);
            for (std::size_t i = 0; i < words.values.size(); ++i)
                words.values[i] = std::uint16_t(layer.shown.values[i] ? Any(300, 900)
                                                : Any(0, 1)           ? Any(0, 299)
                                                                      : 901);
            WritePicture<std::uint16_t>(name, {words});
            options = ",threshold=300:900";
        } else {
            WritePicture<std::uint8_t>(name, {layer.shown}, bits && Any(0, 1) ? 1 : 0);
            if (layer.overlay) options = layer.lines ? ",boundary" : ",mask";
        }
        if (layer.overlay && Any(0, 1)) layer.white = true, options += ",white";
        const int opacity = Any(0, 2);
        layer.transparency = layer.overlay && !layer.lines ? 64 : 0;
        if (opacity == 0) layer.transparency = 96, options += ",0.25";
        if (opacity == 1) layer.transparency = 0, options += ",1";
        if (Any(0, 1)) {
            layer.x = Any(-9, 20), layer.y = Any(-9, 20);
            options += (layer.x < 0 ? "," : ",+") + std::to_string(layer.x) + (layer.y < 0 ? "" : "+") +
                       std::to_string(layer.y);
        }
        if (number > 0 && Any(0, 5) == 0) layer.hidden = true, options += ",hidden";
        layer.argument = options.empty() ? name : name + "@" + options.substr(1);
        return layer;
    }

    // What a layer draws at a shown pixel whose first source pixel is (x, y): red, green and blue.
    static std::optional<std::vector<int>> Drawn(const TestLayer& layer, int x, int y, int phaseX, int phaseY,
                                                 const Zoom& zoom) {
        x -= layer.x, y -= layer.y;
        if (layer.hidden || x < 0 || y < 0 || x >= layer.shown.width || y >= layer.shown.height) return {};
        const std::vector<int> colour = {255, layer.white ? 255 : 0, layer.white ? 255 : 0};
        if (!layer.overlay) {
            const int c = layer.shown.channels - 1;
            return std::vector<int>{layer.shown.At(x, y), layer.shown.At(x, y, c / 2),
                                    layer.shown.At(x, y, c)};
        }
        bool covered = layer.IsSet(x, y);
        if (layer.lines) {
            covered = false;
            for (int row = y; row < std::min(y + zoom.step, layer.shown.height); ++row)
                for (int column = x; column < std::min(x + zoom.step, layer.shown.width); ++column)
                    covered |= (phaseY == 0 && layer.UpperEdge(column, row)) ||
                               (phaseX == 0 && layer.LeftEdge(column, row)) ||
                               (phaseY == zoom.repeat - 1 && layer.LastRow(column, row)) ||
                               (phaseX == zoom.repeat - 1 && layer.LastColumn(column, row));
        }
        return covered ? std::optional(colour) : std::nullopt;
    }

    static Shown Composed(const std::vector<TestLayer>& layers, int n) {
        int left = 99, top = 99, right = -99, bottom = -99;
        bool colour = false;
        for (const TestLayer& layer : layers) {
            if (layer.hidden) continue;
            left = std::min(left, layer.x), top = std::min(top, layer.y);
            right = std::max(right, layer.x + layer.shown.width);
            bottom = std::max(bottom, layer.y + layer.shown.height);
            colour |= layer.overlay ? !layer.white : layer.shown.channels == 3;
        }
        const Zoom zoom(n);
        const auto size = [&](int from, int to) {
            return (to - from + zoom.step - 1) / zoom.step * zoom.repeat;
        };
        Shown picture(size(left, right), size(top, bottom), colour ? 3 : 1);
        for (int j = 0; j < picture.height; ++j) {
            for (int i = 0; i < picture.width; ++i) {
                for (const TestLayer& layer : layers) {
                    const auto drawn =
                        Drawn(layer, left + i / zoom.repeat * zoom.step, top + j / zoom.repeat * zoom.step,
                              i % zoom.repeat, j % zoom.repeat, zoom);
                    for (int c = 0; drawn && c < picture.channels; ++c) {
                        std::uint8_t& to = picture.At(i, j, c);
                        to = std::uint8_t(
                            ((*drawn)[c] * (128 - layer.transparency) + to * layer.transparency + 64) / 128);
                    }
                }
            }
        }
        return picture;
    }

    // The arrow of a field of one vector everywhere, in the middle of 48 x 16 pixels.
    void ExpectArrow(const std::string& field) {
        const Shown arrow = Picture(field + "@vectors,green", {"--area", "0,0,47,15"});
        const Shown shrunk = Picture(field + "@vectors,green", {"--area", "0,0,47,15", "--zoom", "-2"});
        for (int x = 8; x < 40; ++x) {
            EXPECT_EQ(arrow.At(x, 8, 1), 255) << x;
            EXPECT_EQ(arrow.At(x, 8, 0), 0) << x;
            EXPECT_EQ(shrunk.At(x / 2, 4, 1), 255) << x;
        }
        EXPECT_EQ(arrow.At(7, 8, 1) + arrow.At(40, 8, 1) + arrow.At(20, 2, 1), 0);
        EXPECT_EQ(arrow.At(38, 7, 1) + arrow.At(38, 9, 1), 510) << "the head";
        EXPECT_EQ(shrunk.At(19, 3, 1), 255) << "the head, which stands in a row that is left out";
    }
};

TEST_F(LayersTest, PutsEveryPixelOfEveryLayerInItsPlace) {
    for (int round = 0; round < 30; ++round) {
        std::vector<TestLayer> layers;
        std::vector<std::string> options;
        for (int i = Any(0, 3); i >= 0; --i) {
            layers.push_back(AnyLayer(static_cast<int>(layers.size())));
            if (i > 0) options.push_back(layers.back().argument);
        }
        const int zoom = Any(-3, 3);
        options.insert(options.end(), {"--zoom", std::to_string(zoom)});
        const Shown whole = Composed(layers, zoom);
        ASSERT_EQ(Picture(layers.back().argument, options), whole)
            << round << testing::PrintToString(options) << layers.back().argument;
        if (zoom > 1 || zoom < -1) continue;
        const int right = Any(0, whole.width - 1), bottom = Any(0, whole.height - 1);
        options.insert(options.end(),
                       {"--area", "0,0," + std::to_string(right) + "," + std::to_string(bottom)});
        const Shown part = Picture(layers.back().argument, options);
        ASSERT_TRUE(part.width == right + 1 && part.height == bottom + 1);
        for (int i = 0; i < part.width * part.height * part.channels; ++i) {
            const int c = i % part.channels, x = i / part.channels % part.width,
                      y = i / part.channels / part.width;
            ASSERT_EQ(part.At(x, y, c), whole.At(x, y, c)) << round << ' ' << x << ',' << y;
        }
    }
}

TEST_F(LayersTest, DrawsFieldsOfEveryTwoChannelsAsArrows) {
    Pixels<float> floats(48, 16, 2);
    Shown bytes(48, 16, 2);
    for (int i = 0; i < 48 * 16; ++i) floats.values[2 * i] = 0.5F, bytes.values[2 * i] = 7;
    // One vector, in the middle cell's left neighbour.
    for (int y = 0; y < 16; ++y)
        for (int x = 16; x < 48; ++x) floats.At(x, y) = std::numeric_limits<float>::quiet_NaN();
    WritePicture<float>(Path("floats.tif"), {floats});
    ExpectArrow(Path("floats.tif"));
    // Grey and alpha to a picture, two numbers to a field.
    WritePicture<std::uint8_t>(Path("pair.png"), {bytes});
    EXPECT_EQ(Picture(Path("pair.png")).values, std::vector<std::uint8_t>(48 * 16, 7));
    const Outcome run = Render({Path("pair.png@vectors"), "--pixel", "3,4"});
    EXPECT_EQ(run.out, Path("pair.png") + ": pixel 3,4: 7 0\n");
}

TEST_F(LayersTest, TakesFramesApartAndWeavesThem) {
    Pixels<std::uint16_t> words(13, 9, 1);
    for (auto& value : words.values) value = std::uint16_t(Any(0, 65535));
    Shown colour(7, 8, 3);
    for (auto& value : colour.values) value = std::uint8_t(Any(0, 255));
    const auto check = [&](const auto& frame, const std::string& ending) {
        using Frame = std::remove_cvref_t<decltype(frame)>;
        Frame fields[2];
        for (int odd = 0; odd < 2; ++odd) {
            fields[odd] = Frame(frame.width, (frame.height + 1 - odd) / 2, frame.channels);
            for (int y = 0; y < fields[odd].height; ++y)
                for (int x = 0; x < frame.width; ++x)
                    for (int c = 0; c < frame.channels; ++c)
                        fields[odd].At(x, y, c) = frame.At(x, 2 * y + odd, c);
            WritePicture(Path(std::to_string(odd) + ending), std::vector<Frame>{fields[odd]});
        }
        WritePicture(Path("whole" + ending), std::vector<Frame>{frame});
        for (const char* layout : {"planar", "interleaved"}) {
            const std::vector<std::string> full = {"--levels", "full", "--layout", layout};
            const Shown whole = Picture(Path("whole" + ending), full);
            std::vector<std::string> weave = full;
            weave.insert(weave.end(), {"--fields", Path("0" + ending), Path("1" + ending)});
            // The input is a layer over the woven frame, and invisible.
            EXPECT_EQ(Picture(Path("0" + ending) + "@0", weave), whole) << ending;
            for (const char* field : {"even", "odd"}) {
                std::vector<std::string> alone = full;
                alone.insert(alone.end(), {"--field", field});
                const Shown shown = Picture(Path("whole" + ending), alone);
                ASSERT_EQ(shown.height, whole.height);
                const int odd = field[0] == 'o', last = fields[odd].height - 1;
                for (int y = 0; y < whole.height; ++y)
                    for (int x = 0; x < whole.width * whole.channels; ++x)
                        ASSERT_EQ(
                            shown.At(x / whole.channels, y, x % whole.channels),
                            whole.At(x / whole.channels, 2 * std::min(y / 2, last) + odd, x % whole.channels))
                            << field << ' ' << x << ',' << y;
            }
        }
    };
    check(words, ".tif");
    check(colour, ".png");
}

TEST_F(LayersTest, GoesThroughFramesAndTellsEveryLayer) {
    Shown grey(4, 3, 1);
    std::vector<Shown> frames(3, grey);
    for (int n = 0; n < 3; ++n) frames[n].At(1, 1) = std::uint8_t(10 * n + 10);
    WritePicture<std::uint8_t>(Path("stack.tif"), frames);
    WritePicture<std::uint8_t>(Path("still.tif"), {grey});
    const Outcome run =
        Render({Path("still.tif"), Path("stack.tif@0.5,+2+0"),
                Path("stack.tif@threshold=15:20,boundary,white"), "-o", Path("o.png"), "--all"});
    EXPECT_EQ(run.status, 0) << run.err;
    for (int n = 0; n < 3; ++n) {
        const Shown shown = ReadShown(Path("o_000" + std::to_string(n) + ".png"));
        EXPECT_EQ(shown.At(3, 1), 5 * n + 5);
        EXPECT_EQ(shown.At(1, 1), n == 1 ? 255 : 0);
        const std::string frame =
            " + " + Path("stack.tif") + " frame " + std::to_string(n) + " of 3: uint8 x 1 grey, 4 x 3, ";
        const std::string line = frame + "levels 0:255, opacity 0.5, at 2,0" + frame +
                                 "boundary of 15:20 in white, 6 x 3 bitmap of 8 bits in ";
        EXPECT_NE(run.out.find(line), std::string::npos) << run.out;
    }
    const Outcome info = Render({Path("still.tif"), Path("stack.tif@hidden"), "--info"});
    EXPECT_NE(info.out.find("frames:       1\n"), std::string::npos);
    EXPECT_NE(info.out.find("frames:       3\n"), std::string::npos);
    const Outcome pixel = Render(
        {Path("stack.tif@threshold=15:20,boundary"), Path("still.tif"), "--pixel", "1,1", "--ranges", "2,1"});
    EXPECT_EQ(pixel.out, Path("stack.tif") + " frame 2 of 3: pixel 1,1: 0\n" + Path("stack.tif") +
                             " frame 1 of 3: pixel 1,1: 1\n");
}

TEST_F(LayersTest, FindsTheFileInTheArgument) {
    Shown grey(1, 1, 1);
    const auto write = [&](const std::string& name, int value) {
        grey.At(0, 0) = std::uint8_t(value);
        WritePicture<std::uint8_t>(Path("written.png"), {grey});
        std::filesystem::rename(Path("written.png"), Path(name));
    };
    write("a.png", 100);
    write("a.png@0.5", 40);
    write("b@red", 60);
    write("c", 80);
    const auto value = [&](const std::string& argument) { return int(Picture(Path(argument)).At(0, 0)); };
    EXPECT_EQ(value("a.png"), 100);
    EXPECT_EQ(value("a.png@0.25"), 25);
    EXPECT_EQ(value("a.png@0.5"), 40) << "a file of that name";
    EXPECT_EQ(value("a.png@0.5@0.5"), 20);
    EXPECT_EQ(value("a.png@0.50"), 50);
    EXPECT_EQ(value("b@red"), 60);
    EXPECT_EQ(value("b@red@"), 60);
    EXPECT_EQ(value("c@"), 80);
    EXPECT_EQ(value("c@levels=0:160"), 128);
}

}  // namespace
