// Time: frames that are played in another order than the library goes through them, frames that show others,
// and a video that is in memory whole.
#include <QSignalSpy>
#include <algorithm>

#include "apps/view/time_line.h"
#include "window.h"

namespace {

using pzel_view::Pace;
using pzel_view::Player;

class TimeTest : public WindowTest {
  protected:
    /// A movie whose frames are grey all over, each darker or lighter than the others.
    void OpenGreys(int frames) {
        std::vector<Pixels<std::uint8_t>> greys;
        for (int i = 0; i < frames; ++i) {
            greys.emplace_back(40, 30, 1);
            std::fill(greys.back().values.begin(), greys.back().values.end(),
                      static_cast<std::uint8_t>(5 * i));
        }
        WritePicture<std::uint8_t>(Path("greys.tif"), greys);
        Open({Path("greys.tif")});
    }
    int ShownGrey() { return qGray(window->Picture().Picture({0, 0, 1, 1}, 1).pixel(0, 0)); }

    /// The frames that are shown until there are `count` of them, the first of all included.
    std::vector<std::uint32_t> Visited(std::size_t count) {
        std::vector<std::uint32_t> frames;
        const auto watching =
            QObject::connect(document.get(), &pzel_view::Document::frameShown, [&](std::uint32_t frame) {
                frames.push_back(frame);
                EXPECT_EQ(ShownGrey(), static_cast<int>(5 * frame));
            });
        document->GetPlayer().Start();
        EXPECT_TRUE(WaitFor([&] { return frames.size() >= count || !document->GetPlayer().IsPlaying(); }));
        document->GetPlayer().Stop();
        QObject::disconnect(watching);
        frames.resize(std::min(frames.size(), count));
        return frames;
    }
};

TEST_F(TimeTest, VisitsFramesAsTheLibraryDoes) {
    constexpr std::size_t kSteps = 30;
    OpenGreys(20);
    Player& player = document->GetPlayer();
    player.SetRate(500);
    const std::vector<std::vector<Movie::FrameRange>> selections = {
        {}, {{3, 6}, {12, 14}}, {{12, 15}, {2, 2}}};
    for (const auto& ranges : selections) {
        for (const MovieStatus way :
             {MoviePlayForward, MoviePlayBackward, MoviePlayForthAndBack, MoviePlayToEnd}) {
            document->SetRanges("Select", ranges);
            const long start = ranges.empty() ? 0 : ranges[0].first;
            document->GoTo(static_cast<std::uint32_t>(start));
            ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == start; }));
            player.SetWay(way);
            const std::vector<std::uint32_t> visited = Visited(kSteps);

            const std::unique_ptr<Movie, pzel_io::Releaser> plain(new Movie);
            plain->SetMovieLength(20);
            for (const Movie::FrameRange& range : ranges) plain->AddFrameRange(range);
            plain->SetStatus(way);
            plain->SetCurrentFrame(static_cast<unsigned long>(start));
            std::vector<std::uint32_t> expected;
            while (expected.size() < kSteps) {
                const unsigned long before = plain->GetCurrentFrame();
                plain->MoveToNextFrame();
                if (plain->GetCurrentFrame() == before) break;
                expected.push_back(static_cast<std::uint32_t>(plain->GetCurrentFrame()));
            }
            EXPECT_EQ(visited, expected) << "way " << way << ", " << ranges.size() << " ranges";
        }
    }
}

TEST_F(TimeTest, GoesWhereItIsTold) {
    OpenGreys(30);
    for (int i = 0; i < 20; ++i) {
        const auto frame = static_cast<std::uint32_t>(random() % 30);
        document->GoTo(static_cast<std::uint32_t>(random() % 30));  // which is overtaken
        document->GoTo(frame);
        ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == frame; }));
        EXPECT_EQ(ShownGrey(), static_cast<int>(5 * frame));
    }
    // Levels stay.
    pzel_view::LayerState state = State();
    state.levels = {{20, 120}};
    document->Change(Active(), "Levels", state);
    document->GoTo(9);
    ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == 9; }));
    EXPECT_EQ(State().levels[0].high, 120);
    EXPECT_EQ(ShownGrey(), static_cast<int>(std::lround((45 - 20) * 255 / 100.0)));
}

TEST_F(TimeTest, RangesAreDragged) {
    OpenGreys(30);
    auto& line = Find<pzel_view::TimeLine>("timeLine");
    const auto at = [&](int frame) { return QPoint(static_cast<int>(line.PlaceOf(frame)), 8); };
    Drag(line, at(4), at(12));
    using Ranges = std::vector<Movie::FrameRange>;
    EXPECT_EQ(document->GetMovie().GetFrameRanges(), (Ranges{{4, 12}}));
    Drag(line, at(12), at(9));
    EXPECT_EQ(document->GetMovie().GetFrameRanges(), (Ranges{{4, 9}}));
    Drag(line, at(20), at(17));
    EXPECT_EQ(document->GetMovie().GetFrameRanges(), (Ranges{{4, 9}, {17, 20}}));
    document->History().undo();
    document->History().undo();
    EXPECT_EQ(document->GetMovie().GetFrameRanges(), (Ranges{{4, 12}}));
    Drag(line, QPoint(at(0).x(), 30), QPoint(at(22).x(), 30));
    EXPECT_TRUE(WaitFor([&] { return document->CurrentFrame() == 22; }));

    document->GoTo(3);
    ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == 3; }));
    window->Actions().Find("time.cut")->trigger();
    window->Actions().Find("time.marked")->trigger();
    EXPECT_EQ(document->GetMovie().GetFrameRanges(), (Ranges{{0, 2}, {4, 29}}));
}

TEST_F(TimeTest, AVideoIsReadAheadAsFarAsThereIsRoom) {
    Open({Sample("share/forensics-samples/original-files/movie1/VID_20191220_170832.mp4")});
    const std::size_t frameBytes = GetImageTotalBytes(Active().GetCurrentImage());
    const std::size_t room = pzel_view::FrameRing::Room(frameBytes);
    Player& player = document->GetPlayer();
    player.SetPace(Pace::EveryFrame);
    player.SetRate(1000);
    std::size_t most = 0;
    int shown = 0;
    QObject::connect(document.get(), &pzel_view::Document::ringChanged,
                     [&] { most = std::max(most, document->ReadFrames().size()); });
    QObject::connect(document.get(), &pzel_view::Document::frameShown, [&] { ++shown; });
    player.Start();
    EXPECT_TRUE(WaitFor([&] { return shown > 60; }));
    EXPECT_GT(most, 2U);
    EXPECT_LE(most, room + 1);
}

}  // namespace
