// Time: frames that are played in another order than the library goes through them, frames that show others,
// and a video that is in memory whole.
#include <QSignalSpy>
#include <QUndoStack>
#include <algorithm>
#include <set>

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

// Drags and keys anywhere, beside ranges that a plain movie was given, and sets of marks.
TEST_F(TimeTest, RangesAndMarksAreWhereTheyWerePut) {
    constexpr int kFrames = 30;
    OpenGreys(kFrames);
    auto& line = Find<pzel_view::TimeLine>("timeLine");
    using Ranges = std::vector<Movie::FrameRange>;
    const auto plain = [](const Ranges& wanted) {
        const std::unique_ptr<Movie, pzel_io::Releaser> movie(new Movie);
        movie->SetMovieLength(kFrames);
        for (const Movie::FrameRange& range : wanted) movie->AddFrameRange(range);
        return Ranges(movie->GetFrameRanges());
    };
    Ranges ranges;
    std::set<std::int32_t> keep, cut;
    for (int i = 0; i < 150; ++i) {
        const int now = Any(kFrames), to = Any(kFrames);
        document->GoTo(static_cast<std::uint32_t>(now));
        ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == static_cast<std::uint32_t>(now); }));
        const int what = Any(10);
        if (what == 0 || ranges.size() > 4) {
            Trigger("time.all");
            ranges.clear();
        } else if (what < 3) {
            Trigger(what == 1 ? "time.start" : "time.end");
            if (ranges.empty()) ranges = {{0, kFrames - 1}};
            auto& [first, last] = ranges.back();
            (what == 1 ? first : last) = now;
            if (first > last) first = last = now;
            ranges = plain(ranges);
        } else if (what < 6) {
            Trigger(what == 3 ? "time.keep" : "time.cut");
            auto& set = what == 3 ? keep : cut;
            const bool was = set.contains(now);
            keep.erase(now);
            cut.erase(now);
            if (!was) set.insert(now);
        } else if (what == 6) {
            Trigger("time.marked");
            ranges.clear();
            for (int frame = 0; frame < kFrames; ++frame) {
                if (cut.contains(frame) || (!keep.empty() && !keep.contains(frame))) continue;
                if (ranges.empty() || ranges.back().second != frame - 1) ranges.emplace_back(frame, frame);
                ranges.back().second = frame;
            }
        } else if (now != to) {
            Ranges wanted = ranges;
            const auto isEnd = [&](const auto& range) { return range.first == now || range.second == now; };
            const auto taken = std::find_if(wanted.begin(), wanted.end(), isEnd);
            const long fixed = taken == wanted.end()  ? now
                               : taken->second == now ? taken->first
                                                      : taken->second;
            const Movie::FrameRange dragged{std::min<long>(to, fixed), std::max<long>(to, fixed)};
            taken == wanted.end() ? wanted.push_back(dragged) : void(*taken = dragged);
            const auto place = [&](int frame) { return QPoint(static_cast<int>(line.PlaceOf(frame)), 8); };
            Drag(line, place(now), place(to));
            EXPECT_EQ(document->GetMovie().GetFrameRanges(), plain(wanted));
            document->History().undo();  // of the whole drag
            EXPECT_EQ(document->GetMovie().GetFrameRanges(), ranges);
            document->History().redo();
            ranges = plain(wanted);
        }
        ASSERT_EQ(document->GetMovie().GetFrameRanges(), ranges)
            << i << ": " << what << " at " << now << " to " << to;
        EXPECT_TRUE(document->Marks().keepFrames == keep && document->Marks().cutFrames == cut) << i;
        if (i % 15 != 14) continue;
        // Below the ranges one goes to a frame.
        const QPoint low(0, line.height() - 5);
        Drag(line, low + QPoint(static_cast<int>(line.PlaceOf(now)), 0), low);
        ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == 0; }));
        const QImage seen = line.grab().toImage();
        for (int frame = 1; frame < kFrames; ++frame) {
            const int x = static_cast<int>(line.PlaceOf(frame));
            EXPECT_EQ(line.FrameAt(x), static_cast<std::uint32_t>(frame));
            const QColor mark(seen.pixel(x, pzel_view::TimeLine::LaneOfRanges() + 4));
            EXPECT_EQ(mark.green() > mark.red() + 60, keep.contains(frame)) << frame;
            EXPECT_EQ(mark.red() > mark.green() + 60, cut.contains(frame)) << frame;
            const bool isSelected = std::any_of(ranges.begin(), ranges.end(), [&](const auto& range) {
                return range.first <= frame && frame <= range.second;
            });
            const bool isPainted = seen.pixelColor(x, 9) == line.palette().color(QPalette::Highlight);
            EXPECT_TRUE(ranges.empty() || isPainted == isSelected) << frame;
        }
    }
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
