// Frames on their way: a ring that loses the frames that are needed next, answers in another order than
// somebody waits for them or never, and playing that does not keep its rate.
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>
#include <map>
#include <numeric>

#include "apps/view/frame_ring.h"
#include "pzel/image/lifecycle.h"
#include "window.h"

namespace {

using pzel_view::FileReader;
using pzel_view::FrameRing;
using pzel_view::Haste;
using pzel_view::MadeFrame;
using pzel_view::Player;

class FramesTest : public WindowTest {
  protected:
    static constexpr int kFrames = 24;
    static constexpr int kStep = 10;  // of the greys from frame to frame

    /// A movie of frames that are grey all over.
    std::string WriteGreys() {
        std::vector<Pixels<std::uint8_t>> greys;
        for (int i = 0; i < kFrames; ++i) {
            greys.emplace_back(40, 30, 1);
            std::fill(greys.back().values.begin(), greys.back().values.end(),
                      static_cast<std::uint8_t>(kStep * i));
        }
        WritePicture<std::uint8_t>(Path("greys.tif"), greys);
        return Path("greys.tif");
    }

    /// Opens a file with a reader of its own.
    static int OpenWith(FileReader& reader, const std::string& file) {
        int source = 0;
        reader.Open(
            ParseLayer(file), 0, [&](const pzel_view::OpenedFile& opened) { source = opened.source; },
            [](const QString& reason) { ADD_FAILURE() << reason.toStdString(); });
        EXPECT_TRUE(WaitFor([&] { return source != 0; }));
        return source;
    }

