// Scenes: what is lost or changed on the way into the file and back, pictures that differ between a scene,
// its command and the options by hand, and files that are written over although they were not understood.
#include "apps/scene/scene.h"

#include <algorithm>
#include <fstream>

#include "apps/scene/command.h"
#include "program.h"

namespace {

class SceneTest : public AppTest {
  protected:
    int Any(int low, int high) { return std::uniform_int_distribution(low, high)(random); }
    double Share() { return Any(0, 1000) / 1000.0; }

    Tone AnyTone() {
        Tone tone;
        tone.bend = static_cast<Bend>(Any(0, 3));
        double in = 0;
        if (Any(0, 1)) {
            for (int i = Any(2, 5); i > 0; --i) tone.points.push_back({in += Any(1, 200) / 1000.0, Share()});
        }
        if (Any(0, 1)) tone.gamma = 0.1 + Share();
        tone.inverted = Any(0, 1);
        return tone;
    }

    // A layer of a file, with any look that its number of channels allows.
    Layer AnyLayer(const std::string& file, int channels) {
        Layer layer;
        layer.file = Path(file);
        layer.opacity = Any(0, 1) ? 1 : Share();
        layer.x = Any(-9, 9);
        layer.y = Any(-9, 9);
        if (channels == 1 && Any(0, 2) == 0) {
            layer.role = Any(0, 1) ? Role::Mask : Role::Boundary;
            layer.colour = static_cast<Colour>(Any(1, 7));
            layer.threshold = pzel_io::Window{Share() * 100, 150 + Share()};
            return layer;
        }
        for (int i = Any(0, 1) ? 1 : channels; i > 0; --i)
            layer.look.levels.push_back({LevelSpec::Kind::Given, double(Any(0, 90)), double(Any(91, 255))});
        for (Tone& tone : layer.look.tones = Tones(Any(0, 1) ? 1 : channels)) tone = AnyTone();
        if (channels == 3 && Any(0, 1)) layer.look.channel = static_cast<Channel>(Any(1, 3));
        return layer;
    }

    Scene AnyScene(const std::string& name) {
        Scene scene;
        scene.name = name;
        scene.layers = {AnyLayer("colour.png", 3)};
        if (Any(0, 2)) scene.layers.push_back(AnyLayer("it's grey.png", 1));
        if (Any(0, 1)) scene.layers.push_back(AnyLayer("colour.png", 3));
        scene.zoom = Any(-3, 4);
        if (Any(0, 1)) scene.area = Area{1, 2, 8, 9};
        return scene;
    }

    void WriteFiles() {
        Shown colour(20, 16, 3), grey(18, 14, 1);
        for (auto* picture : {&colour, &grey})
            for (auto& value : picture->values) value = std::uint8_t(Any(0, 255));
        WritePicture<std::uint8_t>(Path("colour.png"), {colour});
        WritePicture<std::uint8_t>(Path("it's grey.png"), {grey});
    }
};

// A scene is what its arguments are: they name every setting.
std::vector<std::string> Arguments(const Scene& scene) {
    return RenderArguments(scene, Frames::Ranges, "out.png");
}

TEST_F(SceneTest, ShowAlikeFromFileCommandAndWindow) {
    WriteFiles();
    const SceneFile file(Path("colour.png"));
    std::vector<Scene> scenes;
    for (int i = 0; i < 12; ++i) file.Store(scenes.emplace_back(AnyScene("scene " + std::to_string(i))));
    const auto read = file.Read();
    ASSERT_EQ(read.size(), scenes.size());
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        EXPECT_EQ(Arguments(read[i]), Arguments(scenes[i]));
        const std::string byName = Path("by-name.png"), byCommand = Path("by-command.png");
        const Outcome scene = Render({Path("colour.png"), "--scene", scenes[i].name, "-q", "-o", byName});
        ASSERT_EQ(scene.status, 0) << scene.err;
        const auto arguments = RenderArguments(scenes[i], Frames::Ranges, byCommand);
        const Outcome command = Shell(ShellCommand(PZEL_RENDER, arguments));
        ASSERT_EQ(command.status, 0) << command.err;
        EXPECT_EQ(ReadBytes(byName), ReadBytes(byCommand)) << ShellCommand("pzel-render", arguments);
    }
}

// The same by options that the command line had before there were scenes.
TEST_F(SceneTest, IsWhatOptionsSay) {
    WriteFiles();
    Scene scene;
    scene.name = "warm";
    Layer layer;
    layer.file = Path("colour.png");
    layer.look.levels = ParseLevels("10:200,0:255,40:250");
    layer.look.gamma = 1.4;
    layer.look.invert = true;
    scene.layers = {layer};
    scene.zoom = 2;
    SceneFile(layer.file).Store(scene);
    const Shown told =
        Picture(layer.file, {"--levels", "10:200,0:255,40:250", "--gamma", "1.4", "--invert", "--zoom", "2"});
    EXPECT_EQ(Picture(layer.file, {"--scene", "warm"}), told);
    EXPECT_EQ(Picture(layer.file, {"--scene", "warm", "--zoom", "1"}).width, 20);
    const Outcome none = Render({layer.file, "--scene", "cold", "-o", Path("none.png")});
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("has no scene 'cold'; it has warm"), std::string::npos) << none.err;
}

