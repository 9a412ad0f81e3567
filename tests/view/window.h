// A window with a document, driven as a person would, and what the library makes of the same settings.
#pragma once

#include <QImage>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "apps/io/file_movie.h"
#include "apps/io/picture_writer.h"
#include "apps/io/png_encoder.h"
#include "apps/scene/command.h"
#include "apps/view/main_window.h"
#include "apps/view/scene_keeping.h"
#include "apps/view/seen_movie.h"
#include "pzel/bounds/bounds.h"
#include "pzel/display/compose.h"
#include "pzel/image/lifecycle.h"
#include "tests/apps/program.h"

/// Values around the middle of a range, as pictures have them.
template <class T>
Pixels<T> AnyPixels(std::mt19937& random, int width, int height, int channels, double low, double high) {
    Pixels<T> pixels(width, height, channels);
    std::normal_distribution<> value((low + high) / 2, (high - low) / 6);
    for (T& v : pixels.values) v = static_cast<T>(std::clamp(value(random), low, high));
    return pixels;
}

class WindowTest : public AppTest {
  protected:
    WindowTest()
        : document(std::make_shared<pzel_view::Document>()), window(new pzel_view::MainWindow(document)) {
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1400, 1000);
        window->show();
        QObject::connect(document.get(), &pzel_view::Document::failed,
                         [this](const QString& reason) { failures.push_back(reason.toStdString()); });
    }
    ~WindowTest() override {
        window.reset();
        QSettings().clear();
    }

    static bool WaitFor(const std::function<bool()>& holds) { return QTest::qWaitFor(holds, 20000); }

    /// Opens layers and waits until they are shown.
    void Open(const std::vector<std::string>& arguments) {
        std::vector<Layer> layers;
        for (const std::string& argument : arguments) layers.push_back(ParseLayer(argument));
        const QSignalSpy opened(document.get(), &pzel_view::Document::opened);
        document->Open(layers, pzel_view::OpenAs::Picture);
        ASSERT_TRUE(WaitFor([&] { return !opened.empty() || !failures.empty(); }));
        ASSERT_EQ(failures, std::vector<std::string>{});
        QTest::qWait(0);
    }

    int Any(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    QPoint AnyIn(const QRect& area) { return area.topLeft() + QPoint(Any(area.width()), Any(area.height())); }
    void Trigger(const char* action) { window->Actions().Find(action)->trigger(); }

    template <class Widget>
    Widget& Find(const char* name) {
        auto* const found = window->findChild<Widget*>(name);
        if (!found) throw std::runtime_error(std::string("no widget ") + name);
        return *found;
    }

    static void Drag(QWidget& widget, const QPoint& from, const QPoint& to) {
        QTest::mousePress(&widget, Qt::LeftButton, {}, from);
        for (int step = 1; step <= 4; ++step) QTest::mouseMove(&widget, from + (to - from) * step / 4);
        QTest::mouseRelease(&widget, Qt::LeftButton, {}, to);
    }

    Comp& Active() { return *document->Active(); }
    pzel_view::LayerState State() { return document->StateOf(Active()); }

    /// What the picture's widget paints of the columns and rows that are all to be seen at 1:1.
    QImage Painted() {
        window->Picture().SetZoom(1);
        QTest::qWait(0);
        const QImage all = window->Picture().grab().toImage();
        const QRect extent = document->Extent();
        return all.copy(QRect(window->Picture().PlaceOf(extent.topLeft()).toPoint(), extent.size()))
            .convertToFormat(QImage::Format_RGB888);
    }

    /// The bitmap of a component like the active one: its image, levels and remapper.
    QImage Mapped() {
        const std::unique_ptr<Comp, pzel_io::Releaser> comp(AllocComp(1));
        CopyComp(comp.get(), &Active(), false);
        comp->DeleteBitmap();
        comp->ComputeBitmap(-1);
        const ShownBitmap shown = comp->GetShownBitmap();
        const QImage::Format format = shown.bits == 8 ? QImage::Format_Grayscale8 : QImage::Format_BGR888;
        return QImage(shown.pixels, shown.width, shown.height, shown.rowBytes, format)
            .convertToFormat(QImage::Format_RGB888);
    }

    /// Files of the displayed picture: as the window saves it, as the copied command makes it.
    void ExpectCommandMakesPicture(int zoom) {
        const Scene scene = pzel_view::SceneOf(*document, "now", zoom);
        const std::string file = Path("command.png");
        const auto arguments = RenderArguments(scene, Frames::Current, file);
        const Outcome run = Shell(ShellCommand(PZEL_RENDER, arguments));
        ASSERT_EQ(run.status, 0) << run.err;
        pzel_view::SeenMovie seen(*document);
        const ShownBitmap& bitmap = seen.Draw(document->Extent(), zoom);
        std::string saved;
        for (const auto& part : pzel_io::EncodePng(pzel_io::AsFilePicture(bitmap), {}))
            saved.append(part.begin(), part.end());
        EXPECT_TRUE(ReadBytes(file) == saved) << ShellCommand("pzel-render", arguments);
    }

    std::shared_ptr<pzel_view::Document> document;
    std::unique_ptr<pzel_view::MainWindow> window;
    std::vector<std::string> failures;
};