    /// Where a frame of the whole movie stands in the way through it.
    std::vector<std::uint32_t> WaysFrames(MovieStatus way, std::size_t count) {
        const std::unique_ptr<Movie, pzel_io::Releaser> plain(new Movie);
        plain->SetMovieLength(kFrames);
        plain->SetStatus(way);
        std::vector<std::uint32_t> frames;
        while (frames.size() < count) {
            plain->MoveToNextFrame();
            frames.push_back(static_cast<std::uint32_t>(plain->GetCurrentFrame()));
        }
        return frames;
    }
};

// Beside a list that is sorted by what is needed, and cut.
TEST_F(FramesTest, ARingKeepsWhatIsNeededSoonest) {
    for (const std::size_t megabytes : {2, 19, 63, 70}) {
        for (const bool hasValues : {false, true}) {
            const auto record = [&] {
                pzel_io::OwnedImage image(AllocImage());  // which claims its bytes, and has none
                image->height = 1024;
                image->rowBytes = static_cast<std::uint16_t>(megabytes * 1024);
                image->width = 1;
                image->channels = 1;
                image->dataType = DataUInt8;
                return image;
            };
            const std::size_t frameBytes = GetImageTotalBytes(record().get()) * (hasValues ? 2 : 1);
            ASSERT_GT(frameBytes, std::size_t{1} << 20);
            const std::size_t room =
                std::max<std::size_t>(2, std::min<std::size_t>(240, (std::size_t{192} << 20) / frameBytes));
            EXPECT_EQ(FrameRing::Room(frameBytes), room);
            FrameRing ring;
            std::map<std::uint32_t, const Image*> model;
            std::vector<std::size_t> ranks(400);
            std::iota(ranks.begin(), ranks.end(), 0);
            for (int i = 0; i < 600; ++i) {
                if (i % 100 == 0) std::shuffle(ranks.begin(), ranks.end(), random);
                const auto number = static_cast<std::uint32_t>(random() % ranks.size());
                if (random() % 5 == 0) {
                    const std::optional<MadeFrame> taken = ring.Take(number);
                    ASSERT_EQ(taken.has_value(), model.contains(number));
                    EXPECT_EQ(taken ? taken->image.get() : nullptr, model[number]);
                    model.erase(number);
                } else {
                    MadeFrame frame;
                    frame.number = number;
                    frame.image = record();
                    if (hasValues) frame.values = record();
                    model[number] = frame.image.get();
                    ring.Put(std::move(frame), [&](std::uint32_t one) { return ranks[one]; });
                    while (model.size() > room)
                        model.erase(std::max_element(model.begin(), model.end(), [&](auto& a, auto& b) {
                            return ranks[a.first] < ranks[b.first];
                        }));
                }
                std::vector<std::uint32_t> numbers;
                for (const auto& [one, image] : model) numbers.push_back(one);
                ASSERT_EQ(ring.Frames(), numbers) << megabytes << " MB, step " << i;
                EXPECT_EQ(ring.Has(number), model.contains(number));
            }
        }
    }
    EXPECT_EQ(FrameRing::Room(0), 240U);
}

TEST_F(FramesTest, WhoWaitsIsAnsweredFirstAndInOrder) {
    FileReader reader;
    const int source = OpenWith(reader, WriteGreys());
    std::vector<std::uint32_t> answers;
    const auto ask = [&](std::uint32_t frame, Haste haste) {
        reader.Make(
            source, frame, haste, [&](const MadeFrame& made) { answers.push_back(made.number); },
            [](const QString& reason) { ADD_FAILURE() << reason.toStdString(); });
    };
    // Meanwhile the reader is at something large.
    WritePicture<std::uint8_t>(Path("large.tif"), {Pixels<std::uint8_t>(6000, 5000, 1)});
    const auto keepBusy = [&] {
        reader.Open(
            ParseLayer(Path("large.tif")), 0, [&](const auto&) { answers.push_back(99); },
            [](const QString& reason) { ADD_FAILURE() << reason.toStdString(); });
    };
    keepBusy();
    for (const std::uint32_t frame : {7U, 3U}) ask(frame, Haste::Ahead);
    for (const std::uint32_t frame : {20U, 15U}) ask(frame, Haste::Now);
    for (const std::uint32_t frame : {8U, 1U}) ask(frame, Haste::Ahead);
    for (const std::uint32_t frame : {23U, 14U}) ask(frame, Haste::Now);
    ASSERT_TRUE(WaitFor([&] { return answers.size() == 9; }));
    EXPECT_EQ(answers, (std::vector<std::uint32_t>{99, 20, 15, 23, 14, 7, 3, 8, 1}));
    answers.clear();
    keepBusy();
    for (const std::uint32_t frame : {7U, 3U}) ask(frame, Haste::Ahead);
    ask(13, Haste::Now);
    reader.ForgetAhead();
    ask(5, Haste::Ahead);
    ASSERT_TRUE(WaitFor([&] { return answers.size() == 3; }));
    EXPECT_EQ(answers, (std::vector<std::uint32_t>{99, 13, 5}));
}

// Each who asks is told once, whatever is given up meanwhile, and frames are those that were asked for.
TEST_F(FramesTest, EveryQuestionHasOneAnswer) {
    const std::string file = WriteGreys();
    FileReader reader;
    std::vector<bool> busy;
    QObject::connect(&reader, &FileReader::busyChanged, [&](bool is) { busy.push_back(is); });
    const int source = OpenWith(reader, file);
    std::vector<int> told;
    int open = 0, cancelled = 0, refused = 0, made = 0;
    for (int i = 0; i < 300; ++i) {
        const std::size_t mine = told.size();
        const std::uint32_t frame = static_cast<std::uint32_t>(Any(kFrames));
        const auto failed = [&, mine](const QString& reason) {
            ++told[mine];
            --open;
            reason == "Cancelled" ? ++cancelled : ++refused;
        };
        const auto arrived = [&, mine, frame](const MadeFrame& answer) {
            ++told[mine];
            --open;
            ++made;
            EXPECT_EQ(answer.number, frame);
            EXPECT_EQ(answer.image->data[0], kStep * frame);
            EXPECT_EQ(GetDataType(answer.image.get()), DataUInt8);
        };
        const int what = static_cast<int>(random() % 20);
        if (what == 0) {
            reader.Cancel();
        } else if (what == 1) {
            QCoreApplication::processEvents();
        } else if (what == 2) {
            ASSERT_TRUE(WaitFor([&] { return open == 0; }));
        } else {
            told.push_back(0);
            ++open;
            Layer impossible = ParseLayer(file);
            impossible.role = Role::Vectors;  // of one channel
            if (what == 3)
                reader.MakeBy(
                    source, impossible, frame, [](const MadeFrame&) { ADD_FAILURE(); }, failed);
            else if (what == 4)
                reader.MakeBy(source, ParseLayer(file), frame, arrived, failed);
            else if (what == 5)
                reader.Open(
                    ParseLayer(Path("missing.png")), 0, [](const auto&) { ADD_FAILURE(); }, failed);
            else
                reader.Make(source, frame, random() % 2 ? Haste::Now : Haste::Ahead, arrived, failed);
        }
    }
    ASSERT_TRUE(WaitFor([&] { return open == 0 && !busy.back(); }));
    EXPECT_EQ(told, std::vector<int>(told.size(), 1));
    EXPECT_TRUE(made > 30 && refused > 3 && cancelled > 3) << made << " " << refused << " " << cancelled;
    for (std::size_t i = 0; i < busy.size(); ++i) EXPECT_EQ(busy[i], i % 2 == 0) << i;
}

TEST_F(FramesTest, PlayingKeepsItsRate) {
    constexpr double kRate = 250;
    Open({WriteGreys()});
    Player& player = document->GetPlayer();
    EXPECT_TRUE(player.HasOwnRate());
    EXPECT_EQ(player.Rate(), 25);
    for (const auto& [wished, kept] :
         std::vector<std::pair<double, double>>{{1e9, 1000}, {1e-9, 0.01}, {-1, 25}, {12.5, 12.5}}) {
        player.SetRate(wished);
        EXPECT_EQ(player.Rate(), kept);
        EXPECT_EQ(player.HasOwnRate(), wished < 0);
    }
    player.SetRate(kRate);
    // All frames are read before, so that none is late.
    document->Expect(WaysFrames(MoviePlayForward, kFrames));
    ASSERT_TRUE(WaitFor([&] { return document->ReadFrames().size() == kFrames; }));
    for (const pzel_view::Pace pace : {pzel_view::Pace::EveryFrame, pzel_view::Pace::KeepRate}) {
        document->GoTo(0);
        player.SetPace(pace);
        // How many rounds are left out at once cannot be seen, and is not counted.
        const std::vector<std::uint32_t> way = WaysFrames(MoviePlayForward, 200 * kFrames);
        std::size_t place = 0;  // behind the last frame in the way
        std::uint64_t leftOut = 0;
        int shown = 0;
        QElapsedTimer clock;
        const auto watching =
            QObject::connect(document.get(), &pzel_view::Document::frameShown, [&](std::uint32_t frame) {
                while (way[place] != frame) ++place, ++leftOut;
                ++place;
                // No frame comes before its time; the timer counts in whole milliseconds.
                const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9 + 0.0015;
                EXPECT_GE(seconds * kRate, static_cast<double>(place)) << shown;
                if (++shown == 15) QThread::msleep(60);  // a window that has something else to do
                if (shown == 40) player.Stop();
            });
        clock.start();
        player.Start();
        ASSERT_TRUE(WaitFor([&] { return shown >= 40; }));
        player.Stop();
        QObject::disconnect(watching);
        EXPECT_FALSE(player.IsPlaying());
        EXPECT_EQ(player.LeftOut() % kFrames, leftOut % kFrames);
        const bool areAll = pace == pzel_view::Pace::EveryFrame;
        EXPECT_TRUE(areAll ? player.LeftOut() == 0 : player.LeftOut() > 10) << player.LeftOut();
    }
    Open({Path("greys.tif")});
    EXPECT_TRUE(player.HasOwnRate()) << "another movie has another rate";
}

TEST_F(FramesTest, StepsGoThroughSelectedFramesAndStopPlaying) {
    Open({WriteGreys()});
    Player& player = document->GetPlayer();
    document->SetRanges("Select", {{3, 5}, {9, 10}, {20, 20}});
    const std::vector<std::uint32_t> selected = {3, 4, 5, 9, 10, 20};  // round in a circle
    const std::size_t count = selected.size();
    std::size_t place = 0;
    for (int i = 0; i < 60; ++i) {
        if (i % 3 == 0) {
            player.SetRate(0.01);
            player.Start();
            EXPECT_TRUE(player.IsPlaying());
        }
        const int what = i == 0 ? 2 : Any(4);
        Trigger(
            std::vector<const char*>{"time.on", "time.back", "time.first", "time.last"}[std::size_t(what)]);
        place = std::vector<std::size_t>{(place + 1) % count, (place + count - 1) % count, 0,
                                         count - 1}[std::size_t(what)];
        EXPECT_FALSE(player.IsPlaying());
        ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == selected[place]; }))
            << i << ": " << what;
    }
    // What is played once starts over from its end, and says when it is there again.
    player.SetWay(MoviePlayToEnd);
    player.SetRate(1000);
    player.GoToLast();
    ASSERT_TRUE(WaitFor([&] { return document->CurrentFrame() == 20; }));
    std::vector<std::uint32_t> seen;
    QObject::connect(document.get(), &pzel_view::Document::frameShown,
                     [&](std::uint32_t frame) { seen.push_back(frame); });
    const QSignalSpy told(&player, &Player::playingChanged);
    player.Start();
    ASSERT_TRUE(WaitFor([&] { return !player.IsPlaying(); }));
    EXPECT_EQ(seen, selected);
    ASSERT_EQ(told.size(), 2);
    EXPECT_FALSE(told.back().front().toBool());
}

}  // namespace
