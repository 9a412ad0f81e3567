// Scenes: what is shown again is not what was kept, a list that is not the file's.
#include <QListWidget>
#include <QPushButton>
#include <algorithm>
#include <fstream>

#include "window.h"

namespace {

using ScenesTest = WindowTest;

TEST_F(ScenesTest, AreShownAgainByWhoeverOpensThePicture) {
    WritePicture<std::uint8_t>(Path("below.png"), {AnyPixels<std::uint8_t>(random, 90, 70, 3, 0, 255)});
    WritePicture<std::uint16_t>(Path("above.tif"), {AnyPixels<std::uint16_t>(random, 60, 50, 1, 0, 900)});
    Open({Path("below.png"), Path("above.tif") + "@threshold=300:600,green,0.25,+12+9"});
    pzel_view::LayerState state = State();
    state.levels = {{10, 200}, {20, 210}, {30, 220}};
    state.tones = {ParseTone("gamma=1.5+invert")};
    state.area = Area{5, 3, 80, 61};
    document->Change(Active(), "Test", state);
    Find<QPushButton>("scenes.keep").click();
    ExpectCommandMakesPicture(1);
    const QImage painted = Painted();
    const Outcome run =
        Render({Path("below.png"), "--scene", "Scene 1", "--zoom", "1", "-q", "-o", Path("kept.png")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(painted ==
                QImage(QString::fromStdString(Path("kept.png"))).convertToFormat(QImage::Format_RGB888));
    // With fewer layers than the scene has, which are opened.
    Open({Path("below.png")});
    auto& list = Find<QListWidget>("scenes.list");
    ASSERT_EQ(list.count(), 1);
    list.setCurrentRow(0);
    Find<QPushButton>("scenes.recall").click();
    ASSERT_TRUE(WaitFor([&] { return document->Layers().size() == 2; }));
    EXPECT_TRUE(Painted() == painted);
    // What is broken stays as it is.
    std::ofstream(Path("below.png.pzel.json")) << "{";
    Find<QPushButton>("scenes.keep").click();
    EXPECT_EQ(ReadBytes(Path("below.png.pzel.json")), "{");
    EXPECT_EQ(failures.size(), 1U);
}

// A list of names with what was shown, beside the file and the panel.
TEST_F(ScenesTest, AreAListOfWhatWasShown) {
    std::vector<Pixels<std::uint16_t>> frames;
    for (int i = 0; i < 6; ++i) frames.push_back(AnyPixels<std::uint16_t>(random, 20, 15, 1, 0, 900));
    WritePicture<std::uint16_t>(Path("film.tif"), frames);
    Open({Path("film.tif"), Path("film.tif") + "@threshold=300:600,green"});
    const auto shown = [&] {
        const Scene scene = pzel_view::SceneOf(*document, "x", window->Picture().Zoom());
        std::string text = ShellCommand("", RenderArguments(scene, Frames::Ranges, "")) + " at " +
                           std::to_string(scene.frame) + " " + std::to_string(scene.zoom);
        for (Comp* comp : document->Layers()) text += std::string(" ") + comp->GetName();
        for (const auto* marks : {&scene.keep, &scene.cut})
            for (const int frame : *marks)
                text += (marks == &scene.keep ? " +" : " -") + std::to_string(frame);
        return text;
    };
    auto& list = Find<QListWidget>("scenes.list");
    const auto press = [&](const char* button) { Find<QPushButton>(button).click(); };
    std::vector<std::pair<std::string, std::string>> model;
    for (int i = 0; i < 120; ++i) {
        pzel_view::LayerState state = State();
        state.opacity = 0.01 * (1 + Any(100));
        state.name = Any(2) ? "film.tif" : "other";
        state.levels = {{1.0 * Any(300), 400.0 + Any(300)}};
        document->Change(Active(), "Change", state);
        document->SetRanges("Ranges", {{Any(3), 3 + Any(3)}});
        FrameInfo marks;
        marks.keepFrames = {Any(6), Any(6)};
        marks.cutFrames = {Any(6)};
        document->SetMarks("Marks", marks);
        window->Picture().SetZoom(1 + Any(9));
        const auto frame = static_cast<std::uint32_t>(Any(6));
        document->GoTo(frame);
        ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == frame; }));
        const std::size_t row = model.empty() ? 0 : random() % model.size();
        list.setCurrentRow(model.empty() ? -1 : static_cast<int>(row));
        const int what = model.size() > 5 ? 3 : model.empty() ? 0 : Any(5);
        failures.clear();
        std::size_t refused = 0;
        if (what == 0) {
            int number = 1;
            const auto isTaken = [&](const std::string& name) {
                return std::any_of(model.begin(), model.end(),
                                   [&](const auto& one) { return one.first == name; });
            };
            while (isTaken("Scene " + std::to_string(number))) ++number;
            model.emplace_back("Scene " + std::to_string(number), shown());
            press("scenes.keep");
            EXPECT_EQ(list.currentRow(), list.count() - 1) << "the new one is chosen";
        } else if (what == 1) {
            model[row].second = shown();
            press("scenes.replace");
        } else if (what == 2) {
            const std::string name = Any(3) ? "Name " + std::to_string(Any(6)) : "  ";
            const bool isOther =
                std::any_of(model.begin(), model.end(), [&](const auto& one) { return one.first == name; });
            refused = isOther && model[row].first != name;
            if (!refused && name != "  ") model[row].first = name;
            list.item(static_cast<int>(row))->setText(QString::fromStdString(name) + " ");
        } else if (what == 3) {
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(row));
            press("scenes.remove");
        } else {
            press("scenes.recall");
            ASSERT_TRUE(WaitFor([&] { return shown() == model[row].second; })) << shown() << "\n"
                                                                               << model[row].second;
            EXPECT_EQ(list.currentItem()->text().toStdString(), model[row].first);
        }
        QTest::qWait(0);
        EXPECT_EQ(failures.size(), refused);
        std::vector<std::string> names, listed, written;
        for (const auto& [name, text] : model) names.push_back(name);
        for (int one = 0; one < list.count(); ++one) listed.push_back(list.item(one)->text().toStdString());
        for (const Scene& scene : SceneFile(Path("film.tif")).Read()) written.push_back(scene.name);
        ASSERT_EQ(listed, names) << i << ": " << what;
        ASSERT_EQ(written, names) << i << ": " << what;
        for (const char* button : {"scenes.recall", "scenes.replace", "scenes.rename", "scenes.remove"})
            EXPECT_EQ(Find<QPushButton>(button).isEnabled(), list.currentItem() != nullptr) << button;
    }
}

}  // namespace
