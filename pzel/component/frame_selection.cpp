// The frame selection of a movie: which frames are selected, which comes next or before, and playback. Frame
// numbers are 32-bit: ranges compare as signed values, the ends of the selection as unsigned ones.
#include <algorithm>

#include "pzel/component/modular_hit.h"
#include "pzel/component/movie.h"

namespace {

bool contains(const Movie::FrameRange& range, std::uint32_t frame) {
    const auto f = static_cast<std::int32_t>(frame);
    return range.first <= f && f <= range.second;
}

std::uint32_t firstOf(const Movie::FrameRange& range) {
    return static_cast<std::uint32_t>(range.first);
}

std::uint32_t lastOf(const Movie::FrameRange& range) {
    return static_cast<std::uint32_t>(range.second);
}

}  // namespace

void Movie::AddFrameRange(FrameRange range) {
    ranges.emplace_back(static_cast<std::int32_t>(range.first), static_cast<std::int32_t>(range.second));
}

void Movie::ClearFrameRanges() {
    ranges.clear();
}

std::vector<Movie::FrameRange> Movie::GetFrameRanges() {
    return ranges;
}

unsigned long Movie::GetRangesLength() {
    if (ranges.empty()) return length;
    std::uint32_t sum = 0;
    for (const FrameRange& range : ranges) sum += lastOf(range) - firstOf(range) + 1;
    return sum;
}

unsigned long Movie::GetFirstFrame() {
    if (ranges.empty()) return 0;
    std::uint32_t first = length - 1;
    for (const FrameRange& range : ranges) first = std::min(first, firstOf(range));
    return first;
}

unsigned long Movie::GetLastFrame() {
    if (ranges.empty()) return length - 1;
    std::int32_t last = 0;
    for (const FrameRange& range : ranges) last = std::max(last, static_cast<std::int32_t>(range.second));
    return static_cast<std::uint32_t>(last);
}

/// The first range in the list that holds the current frame; the number of ranges where none does.
std::size_t Movie::RangeOfCurrentFrame() const {
    const auto holding = std::find_if(ranges.begin(), ranges.end(),
                                      [&](const FrameRange& r) { return contains(r, currentFrame); });
    return static_cast<std::size_t>(holding - ranges.begin());
}

unsigned long Movie::GetNextFrame() {
    const std::uint32_t next = currentFrame + 1;
    if (ranges.empty()) return next < length ? next : 0;
    const std::size_t at = RangeOfCurrentFrame();
    if (at < ranges.size() && currentFrame != lastOf(ranges[at])) return next;
    return at + 1 < ranges.size() ? firstOf(ranges[at + 1]) : GetFirstFrame();
}

unsigned long Movie::GetPreviousFrame() {
    const std::uint32_t previous = currentFrame - 1;
    if (ranges.empty()) return static_cast<std::int32_t>(previous) >= 0 ? previous : length - 1;
    const std::size_t at = RangeOfCurrentFrame();
    if (at < ranges.size() && currentFrame != firstOf(ranges[at])) return previous;
    return at > 0 && at < ranges.size() ? lastOf(ranges[at - 1]) : GetLastFrame();
}

void Movie::AdjustFrameToTimeSelection() {
    const auto first = static_cast<std::uint32_t>(GetFirstFrame());
    const auto last = static_cast<std::uint32_t>(GetLastFrame());
    const std::uint32_t span = last - first + 1;
    // By whole spans into the selection, from below and then from above. A progression that never gets there
    // goes to the near end.
    if (currentFrame < first) {
        currentFrame = pzel::firstTermWithin(currentFrame, span, first, UINT32_MAX).value_or(first);
    }
    if (currentFrame > last) {
        currentFrame = pzel::firstTermWithin(currentFrame, 0 - span, 0, last).value_or(last);
    }
    // Out of a gap to the start of the range behind it, in the order of the list.
    const auto frame = static_cast<std::int32_t>(currentFrame);
    const auto range =
        std::find_if(ranges.begin(), ranges.end(), [&](const FrameRange& r) { return frame <= r.second; });
    if (range != ranges.end() && frame <= range->first) currentFrame = firstOf(*range);
}

bool Movie::AtSelectionEnd() const {
    return ranges.empty() ? currentFrame + 1 >= length : currentFrame == lastOf(ranges.back());
}

bool Movie::AtSelectionStart() const {
    return currentFrame == (ranges.empty() ? 0 : firstOf(ranges.front()));
}

void Movie::MoveTo(std::uint32_t frame) {
    if (frame == currentFrame) return;
    currentFrame = frame;
    NotifyObserver(EventCurrentFrame, 0);
}

void Movie::MoveToNextFrame() {
    if (ranges.empty() && length == 0) return;
    const auto forward = [this] { MoveTo(static_cast<std::uint32_t>(GetNextFrame())); };
    const auto backward = [this] { MoveTo(static_cast<std::uint32_t>(GetPreviousFrame())); };
    switch (status & MoviePlayMask) {
        case MoviePlayForward: forward(); break;
        case MoviePlayBackward: backward(); break;
        case MoviePlayForthAndBack:
            if (playingBack ? AtSelectionStart() : AtSelectionEnd()) playingBack = !playingBack;
            if (playingBack) {
                backward();
            } else {
                forward();
            }
            break;
        case MoviePlayToEnd:
            if (!AtSelectionEnd()) forward();
            break;
        default: break;
    }
}
