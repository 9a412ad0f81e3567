// Levels, curves and channels by hand: pictures that are not what the library makes of the same
// settings, levels that hot pixels or frames pull along.
#include <QAbstractButton>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QPushButton>
#include <QTableWidget>
#include <algorithm>
#include <cmath>
#include <limits>

#include "apps/view/curve_editor.h"
#include "apps/view/histogram_plot.h"
#include "apps/view/number_edit.h"
#include "window.h"

namespace {

using pzel_view::CurveEditor;
using pzel_view::HistogramPlot;
using pzel_view::NumberEdit;

class ToolsTest : public WindowTest {
  protected:
    /// Writes a picture and opens it.
    template <class T>
    void Show(const std::string& name, const std::vector<Pixels<T>>& frames) {
        WritePicture<T>(Path(name), frames);
        Open({Path(name)});
    }
};

TEST_F(ToolsTest, DraggedLevelsShowTheLibrarysBitmap) {
    Show<std::uint16_t>("words.tif", {AnyPixels<std::uint16_t>(random, 210, 130, 1, 900, 5100)});
    auto& plot = Find<HistogramPlot>("levels.plot0");
    const pzel_io::Window before = State().levels[0];
    const QPoint white(plot.PlaceOf(before.high), plot.height() / 2);
    Drag(plot, white, white - QPoint(60, 0));
    const pzel_io::Window after = State().levels[0];
    EXPECT_LT(after.high, before.high);
    EXPECT_EQ(after.low, before.low);
    EXPECT_EQ(Find<NumberEdit>("levels.white0").text().toDouble(), after.high);
    EXPECT_EQ(Painted(), Mapped());
    ExpectCommandMakesPicture(1);

    auto& black = Find<NumberEdit>("levels.black0");
    black.setFocus();
    black.selectAll();
    QTest::keyClicks(&black, "2000");
    QTest::keyClick(&black, Qt::Key_Return);
    EXPECT_EQ(State().levels[0].low, 2000);
    EXPECT_EQ(Painted(), Mapped());
    // A drag is one step back, however many moves it had.
    document->History().undo();
    EXPECT_EQ(State().levels[0].low, after.low);
    document->History().undo();
    EXPECT_EQ(State().levels[0].high, before.high);
    EXPECT_FALSE(document->History().canUndo());
    EXPECT_EQ(Painted(), Mapped());
}

// Auto means what sorting all values means; what is no number, and what is far away, changes nothing.
TEST_F(ToolsTest, AutoIsWhatSortingGives) {
    auto pixels = AnyPixels<float>(random, 150, 90, 1, -3, 12);
    std::vector<float> sorted = pixels.values;
    std::sort(sorted.begin(), sorted.end());
    for (int i = 0; i < 10; ++i) pixels.values[std::size_t(7 + 31 * i)] = 0;
    pixels.values[0] = std::numeric_limits<float>::quiet_NaN();
    pixels.values[1] = std::numeric_limits<float>::infinity();
    pixels.values[2] = 1e30F;
    Show<float>("floats.tif", {pixels});
    sorted.clear();
    for (const float v : pixels.values)
        if (std::isfinite(v)) sorted.push_back(v);
    std::sort(sorted.begin(), sorted.end());
    Find<QDoubleSpinBox>("levels.percent").setValue(2);
    QTest::mouseClick(&Find<QPushButton>("levels.auto"), Qt::LeftButton);
    const std::size_t rank = std::size_t(0.02 * double(sorted.size()));
    EXPECT_EQ(State().levels[0].low, double(sorted[rank]));
    EXPECT_EQ(State().levels[0].high, double(sorted[sorted.size() - 1 - rank]));
    EXPECT_EQ(Painted(), Mapped());
    // The handles stay apart: the axis does not go up to the hot pixel.
    auto& plot = Find<HistogramPlot>("levels.plot0");
    QTest::qWait(50);
    EXPECT_GT(plot.PlaceOf(State().levels[0].high) - plot.PlaceOf(State().levels[0].low), plot.width() / 4);
}

// Each way to have levels chosen, by keys, beside the sorted values of each channel.
TEST_F(ToolsTest, ChosenLevelsAreThoseOfTheValues) {
    const auto expect = [&]<class T>(const Pixels<T>& pixels, std::optional<pzel_io::Window> full) {
        Show<T>("values" + std::to_string(sizeof(T)) + ".tif", {pixels});
        const QRect region(11, 7, 25, 31);
        for (int round = 0; round < 2 * pixels.channels; ++round) {
            const bool isEach = round > 0 && pixels.channels > 1;  // from levels that differ
            pzel_view::LayerState state = State();
            for (std::size_t c = 0; c < state.levels.size(); ++c)
                state.levels[c] = {1, 9.0 + (isEach ? double(c) : 0)};
            document->Change(Active(), "Levels", state);
            const char* const action = std::vector<const char*>{"values.data", "values.full", "values.auto",
                                                                "values.region"}[std::size_t(Any(4))];
            const std::string name = action;
            document->SetSelection(region);
            Trigger(action);
            document->SetSelection({});  // whose marks are none of the picture
            const Levels found = State().levels;
            ASSERT_EQ(found.size(), std::size_t(pixels.channels));
            for (int channel = 0; channel < pixels.channels; ++channel) {
                std::vector<T> sorted;
                for (int y = 0; y < pixels.height; ++y)
                    for (int x = 0; x < pixels.width; ++x)
                        for (int c = 0; c < pixels.channels; ++c)
                            if ((!isEach || c == channel) &&
                                (name != "values.region" || region.contains(x, y)))
                                sorted.push_back(pixels.At(x, y, c));
                std::sort(sorted.begin(), sorted.end());
                const std::size_t rank =
                    name == "values.data" ? 0 : std::size_t(0.0035 * double(sorted.size()));
                pzel_io::Window wanted{double(sorted[rank]), double(sorted[sorted.size() - 1 - rank])};
                if (name == "values.full") wanted = full.value_or(state.levels[std::size_t(channel)]);
                EXPECT_EQ(found[std::size_t(channel)].low, wanted.low) << name << " " << channel << isEach;
                EXPECT_EQ(found[std::size_t(channel)].high, wanted.high) << name << " " << channel << isEach;
            }
            EXPECT_EQ(Painted(), Mapped()) << name;
        }
    };
    for (int i = 0; i < 3; ++i) {
        expect(AnyPixels<std::uint8_t>(random, 60, 50, 3, 10, 240), pzel_io::Window{0, 255});
        expect(AnyPixels<std::int16_t>(random, 60, 50, 1, -900, 2000), pzel_io::Window{-32768, 32767});
        expect(AnyPixels<float>(random, 60, 50, 3, -2, 3), std::nullopt);
    }
    Open({DicomSample("CT_small.dcm"), DicomSample("MR_small_RLE.dcm")});
    for (Comp* comp : document->Layers()) {
        document->MakeActive(*comp);
        const auto asked = document->InfoOf(*comp).window;
        Trigger("values.data");
        const Levels data = State().levels;
        Trigger("values.file");
        EXPECT_TRUE(pzel_view::IsSame(State().levels, asked ? Levels{*asked} : data));
        EXPECT_EQ(Find<QPushButton>("levels.file").isEnabled(), asked.has_value());
    }
}

TEST_F(ToolsTest, MovieLevelsAreThoseOfAllFrames) {
    const auto expectAll = [&]<class T>(const std::vector<Pixels<T>>& frames, double tolerance) {
        Show<T>("movie" + std::to_string(sizeof(T)) + ".tif", frames);
        document->GoTo(2);
        ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == 2; }));
        Find<QComboBox>("levels.source").setCurrentIndex(2);
        Find<QDoubleSpinBox>("levels.percent").setValue(1);
        const int channels = frames[0].channels;
        for (const bool isEach : {false, true}) {
            pzel_view::LayerState state = State();
            state.levels = Levels(state.levels.size(), {1, 2});
            document->Change(Active(), "Levels", state);
            Find<QAbstractButton>("levels.together").setChecked(!isEach);
            Find<QPushButton>("levels.auto").click();
            ASSERT_TRUE(WaitFor([&] { return State().levels[0].high != 2; }));
            for (int channel = 0; channel < channels; ++channel) {
                std::vector<T> all;
                for (const auto& frame : frames)
                    for (std::size_t i = 0; i < frame.values.size(); ++i)
                        if (!isEach || static_cast<int>(i) % channels == channel)
                            all.push_back(frame.values[i]);
                std::sort(all.begin(), all.end());
                const pzel_io::Window found = State().levels[std::size_t(channel)];
                EXPECT_NEAR(found.low, double(all[all.size() / 100]), tolerance) << isEach << channel;
                EXPECT_NEAR(found.high, double(all[all.size() - 1 - all.size() / 100]), tolerance);
            }
        }
    };
    std::vector<Pixels<std::uint16_t>> words;
    std::vector<Pixels<float>> floats;
    for (int i = 0; i < 4; ++i) {
        words.push_back(AnyPixels<std::uint16_t>(random, 40, 50, 3, 100 * i, 1000 + 900 * i));
        floats.push_back(AnyPixels<float>(random, 40, 50, 1, i, 2 + 3 * i));
    }
    expectAll(words, 0);
    expectAll(floats, 1e-3);
}

