// Layers: changes that undo does not take back, an order that is not what is seen, masks that do not follow
// their threshold.
#include <QListWidget>
#include <QUndoStack>
#include <algorithm>

#include "apps/view/layer_steps.h"
#include "window.h"

namespace {

using pzel_view::LayerState;

class LayersTest : public WindowTest {
  protected:
    QImage Whole() { return window->Picture().Picture(document->Extent(), 1); }

    void ChangeAnything() {
        const std::vector<Comp*> layers = document->Layers();
        Comp& comp = *layers[random() % layers.size()];
        LayerState state = document->StateOf(comp);
        switch (random() % 7) {
            case 0: state.visible = !state.visible; break;
            case 1: state.opacity = static_cast<double>(random() % 101) / 100; break;
            case 2:
                state.x = static_cast<int>(random() % 60);
                state.y = static_cast<int>(random() % 60);
                break;
            case 3:
                for (pzel_io::Window& level : state.levels)
                    level = {10.0, 50.0 + static_cast<double>(random() % 150)};
                break;
            case 4: state.tones = {Tone{Bend::Log, {}, 1.5, random() % 2 == 0}}; break;
            case 5: state.colour = static_cast<Colour>(1 + random() % 7); break;
            default: document->MoveTo(comp, static_cast<int>(random() % layers.size())); return;
        }
        document->Change(comp, "Change", state);
    }
};

TEST_F(LayersTest, UndoneAndDoneAgain) {
    Open({PictureSample("coffee.png"), DicomSample("CT_small.dcm") + "@0.7,+40+30",
          DicomSample("CT_small.dcm") + "@threshold=250:3000,boundary,red,+40+30"});
    std::vector<QImage> seen = {Whole()};
    std::vector<int> places = {document->History().index()};
    for (int i = 0; i < 40; ++i) {
        ChangeAnything();
        seen.push_back(Whole());
        places.push_back(document->History().index());
    }
    std::vector<std::size_t> visits(seen.size());
    for (std::size_t i = 0; i < visits.size(); ++i) visits[i] = i;
    std::shuffle(visits.begin(), visits.end(), random);
    for (const std::size_t visit : visits) {
        document->History().setIndex(places[visit]);
        EXPECT_TRUE(Whole() == seen[visit]) << "after " << visit << " changes";
    }
}

TEST_F(LayersTest, ComeBackAsTheyWere) {
    Open({PictureSample("coffee.png"), PictureSample("moon.png") + "@0.5"});
    const QImage before = Whole();
    Comp* const moon = document->Layers()[1];
    document->Remove(*moon);
    ASSERT_EQ(document->Layers().size(), 1U);
    EXPECT_FALSE(Whole() == before);
    document->History().undo();
    EXPECT_EQ(document->Layers()[1], moon);
    EXPECT_TRUE(Whole() == before);
    for (int i = 0; i < 2; ++i) document->Remove(*document->Layers()[0]);
    EXPECT_TRUE(document->IsEmpty());
    for (int i = 0; i < 2; ++i) document->History().undo();
    EXPECT_TRUE(Whole() == before);
}

// The list stands upside down: the highest layer first.
TEST_F(LayersTest, TheListShowsAndSetsTheOrder) {
    Open({PictureSample("coffee.png"), PictureSample("moon.png"), PictureSample("camera.png")});
    auto& list = Find<QListWidget>("layers");
    const auto names = [&] {
        QStringList texts;
        for (int i = 0; i < list.count(); ++i) texts << list.item(i)->text();
        return texts.join(' ').toStdString();
    };
    EXPECT_EQ(names(), "camera.png moon.png coffee.png");
    list.model()->moveRow({}, 0, {}, 3);
    ASSERT_TRUE(WaitFor([&] { return document->Layers()[0]->GetName() == std::string("camera.png"); }));
    EXPECT_EQ(names(), "moon.png coffee.png camera.png");
    document->History().undo();
    EXPECT_EQ(names(), "camera.png moon.png coffee.png");
    list.item(1)->setCheckState(Qt::Unchecked);
    EXPECT_FALSE(document->Layers()[1]->IsVisible());
    list.item(1)->setText("The Moon");
    EXPECT_STREQ(document->Layers()[1]->GetName(), "The Moon");
    document->History().undo();
    document->History().undo();
    EXPECT_TRUE(document->Layers()[1]->IsVisible());
    EXPECT_EQ(names(), "camera.png moon.png coffee.png");
}

// Beside a list of what each layer is said to be; the panel's list stands upside down.
TEST_F(LayersTest, StepsAreThoseOfAPlainList) {
    struct Row {
        std::string name;
        bool visible;
        int x, y;
        bool operator==(const Row&) const = default;
    };
    std::vector<Row> rows;
    std::vector<std::string> files;
    for (const char* name : {"a.tif", "b.tif", "c.tif", "d.tif"}) {
        WritePicture<std::uint8_t>(Path(name), {AnyPixels<std::uint8_t>(random, 30, 20, 1, 0, 255)});
        files.push_back(Path(name));
        rows.push_back({name, true, 0, 0});
    }
    Open(files);
    int active = 0;
    const std::vector<std::pair<std::string, std::function<void(Row&)>>> changes = {
        {"layer.left", [](Row& row) { --row.x; }},
        {"layer.right", [](Row& row) { ++row.x; }},
        {"layer.up", [](Row& row) { --row.y; }},
        {"layer.down", [](Row& row) { ++row.y; }},
        {"layer.toggle", [](Row& row) { row.visible = !row.visible; }}};
    const auto& list = Find<QListWidget>("layers");
    for (int i = 0; i < 200; ++i) {
        const int count = static_cast<int>(rows.size()), by = Any(2) ? 1 : -1, to = active + by;
        const bool isInside = to >= 0 && to < count;
        switch (Any(5)) {
            case 0:
                Trigger(by > 0 ? "layer.raise" : "layer.lower");
                if (isInside) std::swap(rows[std::size_t(active)], rows[std::size_t(to)]);
                if (isInside) active = to;
                break;
            case 1:
                Trigger(by > 0 ? "layer.above" : "layer.below");
                if (isInside) active = to;
                break;
            case 2:
                if (count < 4) {
                    Trigger("layer.duplicate");
                    ASSERT_TRUE(WaitFor([&] { return !document->IsReading(); }));
                    const Row copy = rows[std::size_t(active)];
                    rows.insert(rows.begin() + ++active, copy);
                } else {
                    Trigger("layer.remove");
                    rows.erase(rows.begin() + active);
                    active = count - 2;  // the highest one
                }
                break;
            default:
                const auto& [action, change] = changes[random() % changes.size()];
                Trigger(action.c_str());
                change(rows[std::size_t(active)]);
        }
        std::vector<Row> there;
        for (Comp* comp : document->Layers())
            there.push_back({comp->GetName(), comp->IsVisible(), comp->x, comp->y});
        ASSERT_TRUE(there == rows) << i;
        ASSERT_EQ(Active().GetIndex(), active) << i;
        ASSERT_EQ(list.count(), static_cast<int>(rows.size()));
        EXPECT_EQ(list.currentRow(), list.count() - 1 - active);
        for (int row = 0; row < list.count(); ++row) {
            const Row& said = rows[rows.size() - 1 - std::size_t(row)];
            EXPECT_EQ(list.item(row)->text().toStdString(), said.name);
            EXPECT_EQ(list.item(row)->checkState() == Qt::Checked, said.visible);
        }
    }
}

// A change that needs another image is found out to be impossible when others stand above it already.
TEST_F(LayersTest, AChangeThatFailsTakesBackItselfAlone) {
    Open({PictureSample("moon.png"), PictureSample("coffee.png")});
    Comp& moon = *document->Layers()[0];
    Comp& coffee = *document->Layers()[1];
    const LayerState whole = document->StateOf(moon);
    for (const int others : {0, 1, 3}) {
        const QImage before = Whole();
        const int place = document->History().index();
        pzel_view::ShowAs(*document, moon, Role::Vectors);  // which need two channels
        for (int i = 0; i < others; ++i) {
            LayerState state = document->StateOf(coffee);
            state.opacity = 0.2 + 0.1 * i;
            document->Change(coffee, "Opacity", state);
        }
        const QImage after = Whole();
        ASSERT_TRUE(WaitFor([&] { return !failures.empty(); }));
        EXPECT_NE(failures[0].find("moon.png"), std::string::npos);
        failures.clear();
        EXPECT_TRUE(Whole() == after);
        EXPECT_TRUE(IsSame(document->StateOf(moon), whole));
        while (document->History().index() > place) document->History().undo();
        EXPECT_TRUE(Whole() == before);
        while (document->History().canRedo()) document->History().redo();
        EXPECT_TRUE(Whole() == after);
        EXPECT_TRUE(!document->IsReading() && failures.empty());
    }
    // Of a gesture what was possible stays.
    Open({PictureSample("moon.png") + "@threshold=100:255"});
    Comp& mask = *document->Layers()[0];
    const auto change = [&](Role role, double from) {
        LayerState state = document->StateOf(mask);
        state.role = role;
        state.threshold = pzel_io::Window{from, 255};
        document->Change(mask, "Drag", state, 9);
        return WaitFor([&] { return !document->IsReading(); });
    };
    const QImage before = Whole();
    ASSERT_TRUE(change(Role::Mask, 50));
    const QImage dragged = Whole();
    ASSERT_TRUE(change(Role::Vectors, 20));
    EXPECT_EQ(failures.size(), 1U);
    EXPECT_TRUE(Whole() == dragged);
    document->History().undo();
    EXPECT_TRUE(WaitFor([&] { return Whole() == before; }));
    document->History().redo();
    EXPECT_TRUE(WaitFor([&] { return Whole() == dragged; }));
}

TEST_F(LayersTest, MasksFollowTheirThreshold) {
    Pixels<std::uint16_t> ramp(100, 20, 1);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 100; ++x) ramp.At(x, y) = static_cast<std::uint16_t>(x * 10);
    WritePicture<std::uint16_t>(Path("ramp.tif"), {ramp});
    Open({Path("ramp.tif")});
    pzel_view::ThresholdActive(*document);
    ASSERT_TRUE(WaitFor([&] { return document->Layers().size() == 2; }));
    Comp& mask = *document->Layers()[1];
    const auto redFrom = [&] {
        const QImage shown = Whole();
        int x = 0;
        while (x < shown.width() && qRed(shown.pixel(x, 5)) == qGreen(shown.pixel(x, 5))) ++x;
        return x;
    };
    EXPECT_EQ(redFrom(), 50);
    for (const int from : {300, 700, 200, 410}) {
        LayerState state = document->StateOf(mask);
        state.threshold = pzel_io::Window{static_cast<double>(from), 5000};
        document->Change(mask, "Threshold", state, 7);
    }
    EXPECT_TRUE(WaitFor([&] { return redFrom() == 41; })) << redFrom();
    document->History().undo();
    EXPECT_TRUE(WaitFor([&] { return redFrom() == 50; })) << redFrom();
    // An outline, and back to the picture that the file is.
    pzel_view::ShowAs(*document, mask, Role::Boundary);
    EXPECT_TRUE(WaitFor([&] { return mask.GetCompMType() == MajorBoundary; }));
    pzel_view::ShowAs(*document, mask, Role::Picture);
    EXPECT_TRUE(WaitFor([&] { return mask.GetDataType() == DataUInt16; }));
    EXPECT_EQ(failures, std::vector<std::string>{});
}

}  // namespace
