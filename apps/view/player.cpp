// Frames are shown when they are due and read; a plan of what comes is kept full.
#include "player.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "document.h"

namespace pzel_view {

namespace {

constexpr std::size_t kPlanned = 64;
constexpr double kFastest = 1000, kSlowest = 0.01;  // frames a second

}  // namespace

Player::Player(Document& shown) : document(shown), planner(new Movie) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &Player::Tick);
    connect(&document, &Document::frameShown, this, &Player::Follow);
    connect(&document, &Document::ringChanged, this, [this] {
        if (isLate) ShowDue();
    });
    connect(&document, &Document::timeChanged, this, [this] { Follow(document.CurrentFrame()); });
    connect(&document, &Document::opened, this, [this] {
        Stop();
        rate = 0;
        Follow(0);
        emit settingsChanged();
    });
}

double Player::Rate() const {
    return rate == 0 ? document.FrameRate() : rate;
}

void Player::SetRate(double framesPerSecond) {
    rate = framesPerSecond <= 0 ? 0 : std::clamp(framesPerSecond, kSlowest, kFastest);
    due = static_cast<double>(clock.elapsed()) / 1e3;
    emit settingsChanged();
}

void Player::SetWay(MovieStatus to) {
    way = to;
    Follow(document.CurrentFrame());
    emit settingsChanged();
}

void Player::SetPace(Pace to) {
    pace = to;
    emit settingsChanged();
}

void Player::Start() {
    if (IsPlaying() || document.Frames() < 2) return;
    // What is played once starts over from its end.
    Movie& movie = document.GetMovie();
    const bool atEnd = document.CurrentFrame() == static_cast<std::uint32_t>(movie.GetLastFrame());
    PlanFrom(document.CurrentFrame());
    if (way == MoviePlayToEnd && atEnd) {
        PlanFrom(static_cast<std::uint32_t>(movie.GetFirstFrame()));
        planned.push_front(static_cast<std::uint32_t>(movie.GetFirstFrame()));
    }
    ExpectPlanned(0);
    leftOut = 0;
    clock.start();
    due = 1 / Rate();
    isPlaying = true;
    Wait();
    emit playingChanged(true);
}

void Player::Stop() {
    if (!std::exchange(isPlaying, false)) return;
    timer.stop();
    isLate = false;
    emit playingChanged(false);
}

void Player::PlanFrom(std::uint32_t frame) {
    planned.clear();
    planner->ClearFrameRanges();
    for (const Movie::FrameRange& range : document.GetMovie().GetFrameRanges()) planner->AddFrameRange(range);
    planner->SetMovieLength(document.Frames());
    planner->SetStatus(way);
    planner->SetCurrentFrame(frame);
    planner->AdjustFrameToTimeSelection();
    const auto first = static_cast<std::uint32_t>(planner->GetCurrentFrame());
    if (first != frame) planned.push_back(first);
    Plan();
}

void Player::Plan() {
    while (planned.size() < kPlanned) {
        const unsigned long before = planner->GetCurrentFrame();
        planner->MoveToNextFrame();
        const unsigned long next = planner->GetCurrentFrame();
        if (next == before) return;
        planned.push_back(static_cast<std::uint32_t>(next));
    }
}

// Somebody else showed a frame: what comes, comes after that.
void Player::Follow(std::uint32_t frame) {
    if (showing == frame || document.IsEmpty()) return;
    PlanFrom(frame);
    ExpectPlanned(0);
}

void Player::ExpectPlanned(std::size_t from) {
    if (document.Frames() < 2) return;
    from = std::min(from, planned.size());
    document.Expect({planned.begin() + static_cast<std::ptrdiff_t>(from), planned.end()});
}

void Player::Wait() {
    const double left = due - static_cast<double>(clock.nsecsElapsed()) / 1e9;
    timer.start(std::max(0, static_cast<int>(std::floor(left * 1e3))));
}

void Player::Tick() {
    ShowDue();
}

void Player::ShowDue() {
    const double now = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    const double step = 1 / Rate();
    if (planned.empty()) return Stop();
    isLate = false;
    std::size_t index = 0;
    if (pace == Pace::KeepRate) {
        // The last of the frames that are due and read.
        const auto behind = static_cast<std::size_t>(std::max(0.0, (now - due) / step));
        const std::size_t last = std::min(behind, planned.size() - 1);
        for (index = last; index > 0 && !document.IsRead(planned[index]); --index) {
        }
    }
    const std::uint32_t frame = planned[index];
    showing = frame;
    const bool isShown = document.ShowNow(frame);
    showing.reset();
    if (isShown) leftOut += index;
    if (!isPlaying) return;  // whoever saw it stopped
    if (!isShown) {
        isLate = true;
        // What is due after it is left out, where it takes that long.
        const auto behind = static_cast<std::size_t>(std::max(0.0, (now - due) / step));
        ExpectPlanned(pace == Pace::KeepRate ? behind : 0);
        return;
    }
    planned.erase(planned.begin(), planned.begin() + static_cast<std::ptrdiff_t>(index) + 1);
    Plan();
    ExpectPlanned(0);
    due += static_cast<double>(index + 1) * step;
    // Time that was lost over a late frame is not made up for where every frame is shown.
    if (pace == Pace::EveryFrame && due < now - step) due = now;
    if (planned.empty()) return Stop();
    Wait();
}

void Player::Step(int by) {
    Stop();
    if (document.IsEmpty()) return;
    Movie& movie = document.GetMovie();
    document.GoTo(static_cast<std::uint32_t>(by > 0 ? movie.GetNextFrame() : movie.GetPreviousFrame()));
}

void Player::GoToFirst() {
    Stop();
    if (!document.IsEmpty()) document.GoTo(static_cast<std::uint32_t>(document.GetMovie().GetFirstFrame()));
}

void Player::GoToLast() {
    Stop();
    if (!document.IsEmpty()) document.GoTo(static_cast<std::uint32_t>(document.GetMovie().GetLastFrame()));
}

}  // namespace pzel_view