TEST_F(SceneTest, KeepsFramesOrderAndNames) {
    const SceneFile file(Path("film.mp4"));
    Scene scene;
    scene.layers.emplace_back();
    scene.layers[0].file = Path("film.mp4");
    scene.layers[0].name = "the \"film\"";
    scene.frame = 7;
    scene.ranges = {{5, 9}, {2, 2}};
    scene.keep = {1, 3};
    scene.cut = {4};
    scene.rate = 12.5;
    for (const char* name : {"b", "a", "c"}) {
        scene.name = name;
        file.Store(scene);
    }
    file.Rename("a", "d");
    file.Remove("b");
    scene.rate = 25;
    file.Store(scene);  // in its place
    EXPECT_THROW(file.Rename("c", "d"), pzel_io::FileError);
    EXPECT_THROW(file.Remove("a"), pzel_io::FileError);
    const auto scenes = file.Read();
    ASSERT_EQ(scenes.size(), 2U);
    EXPECT_EQ(scenes[0].name, "d");
    EXPECT_EQ(scenes[0].rate, 12.5);
    EXPECT_EQ(scenes[1].rate, 25);
    EXPECT_EQ(scenes[1].ranges, scene.ranges);
    EXPECT_EQ(scenes[1].keep, scene.keep);
    EXPECT_EQ(scenes[1].cut, scene.cut);
    EXPECT_EQ(scenes[1].layers[0].name, scene.layers[0].name);
    EXPECT_EQ(Arguments(scenes[1]), Arguments(scene));
    file.Remove("d");
    file.Remove("c");
    EXPECT_EQ(Files(), std::vector<std::string>{});
}

TEST_F(SceneTest, LeavesAloneWhatIsNotUnderstood) {
    WriteFiles();
    const std::string layers = R"("layers":[{"file":"colour.png"}])";
    const auto whole = [](const std::string& scene) {
        return R"({"pzel-scenes":1,"scenes":[{)" + scene + "}]}";
    };
    const std::vector<std::string> broken = {
        "",
        "{",
        "[]",
        R"({"pzel-scenes":2,"scenes":[]})",
        R"({"scenes":[]})",
        whole(layers),
        whole(R"("name":"a")"),
        whole(R"("name":"a","layers":[])"),
        whole(R"("name":7,)" + layers),
        whole(R"("name":"a","zoom":1.5,)" + layers),
        whole(R"("name":"a","zoom":200,)" + layers),
        whole(R"("name":"a","area":[1,2,3],)" + layers),
        whole(R"("name":"a","area":[3,0,1,0],)" + layers),
        whole(R"("name":"a","ranges":[[4,3]],)" + layers),
        whole(R"("name":"a","other":1,)" + layers),
        whole(R"("name":"a","keep":[-1],)" + layers),
        whole(R"("name":"a","layers":[{"file":"colour.png","options":"levels=x"}])"),
        whole(R"("name":"a","layers":[{"file":"colour.png","options":"curve=0.5:0.5"}])"),
        whole(R"("name":"a","layers":[{"file":"colour.png","stack":[1]}])"),
        whole(R"("name":"a",)" + layers + R"(},{"name":"a",)" + layers)};
    const SceneFile file(Path("colour.png"));
    Scene scene = AnyScene("new");
    for (const std::string& text : broken) {
        std::ofstream(file.File(), std::ios::binary) << text;
        const Outcome run = Render({Path("colour.png"), "--scene", "a", "-o", Path("out.png")});
        EXPECT_EQ(run.status, 1) << text;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_NE(run.err.find("colour.png.pzel.json: "), std::string::npos) << run.err;
        EXPECT_THROW(file.Store(scene), pzel_io::FileError) << text;
        EXPECT_EQ(ReadBytes(file.File()), text);
    }
}

// A line through points meets them, and never leaves what lies between two of them.
TEST_F(SceneTest, CurvesStayBetweenTheirPoints) {
    for (int i = 0; i < 200; ++i) {
        const Tone tone = AnyTone();
        EXPECT_EQ(ParseTone(ToneText(tone)), tone) << ToneText(tone);
        Tone line;
        line.points = tone.points;
        for (std::size_t p = 0; p + 1 < line.points.size(); ++p) {
            const TonePoint &from = line.points[p], &to = line.points[p + 1];
            EXPECT_NEAR(line.At(from.in), from.out, 1e-12);
            double last = from.out;
            for (int step = 0; step <= 20; ++step) {
                const double v = line.At(from.in + step / 20.0 * (to.in - from.in));
                EXPECT_GE((v - last) * (to.out >= from.out ? 1 : -1), -1e-9) << ToneText(line);
                last = v;
            }
        }
    }
}

}  // namespace