TEST_F(ToolsTest, CurvesAndChannelsShowTheLibrarysBitmap) {
    Show<std::uint8_t>("colours.png", {AnyPixels<std::uint8_t>(random, 160, 120, 3, 0, 255)});
    auto& editor = Find<CurveEditor>("curve.editor");
    const auto place = [&](double in, double out) { return editor.PlaceOf({in, out}).toPoint(); };
    Drag(editor, place(0.4, 0.4), place(0.3, 0.7));
    ASSERT_EQ(State().tones.size(), 1U);
    ASSERT_EQ(State().tones[0].points.size(), 3U);
    EXPECT_NEAR(State().tones[0].points[1].out, 0.7, 0.02);
    EXPECT_EQ(Painted(), Mapped());
    Find<QComboBox>("curve.channel").setCurrentIndex(2);  // green
    Find<QDoubleSpinBox>("curve.gamma").setValue(0.6);
    ASSERT_EQ(State().tones.size(), 3U);
    EXPECT_EQ(State().tones[1].gamma, 0.6);
    EXPECT_EQ(State().tones[2].gamma, 1);
    EXPECT_EQ(Painted(), Mapped());
    for (const int channel : {0, 2, 1}) {
        Find<QComboBox>("curve.channel").setCurrentIndex(channel + 1);
        EXPECT_TRUE(editor.GetTone() == State().tones[std::size_t(channel)]);
        EXPECT_EQ(Find<QDoubleSpinBox>("curve.gamma").value(), State().tones[std::size_t(channel)].gamma);
    }
    ExpectCommandMakesPicture(1);
    ExpectCommandMakesPicture(3);
    ExpectCommandMakesPicture(-2);
    QTest::mouseClick(&Find<QPushButton>("curve.reset"), Qt::LeftButton);
    EXPECT_EQ(State().tones, Tones{{}});

    for (const char* name :
         {"channels.green", "channels.hue", "channels.hsi", "channels.all", "channels.yuv", "channels.v"}) {
        auto& button = Find<QAbstractButton>(name);
        int images = 0;
        const auto count =
            QObject::connect(document.get(), &pzel_view::Document::layerChanged,
                             [&](Comp*, int event) { images += event == pzel_view::EventImage; });
        QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(8, button.height() / 2));
        ASSERT_TRUE(WaitFor([&] { return images > 0; })) << name;
        QObject::disconnect(count);
        EXPECT_TRUE(button.isChecked());
        if (State().channel == Channel::Hsi) {
            auto& plot = Find<HistogramPlot>("levels.plot1");
            const QPoint white(plot.PlaceOf(State().levels[1].high), plot.height() / 2);
            Drag(plot, white, white - QPoint(50, 0));
            EXPECT_LT(State().levels[1].high, 255);
        }
        EXPECT_EQ(Painted(), Mapped()) << name;
        ExpectCommandMakesPicture(1);
    }
}

