// Frame selection against naive models: a flat list of frames for stepping, plain loops for the snapping.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "component_helpers.h"
#include "pzel/component/modular_hit.h"

namespace {

TEST(FrameSelection, StepsAndPlaybackFollowTheListOfFrames) {
    std::mt19937 random(1);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int round = 0; round < 300; ++round) {
        Recorder r;
        Movie movie;
        r.name('m', &movie);
        std::vector<unsigned long> frames;
        if (round % 5 > 0) {  // ascending ranges with gaps
            for (int n = 1 + below(4), next = below(4); n > 0; --n) {
                const int last = next + below(4);
                movie.AddFrameRange({next, last});
                while (next <= last) frames.push_back(static_cast<unsigned long>(next++));
                next += 1 + below(3);
            }
            movie.SetMovieLength(frames.back() + 1 + random() % 3);
        } else {  // no ranges: the whole movie
            movie.SetMovieLength(1 + random() % 20);
            while (frames.size() < movie.GetMovieLength()) frames.push_back(frames.size());
        }
        const int count = static_cast<int>(frames.size());
        EXPECT_EQ(movie.GetRangesLength(), frames.size());
        for (int mode = 0; mode < 16; mode += 2) {
            int at = below(count);
            movie.SetCurrentFrame(frames[at]);
            movie.SetStatus(static_cast<unsigned short>(mode | MovieLocked));
            movie.AttachObserver(&r);
            bool back = false;
            for (int step = 0; step < 2 * count + 3; ++step) {
                const int next = (at + 1) % count, previous = (at + count - 1) % count, from = at;
                EXPECT_EQ(movie.GetNextFrame(), frames[next]);
                EXPECT_EQ(movie.GetPreviousFrame(), frames[previous]);
                if (mode == MoviePlayForward) at = next;
                if (mode == MoviePlayBackward) at = previous;
                if (mode == MoviePlayToEnd) at = std::min(at + 1, count - 1);
                if (mode == MoviePlayForthAndBack && at == (back ? 0 : count - 1)) back = !back;
                if (mode == MoviePlayForthAndBack) at = back ? previous : next;
                movie.MoveToNextFrame();
                ASSERT_EQ(movie.GetCurrentFrame(), frames[at]) << "mode " << mode;
                EXPECT_EQ(r.take(), at == from ? "" : "m12 ");
            }
            movie.DetachObserver(&r);
        }
    }
}

/// The snapping as plain loops; none where they run too long to wait for.
std::optional<std::uint32_t> snapped(Movie& movie) {
    auto c = static_cast<std::uint32_t>(movie.GetCurrentFrame());
    const auto first = static_cast<std::uint32_t>(movie.GetFirstFrame());
    const auto last = static_cast<std::uint32_t>(movie.GetLastFrame());
    const std::uint32_t span = last - first + 1;
    int patience = 1000;
    while (c < first && --patience > 0) c = span == 0 ? first : c + span;
    while (c > last && --patience > 0) c = span == 0 ? last : c - span;
    if (patience <= 0) return std::nullopt;
    for (const auto& [from, to] : movie.GetFrameRanges())
        if (static_cast<std::int32_t>(c) <= to)
            return static_cast<std::int32_t>(c) <= from ? static_cast<std::uint32_t>(from) : c;
    return c;
}

TEST(FrameSelection, SnapsLikeThePlainLoops) {
    std::mt19937 random(2);
    int compared = 0;
    for (int round = 0; round < 20000; ++round) {
        // From small numbers to the whole 32 bits, inverted ranges included.
        const std::uint32_t mask = 0xFFFFFFFFu >> (random() % 29);
        Movie movie;
        movie.SetMovieLength((random() & mask) + 1);
        movie.SetCurrentFrame((random() & mask) % std::max(movie.GetMovieLength(), 1ul));
        for (auto n = 1 + random() % 3; n > 0; --n) movie.AddFrameRange({random() & mask, random() & mask});
        const auto expected = snapped(movie);
        movie.AdjustFrameToTimeSelection();
        if (!expected) continue;
        ++compared;
        ASSERT_EQ(movie.GetCurrentFrame(), *expected);
    }
    EXPECT_GT(compared, 15000);
    // Exhaustively for small moduli, progressions that never hit included.
    for (std::uint64_t modulus = 1; modulus <= 16; ++modulus)
        for (std::uint64_t step = 0; step <= modulus; ++step)
            for (std::uint64_t lo = 0; lo < modulus; ++lo)
                for (std::uint64_t hi = lo; hi < modulus; ++hi) {
                    std::optional<std::uint64_t> expected;
                    for (std::uint64_t k = 0; k < modulus && !expected; ++k)
                        if (step * k % modulus >= lo && step * k % modulus <= hi) expected = k;
                    ASSERT_EQ(pzel::firstHit(step, modulus, lo, hi), expected);
                }
}

}  // namespace
