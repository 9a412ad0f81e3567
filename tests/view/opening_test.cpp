// Opening: files that end the program or leave the window without what it had, reading that cannot be given
// up, and movies that are never let go.
#include <QDockWidget>
#include <QElapsedTimer>
#include <QMimeData>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <fstream>

#include "apps/view/message_bar.h"
#include "apps/view/opening.h"
#include "window.h"

namespace {

using pzel_view::OpenAs;

class OpeningTest : public WindowTest {
  protected:
    /// Opens a file, whatever comes of it; the message, or nothing.
    std::string Try(const std::string& file, OpenAs as = OpenAs::Picture) {
        failures.clear();
        const QSignalSpy opened(document.get(), &pzel_view::Document::opened);
        document->Open(pzel_view::LayersOf({QString::fromStdString(file)}), as);
        EXPECT_TRUE(WaitFor([&] { return !opened.empty() || !failures.empty(); })) << file;
        return failures.empty() ? "" : failures[0];
    }
};

TEST_F(OpeningTest, ShowsTheSamples) {
    for (const char* name : {"coffee.png", "hubble_deep_field.jpg", "simple.fits", "multipage.tif",
                             "bw_text.png", "no_time_for_that_tiny.gif", "chessboard_GRAY_U16.tif"}) {
        EXPECT_EQ(Try(PictureSample(name)), "");
        QTest::qWait(0);
        EXPECT_FALSE(window->Picture().Picture(document->Extent(), 1).isNull()) << name;
    }
    for (const char* name : {"CT_small.dcm", "MR_small_RLE.dcm", "rtdose.dcm",
                             "SC_ybr_full_422_uncompressed.dcm", "liver_1frame.dcm", "JPEG2000.dcm"}) {
        EXPECT_EQ(Try(DicomSample(name)), "");
        EXPECT_EQ(Render({DicomSample(name), "-o", Path("rendered.png")}).status, 0);
        EXPECT_TRUE(
            window->Picture().Picture(document->Extent(), 1).convertToFormat(QImage::Format_RGB888) ==
            QImage(QString::fromStdString(Path("rendered.png"))).convertToFormat(QImage::Format_RGB888))
            << name;
    }
}

// The window of a program stands there with its picture before it has menus and panels.
TEST_F(OpeningTest, ThePictureComesBeforeThePanels) {
    const auto later = std::make_shared<pzel_view::Document>();
    later->Open({ParseLayer(PictureSample("moon.png"))}, OpenAs::Picture);
    pzel_view::MainWindow bare(later, pzel_view::Furnishing::AfterPicture);
    bare.setAttribute(Qt::WA_DeleteOnClose, false);
    bool hadPanels = true;
    QObject::connect(&bare.Picture(), &pzel_view::PictureView::painted, &bare,
                     [&] { hadPanels = hadPanels && bare.findChild<QDockWidget*>(); });
    bare.show();
    ASSERT_TRUE(WaitFor([&] { return !hadPanels && bare.findChild<QDockWidget*>(); }));
    EXPECT_EQ(bare.findChildren<QDockWidget*>().size(), window->findChildren<QDockWidget*>().size());
    EXPECT_EQ(bare.Actions().Find("file.open")->isEnabled(),
              window->Actions().Find("file.open")->isEnabled());
    // Where nothing can be read the panels come all the same.
    const auto nothing = std::make_shared<pzel_view::Document>();
    nothing->Open({ParseLayer(Path("missing.png"))}, OpenAs::Picture);
    pzel_view::MainWindow empty(nothing, pzel_view::Furnishing::AfterPicture);
    empty.setAttribute(Qt::WA_DeleteOnClose, false);
    empty.show();
    EXPECT_TRUE(WaitFor([&] { return empty.findChild<QDockWidget*>() && empty.Messages().isVisible(); }));
}

TEST_F(OpeningTest, BrokenFilesLeaveWhatIsThere) {
    Open({PictureSample("moon.png")});
    const QImage before = Painted();
    std::vector<std::string> broken = {Path("missing.png"), WriteBytes("empty.tif", ""),
                                       WriteBytes("text.png", "Not a picture at all.\n"),
                                       DicomSample("rtplan.dcm"), DicomSample("MR_truncated.dcm")};
    for (const std::string& file : broken) {
        EXPECT_NE(Try(file), "") << file;
        EXPECT_NE(window->Messages().Text().toStdString().find(std::filesystem::path(file).filename()),
                  std::string::npos)
            << window->Messages().Text().toStdString();
        EXPECT_NE(Try(file, OpenAs::Layers), "") << file;
        ASSERT_EQ(document->Layers().size(), 1U);
    }
    EXPECT_TRUE(Painted() == before);
    EXPECT_EQ(Try(PictureSample("camera.png")), "");
    EXPECT_EQ(window->Messages().Text(), "");
}

// Whatever a file has become, the window shows what the command line shows of it, or tells why not.
TEST_F(OpeningTest, DamagedFilesAreShownAsTheCommandLineDoes) {
    Open({PictureSample("moon.png")});
    int shown = 0, refused = 0;
    for (int i = 0; i < 40; ++i) {
        const std::vector<std::string> samples = {
            PictureSample("coffee.png"),  PictureSample("rocket.jpg"),
            PictureSample("simple.fits"), PictureSample("chessboard_GRAY_U16.tif"),
            DicomSample("CT_small.dcm"),  DicomSample("SC_rgb_rle_2frame.dcm"),
            DicomSample("JPEG2000.dcm"),  PictureSample("no_time_for_that_tiny.gif")};
        const std::filesystem::path whole = samples[random() % samples.size()];
        std::string bytes = ReadBytes(whole.string());
        if (random() % 3 == 0) bytes.resize(random() % bytes.size());
        for (int flips = static_cast<int>(random() % 4); flips > 0 && !bytes.empty(); --flips)
            bytes[random() % bytes.size()] ^= static_cast<char>(1 << random() % 8);
        const std::string file = WriteBytes("damaged" + whole.extension().string(), bytes);
        const QImage before = window->Picture().Picture(document->Extent(), 1);
        const bool isRead = Try(file).empty();
        const Outcome run = Render({file, "--frame", "0", "-q", "-o", Path("rendered.png")});
        EXPECT_EQ(isRead, run.status == 0) << whole << " " << i << ": " << run.err;
        isRead ? ++shown : ++refused;
        const QImage picture = window->Picture().Picture(document->Extent(), 1);
        if (!isRead) {
            EXPECT_TRUE(picture == before) << whole << " " << i;
        } else if (run.status == 0) {
            EXPECT_TRUE(
                picture.convertToFormat(QImage::Format_RGB888) ==
                QImage(QString::fromStdString(Path("rendered.png"))).convertToFormat(QImage::Format_RGB888))
                << whole << " " << i;
        }
    }
    EXPECT_TRUE(shown > 2 && refused > 10) << shown << " shown, " << refused << " refused";
}

// Rows that no bitmap holds are shown by the parts that are seen.
TEST_F(OpeningTest, ShowsRowsThatAreLongerThanBitmaps) {
    Pixels<std::uint8_t> broad(30000, 3, 3);
    for (auto& value : broad.values) value = static_cast<std::uint8_t>(random());
    WritePicture<std::uint8_t>(Path("broad.tif"), {broad});
    Open({Path("broad.tif")});
    const QImage all = window->Picture().Picture(document->Extent(), 1);
    ASSERT_EQ(all.width(), 30000);
    for (int x = 0; x < 30000; x += 777) EXPECT_EQ(qRed(all.pixel(x, 1)), broad.At(x, 1, 0)) << x;
}

TEST_F(OpeningTest, OpensAndClosesAHundredTimes) {
    const std::vector<std::vector<std::string>> turns = {
        {PictureSample("coffee.png"), PictureSample("moon.png") + "@0.5"},
        {DicomSample("CT_small.dcm") + "@threshold=250:3000,boundary"},
        {PictureSample("multipage.tif")},
        {}};
    for (int i = 0; i < 100; ++i) {
        const std::vector<std::string>& turn = turns[static_cast<std::size_t>(i) % turns.size()];
        if (turn.empty()) {
            document->Close();
            EXPECT_TRUE(document->Layers().empty());
        } else {
            Open(turn);
            EXPECT_EQ(document->Layers().size(), turn.size());
        }
        if (i % 25 == 24) {
            const std::unique_ptr<pzel_view::MainWindow> other(window->NewView());
            other->setAttribute(Qt::WA_DeleteOnClose, false);
            QTest::qWait(1);
        }
    }
}

TEST_F(OpeningTest, LargePicturesNeverBlockTheWindowAndCanBeGivenUp) {
    Open({PictureSample("moon.png")});
    WritePicture<std::uint8_t>(Path("large.tif"), {Pixels<std::uint8_t>(6000, 5000, 1)});
    document->Open(pzel_view::LayersOf({QString::fromStdString(Path("large.tif"))}), OpenAs::Picture);
    ASSERT_TRUE(WaitFor([&] { return document->IsReading(); }));
    Find<QPushButton>("cancel").click();
    ASSERT_TRUE(WaitFor([&] { return !failures.empty() || !document->IsReading(); }));
    EXPECT_EQ(failures, std::vector<std::string>{"Cancelled"});
    EXPECT_EQ(document->InfoOf(*document->Layers()[0]).file, PictureSample("moon.png"));
    EXPECT_EQ(Try(Path("large.tif")), "");
    EXPECT_EQ(document->Extent().width(), 6000);
}

TEST_F(OpeningTest, FilesOfAFolderAndFramesOfAStack) {
    std::vector<std::string> names;
    for (const char* name : {"slice2.tif", "slice10.tif", "slice1.tif"}) {
        WritePicture<std::uint8_t>(Path(name), {Pixels<std::uint8_t>(8, 8, 1)});
        names.push_back(Path(name));
    }
    WriteBytes("slice3.txt", "no picture");
    const QString first = QString::fromStdString(Path("slice1.tif"));
    const QString third = pzel_view::Neighbour(pzel_view::Neighbour(first, 1), 1);
    EXPECT_TRUE(third.endsWith("slice10.tif")) << third.toStdString();
    QStringList files;
    for (const std::string& name : names) files << QString::fromStdString(name);
    document->Open(pzel_view::LayersOf(files), OpenAs::Frames);
    EXPECT_TRUE(WaitFor([&] { return document->Frames() == 3; }));
    EXPECT_EQ(document->Layers().size(), 1U);
}

}  // namespace