TEST_F(ToolsTest, StatisticsAreThoseOfTheFilesValues) {
    const auto pixels = AnyPixels<std::uint16_t>(random, 80, 60, 3, 0, 60000);
    Show<std::uint16_t>("colour16.tif", {pixels});
    window->findChild<QWidget*>("panel.measure")->raise();
    document->SetSelection(QRect(5, 7, 40, 30));
    auto& table = Find<QTableWidget>("measure.statistics");
    ASSERT_TRUE(WaitFor([&] { return table.columnCount() == 3 && table.item(4, 0)->text() == "1200"; }));
    for (int channel = 0; channel < 3; ++channel) {
        double low = 1e9, high = 0, sum = 0, squares = 0;
        for (int y = 7; y < 37; ++y) {
            for (int x = 5; x < 45; ++x) {
                const double v = pixels.At(x, y, channel);
                low = std::min(low, v);
                high = std::max(high, v);
                sum += v;
                squares += v * v;
            }
        }
        const double mean = sum / 1200, deviation = std::sqrt(squares / 1200 - mean * mean);
        EXPECT_EQ(table.item(0, channel)->text().toDouble(), low);
        EXPECT_EQ(table.item(1, channel)->text().toDouble(), high);
        EXPECT_NEAR(table.item(2, channel)->text().toDouble(), mean, mean * 1e-5);
        EXPECT_NEAR(table.item(3, channel)->text().toDouble(), deviation, deviation * 1e-5);
    }
}

}  // namespace
