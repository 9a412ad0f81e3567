// The picture in the window: other pixels than the command line makes of the same layers, at any zoom; places
// that slip when the zoom changes.
#include <QLabel>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "apps/view/picture_tools.h"
#include "apps/view/read_out.h"
#include "window.h"

namespace {

using pzel_view::PictureView;
using pzel_view::Tool;

class PictureTest : public WindowTest {
  protected:
    PictureView& Picture() { return window->Picture(); }

    template <class T>
    std::string Random(const std::string& name, int width, int height, int channels, int most) {
        Pixels<T> pixels(width, height, channels);
        for (T& value : pixels.values) value = static_cast<T>(random() % static_cast<unsigned>(most + 1));
        WritePicture<T>(Path(name), {pixels});
        return Path(name);
    }

    /// What the command line makes of the layers.
    QImage Rendered(std::vector<std::string> layers, int zoom) {
        layers.insert(layers.end(), {"-o", Path("rendered.png"), "--zoom", std::to_string(zoom)});
        const Outcome run = Render(layers);
        EXPECT_EQ(run.status, 0) << run.err;
        return QImage(QString::fromStdString(Path("rendered.png"))).convertToFormat(QImage::Format_RGB888);
    }

    /// The middle of a pixel in the widget.
    QPoint Middle(const QPoint& pixel) {
        QTest::qWait(20);  // whatever is to be laid out anew
        const QPointF middle = Picture().PlaceOf(QPointF(pixel) + QPointF(0.5, 0.5));
        return {static_cast<int>(std::floor(middle.x())), static_cast<int>(std::floor(middle.y()))};
    }
};

TEST_F(PictureTest, ShowsWhatTheCommandLineRenders) {
    const std::string colour = Random<std::uint8_t>("colour.tif", 211, 143, 3, 255);
    const std::string deep = Random<std::uint16_t>("deep.tif", 97, 120, 1, 4000);
    const std::string mask = Random<std::uint8_t>("mask.tif", 64, 64, 1, 1);
    const std::string field = Random<float>("field.tif", 211, 143, 2, 9);
    const std::vector<std::vector<std::string>> scenes = {
        {colour},
        {deep + "@levels=100:3000"},
        {colour, deep + "@0.6,+31+17,levels=5%", mask + "@green,+100+50", mask + "@boundary,blue,+7+9",
         field + "@vectors,yellow"},
        {deep, mask + "@boundary,white,0.4,+20+30"},
        {mask + "@mask,white", mask + "@hidden"}};
    for (const std::vector<std::string>& scene : scenes) {
        Open(scene);
        for (const int zoom : {1, 2, 5, -2, -3, -7}) {
            const QImage shown = Picture().Picture(document->Extent(), zoom);
            EXPECT_TRUE(shown.convertToFormat(QImage::Format_RGB888) == Rendered(scene, zoom))
                << scene.back() << " at " << zoom;
        }
    }
}

// A part of what is seen, wherever it starts, is that part of the whole.
TEST_F(PictureTest, DrawsPartsAsTheyStandInTheWhole) {
    Open({Random<std::uint8_t>("colour.tif", 300, 200, 3, 255),
          Random<std::uint16_t>("deep.tif", 150, 90, 1, 60000) + "@0.5,+41+23"});
    for (const int zoom : {1, 3, -2, -5}) {
        const QImage whole = Picture().Picture(document->Extent(), zoom);
        const int step = std::max(-zoom, 1), factor = std::max(zoom, 1);
        for (int i = 0; i < 10; ++i) {
            const auto at = [&](int size) {
                return static_cast<int>(random() % static_cast<unsigned>(size)) / step;
            };
            const int x = at(250), y = at(150), width = 1 + at(50), height = 1 + at(50);
            const QImage part =
                Picture().Picture(QRect(x * step, y * step, width * step, height * step), zoom);
            EXPECT_TRUE(part == whole.copy(x * factor, y * factor, width * factor, height * factor))
                << zoom << ": " << x << ", " << y;
        }
    }
}

// On a screen whose pixels are those of widgets, and on a finer one.
TEST_F(PictureTest, PixelsStandWhereTheyAreSaidToBe) {
    Pixels<std::uint8_t> grey(400, 300, 1);
    for (auto& value : grey.values) value = static_cast<std::uint8_t>(random());
    WritePicture<std::uint8_t>(Path("grey.tif"), {grey});
    Open({Path("grey.tif") + "@levels=0:255,+31-17"});
    const QRect extent = document->Extent();
    ASSERT_EQ(extent, QRect(31, -17, 400, 300));
    for (QScreen* screen : QApplication::screens()) {
        const std::unique_ptr<pzel_view::MainWindow> other(new pzel_view::MainWindow(document));
        other->setAttribute(Qt::WA_DeleteOnClose, false);
        other->setScreen(screen);
        other->move(screen->geometry().topLeft());
        other->show();
        QTest::qWait(0);
        PictureView& view = other->Picture();
        const double ratio = screen->devicePixelRatio();
        ASSERT_EQ(view.devicePixelRatioF(), ratio);
        const auto scaleOf = [&](int zoom) { return (zoom > 0 ? zoom : -1.0 / zoom) / ratio; };
        int fitting = 127;
        const auto fits = [&](int zoom) {
            return extent.width() * scaleOf(zoom) <= view.width() &&
                   extent.height() * scaleOf(zoom) <= view.height();
        };
        while (!fits(fitting)) fitting = fitting == 1 ? -2 : fitting - 1;
        EXPECT_TRUE(view.IsFitted());
        EXPECT_EQ(view.Zoom(), fitting);
        for (const int zoom : {1, 2, 3, 5, 7, 11, 40, -2, -3, -6}) {
            view.SetZoom(zoom);
            view.CentreOn(AnyIn(extent));
            const double scale = view.Scale();
            ASSERT_EQ(scale, scaleOf(zoom));
            const QImage seen = view.grab().toImage();
            const QRect area = view.VisibleArea();
            for (int i = 0; i < 50; ++i) {
                const QPoint pixel = AnyIn(i % 2 ? area : extent);
                const QRectF there(view.PlaceOf(pixel), QSizeF(scale, scale));
                EXPECT_EQ(view.PixelAt(there.center()), pixel);
                const bool isSeen = there.intersects(QRectF(view.rect()).adjusted(1e-6, 1e-6, -1e-6, -1e-6));
                EXPECT_EQ(area.contains(pixel), isSeen) << zoom;
                const QPointF device = there.topLeft() * ratio;
                const bool isDrawn = zoom > 0 || (pixel.x() % zoom == 0 && pixel.y() % zoom == 0);
                if (scale >= 8 || !isDrawn || !seen.rect().contains(device.toPoint())) continue;
                EXPECT_NEAR(device.x(), std::round(device.x()), zoom > 0 ? 1e-6 : 1)
                    << "stands on the screen's pixels";
                EXPECT_EQ(qGray(seen.pixel(device.toPoint())), grey.At(pixel.x() - 31, pixel.y() + 17))
                    << zoom;
            }
            // No room is left beside a picture that is larger, and the same on both sides of a smaller one.
            const QPointF first = view.PlaceOf(extent.topLeft());
            const QPointF rest =
                QPointF(view.width(), view.height()) - view.PlaceOf(extent.bottomRight() + QPoint(1, 1));
            for (const auto& [before, behind] :
                 {std::pair(first.x(), rest.x()), std::pair(first.y(), rest.y())})
                EXPECT_TRUE((before < 0.7 && behind < 0.7) || std::abs(before - behind) < 1.5 + scale)
                    << zoom << ": " << before << ", " << behind;
        }
        other->close();
    }
    int steps = 0;
    for (int zoom = -127; zoom < 127; zoom = PictureView::Larger(zoom)) {
        const int larger = PictureView::Larger(zoom), back = PictureView::Smaller(larger);
        EXPECT_TRUE(larger > zoom && larger <= 127 && (larger > 0 || larger < -1)) << zoom;
        EXPECT_TRUE(back < larger && back >= -127 && (back > 0 || back < -1)) << larger;
        EXPECT_LE((larger > 0 ? larger : -1.0 / larger) / (zoom > 0 ? zoom : -1.0 / zoom), 2.0);
        ++steps;
    }
    EXPECT_LT(steps, 45);
}

TEST_F(PictureTest, KeepsThePixelUnderThePointer) {
    Open({PictureSample("coffee.png")});
    Picture().SetZoom(4);
    const QPoint pointer = Picture().rect().center() + QPoint(57, -31);
    const QPoint pixel = Picture().PixelAt(pointer);
    for (const int delta : {120, 120, 120, -120, -120, 120}) {
        QWheelEvent wheel(pointer, Picture().mapToGlobal(pointer), {}, {0, delta}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&Picture(), &wheel);
        const QPoint moved = Picture().PixelAt(pointer) - pixel;
        EXPECT_LE(moved.manhattanLength(), 1) << Picture().Zoom();
    }
    Drag(Picture(), pointer, pointer + QPoint(80, 40));
    EXPECT_LE((Picture().PixelAt(pointer + QPoint(80, 40)) - pixel).manhattanLength(), 1);
    Picture().Fit();
    EXPECT_EQ(Picture().VisibleArea(), document->Extent());
}

TEST_F(PictureTest, ToolsChangeWhatTheyName) {
    Open({PictureSample("coffee.png"), PictureSample("moon.png") + "@+50+60"});
    Picture().SetZoom(1);
    window->Actions().Find("tool.select")->trigger();
    Drag(Picture(), Middle({100, 80}), Middle({199, 139}));
    EXPECT_EQ(document->Selection(), QRect(100, 80, 100, 60));
    QTest::keyClick(&Picture(), Qt::Key_Escape);
    EXPECT_TRUE(document->Selection().isEmpty());

    window->Actions().Find("tool.crop")->trigger();
    Drag(Picture(), Middle({10, 20}), Middle({59, 49}));
    ASSERT_TRUE(State().area);
    EXPECT_EQ(State().area->right, 59);
    EXPECT_EQ(Active().GetCompExtent().bottom, 49);
    QTest::keyClick(&Picture(), Qt::Key_Escape);
    EXPECT_FALSE(State().area);

    document->MakeActive(*document->Layers()[1]);
    window->Actions().Find("tool.move")->trigger();
    const int before = document->History().index();
    Drag(Picture(), Middle({200, 200}), Middle({230, 190}));
    EXPECT_EQ(Active().x, 80);
    EXPECT_EQ(Active().y, 50);
    EXPECT_EQ(document->History().index(), before + 1) << "a drag is one change";

    // To the right everything gets darker, and nothing else happens to it.
    const double low = State().levels[0].low;
    QTest::mousePress(&Picture(), Qt::RightButton, {}, {300, 300});
    QTest::mouseMove(&Picture(), {360, 300});
    QTest::mouseRelease(&Picture(), Qt::RightButton, {}, {360, 300});
    EXPECT_GT(State().levels[0].low, low);
    document->History().undo();
    EXPECT_EQ(State().levels[0].low, low);
}

TEST_F(PictureTest, TellsTheFilesValues) {
    Pixels<std::int16_t> pixels(9, 7, 1);
    for (int i = 0; i < 63; ++i)
        pixels.values[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(i * 100 - 2000);
    WritePicture<std::int16_t>(Path("signed.tif"), {pixels});
    Open({PictureSample("coffee.png"), Path("signed.tif") + "@0.5,+20+10"});
    const QString text = pzel_view::ReadOut(*document, {23, 12});
    EXPECT_TRUE(text.startsWith("(23, 12)")) << text.toStdString();
    EXPECT_TRUE(text.contains("signed.tif " + QString::number(pixels.At(3, 2)))) << text.toStdString();
    EXPECT_TRUE(text.contains("coffee.png ")) << text.toStdString();
    EXPECT_FALSE(pzel_view::ReadOut(*document, {40, 12}).contains("signed.tif"));
    Picture().SetZoom(1);
    QTest::mouseMove(&Picture(), Middle({23, 12}));
    EXPECT_EQ(Find<QLabel>("readOut").text(), text);
}

// Left of the line stands what lies below, right of it the active layer.
TEST_F(PictureTest, WipesBetweenTwoLayers) {
    WritePicture<std::uint8_t>(Path("black.tif"), {Pixels<std::uint8_t>(200, 200, 1)});
    Pixels<std::uint8_t> white(200, 200, 1);
    std::fill(white.values.begin(), white.values.end(), std::uint8_t{255});
    WritePicture<std::uint8_t>(Path("white.tif"), {white});
    Open({Path("black.tif"), Path("white.tif")});
    document->MakeActive(*document->Layers()[1]);
    window->Actions().Find("view.wipe")->trigger();
    Picture().SetZoom(1);
    QTest::qWait(20);
    const QPoint grip(static_cast<int>(*Picture().WipePlace()), Picture().height() / 2);
    Drag(Picture(), grip, Middle({150, 100}));
    const QImage shown = Picture().grab().toImage();
    EXPECT_EQ(qGray(shown.pixel(Middle({120, 150}))), 0);
    EXPECT_EQ(qGray(shown.pixel(Middle({180, 150}))), 255);
    window->Actions().Find("view.wipe")->trigger();
    EXPECT_EQ(qGray(Picture().grab().toImage().pixel(Middle({120, 150}))), 255);
}

}  // namespace
