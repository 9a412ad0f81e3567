// What stands around the picture: keys that reach something else than what has the focus, files that are not
// what was shown, a list of actions that does not find them.
#include <QAbstractButton>
#include <QClipboard>
#include <QDialog>
#include <QDockWidget>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QTableWidget>
#include <QTimer>

#include "apps/view/frame_saver.h"
#include "apps/view/opening.h"
#include "window.h"

namespace {

class SurroundingsTest : public WindowTest {
  protected:
    void WriteSome(const std::vector<const char*>& names) {
        for (const char* name : names)
            WritePicture<std::uint8_t>(Path(name), {AnyPixels<std::uint8_t>(random, 40, 30, 1, 0, 255)});
    }
    std::string FirstFile() { return document->InfoOf(*document->Layers()[0]).file.filename(); }
    static QImage Read(const std::string& file) {
        return QImage(QString::fromStdString(file)).convertToFormat(QImage::Format_RGB888);
    }
};

TEST_F(SurroundingsTest, KeysBelongToWhatHasTheFocus) {
    WriteSome({"a.png", "b.png", "c.png"});
    for (const bool floating : {false, true}) {
        Open({Path("b.png"), Path("b.png")});
        auto& dock = Find<QDockWidget>("panel.layers");
        dock.setFloating(floating);
        for (const char* name : {"opacity", "layers", "role"}) {
            auto& control = Find<QWidget>(name);
            control.activateWindow();
            control.setFocus();
            ASSERT_TRUE(WaitFor([&] { return control.hasFocus(); })) << name;
            for (const Qt::Key key : {Qt::Key_PageDown, Qt::Key_Home}) QTest::keyClick(&control, key);
            ASSERT_TRUE(WaitFor([&] { return !document->IsReading(); }));
            EXPECT_EQ(FirstFile(), "b.png") << name << " turns pages";
        }
        dock.setFloating(false);
        window->activateWindow();
        window->Picture().setFocus();
        ASSERT_TRUE(WaitFor([&] { return window->Picture().hasFocus(); }));
        struct Step {
            Qt::Key key;
            std::string file;
        };
        for (const Step& step :
             {Step{Qt::Key_PageDown, "c.png"}, Step{Qt::Key_PageDown, "c.png"}, Step{Qt::Key_PageUp, "b.png"},
              Step{Qt::Key_PageUp, "a.png"}, Step{Qt::Key_PageUp, "a.png"}}) {
            QTest::keyClick(&window->Picture(), step.key);
            ASSERT_TRUE(WaitFor([&] { return !document->IsReading() && FirstFile() == step.file; }))
                << step.file;
        }
    }
    const QStringList recent = pzel_view::RecentFiles();
    ASSERT_EQ(recent.size(), 3) << "each once, the last one first";
    EXPECT_TRUE(recent[0].endsWith("a.png") && recent[1].endsWith("b.png"));
    std::filesystem::remove(Path("b.png"));
    Trigger("file.next");
    EXPECT_TRUE(WaitFor([&] { return FirstFile() == "c.png"; })) << "what is gone is left out";
}

TEST_F(SurroundingsTest, DroppedFilesAreOpened) {
    WriteSome({"a.png", "b.png", "c.png"});
    const auto drop = [&](const std::vector<const char*>& names, const char* answer) {
        QMimeData data;
        QList<QUrl> urls;
        for (const char* name : names) urls << QUrl::fromLocalFile(QString::fromStdString(Path(name)));
        data.setUrls(urls);
        QTimer asked;
        QObject::connect(&asked, &QTimer::timeout, [&] {
            for (QWidget* one : QApplication::topLevelWidgets())
                for (auto* button :
                     one->isModal() ? one->findChildren<QAbstractButton*>() : QList<QAbstractButton*>())
                    if (button->text().contains(answer)) button->click();
        });
        asked.start(1);
        const QSignalSpy opened(document.get(), &pzel_view::Document::opened);
        QDragEnterEvent enter({50, 50}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent event({50, 50}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &event);
        ASSERT_TRUE(WaitFor([&] { return !opened.empty(); }));
    };
    drop({"b.png"}, "");
    EXPECT_EQ(FirstFile(), "b.png");
    drop({"a.png", "b.png", "c.png"}, "Layers");
    EXPECT_EQ(document->Layers().size(), 3U);
    drop({"a.png", "b.png", "c.png"}, "Frames");
    EXPECT_TRUE(document->Layers().size() == 1 && document->Frames() == 3);
}

TEST_F(SurroundingsTest, TheListOfActionsFindsWords) {
    Trigger("help.actions");
    auto* const dialog = window->findChild<QDialog*>("actionTable");
    ASSERT_TRUE(dialog);
    auto* const table = dialog->findChild<QTableWidget*>();
    ASSERT_EQ(table->rowCount(), static_cast<int>(window->Actions().Entries().size()));
    for (const QString words : {"zoom", "CTRL+", "layer", "no such action", ""}) {
        dialog->findChild<QLineEdit*>()->setText(words);
        for (int row = 0; row < table->rowCount(); ++row) {
            QString text = QString(window->Actions().Entries()[std::size_t(row)].menu).replace("/", " → ");
            const QAction& action = *window->Actions().Entries()[std::size_t(row)].action;
            for (const QString& more :
                 {action.text().remove('&').remove("…"), action.shortcut().toString(), action.toolTip()})
                text += "\n" + more;
            QString said;
            for (int column = 0; column < table->columnCount(); ++column)
                said += (column ? "\n" : "") + table->item(row, column)->text();
            EXPECT_EQ(said.toStdString(), text.toStdString());
            EXPECT_EQ(table->isRowHidden(row), !text.contains(words, Qt::CaseInsensitive))
                << words.toStdString();
        }
    }
}

TEST_F(SurroundingsTest, FilesHoldWhatIsSeen) {
    std::vector<Pixels<std::uint8_t>> frames;
    for (int i = 0; i < 6; ++i) frames.push_back(AnyPixels<std::uint8_t>(random, 50, 40, 3, 0, 255));
    WritePicture<std::uint8_t>(Path("film.tif"), frames);
    Open({Path("film.tif") + "@levels=30:200", Path("film.tif") + "@0.4,+9-5"});
    pzel_view::FrameSaver& saver = window->Saver();
    std::vector<std::pair<int, int>> progress;
    int finished = 0;
    bool giveUp = false;
    QObject::connect(&saver, &pzel_view::FrameSaver::finished, [&] { ++finished; });
    QObject::connect(&saver, &pzel_view::FrameSaver::failed,
                     [&](const QString& why) { failures.push_back(why.toStdString()); });
    QObject::connect(&saver, &pzel_view::FrameSaver::progress, [&] {
        progress.emplace_back(saver.Done(), saver.Total());
        if (giveUp && saver.Done() == 2) saver.Cancel();
    });
    document->SetRanges("Select", {{1, 3}, {5, 5}});
    document->GoTo(4);
    ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == 4; }));
    for (giveUp = false;; giveUp = true) {
        progress.clear();
        saver.SaveFrames(QString::fromStdString(Path(giveUp ? "some.png" : "all.png")));
        EXPECT_TRUE(saver.IsSaving());
        ASSERT_TRUE(WaitFor([&] { return !saver.IsSaving() && document->CurrentFrame() == 4; }));
        std::vector<std::pair<int, int>> expected;
        for (int done = 0; done <= (giveUp ? 2 : 4); ++done) expected.emplace_back(done, 4);
        expected.emplace_back(0, 0);
        EXPECT_EQ(progress, expected);
        EXPECT_EQ(finished, 1);
        for (const int frame : {1, 2, 3, 5}) {
            const std::string saved =
                Path((giveUp ? "some_000" : "all_000") + std::to_string(frame) + ".png");
            EXPECT_EQ(std::filesystem::exists(saved), !giveUp || frame < 3) << saved;
            if (giveUp) continue;
            const Outcome run = Render({Path("film.tif") + "@levels=30:200", Path("film.tif") + "@0.4,+9-5",
                                        "--frame", std::to_string(frame), "-o", Path("line.png")});
            EXPECT_EQ(run.status, 0) << run.err;
            EXPECT_TRUE(Read(saved) == Read(Path("line.png"))) << frame;
        }
        if (giveUp) break;
    }
    const QImage whole =
        window->Picture().Picture(document->Extent(), 1).convertToFormat(QImage::Format_RGB888);
    saver.SavePicture(QString::fromStdString(Path("whole.png")));
    ASSERT_TRUE(WaitFor([&] { return finished == 2; }));
    EXPECT_TRUE(Read(Path("whole.png")) == whole);
    window->Picture().SetZoom(40);
    saver.SaveView(QString::fromStdString(Path("view.png")));
    ASSERT_TRUE(WaitFor([&] { return finished == 3; }));
    const QRect part = window->Picture().VisibleArea();
    EXPECT_TRUE(part.width() < 50 &&
                Read(Path("view.png")) ==
                    whole.copy(part.translated(-document->Extent().topLeft())).scaled(part.size() * 40));
    saver.SavePicture(QString::fromStdString(Path("whole.xyz")));
    saver.SaveFrames(QString::fromStdString(Path("missing/frames.png")));
    EXPECT_TRUE(WaitFor([&] { return failures.size() == 2 && !saver.IsSaving(); }));
    for (const QRect& selected : {QRect(), QRect(7, 9, 20, 11)}) {
        document->SetSelection(selected);
        Trigger("file.copy");
        EXPECT_TRUE(QApplication::clipboard()->image().convertToFormat(QImage::Format_RGB888) ==
                    whole.copy(selected.isEmpty() ? whole.rect()
                                                  : selected.translated(-document->Extent().topLeft())));
    }
}

// Also where there is no screen.
TEST_F(SurroundingsTest, UnknownOptionsAreToldOf) {
    const std::string program = "env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb " PZEL_VIEW;
    const Outcome run = Shell(program + " --nope");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "pzel-view: --nope is no option (--help tells them)\n");
    EXPECT_EQ(Shell(program + " --platform nope --version").out, "pzel-view " PZEL_VERSION "\n");
}

}  // namespace
