// Room is counted in frames of one size, which all frames of a file have.
#include "frame_ring.h"

#include <algorithm>
#include <utility>

namespace pzel_view {

namespace {

constexpr std::size_t kBytes = std::size_t{192} << 20;
constexpr std::size_t kFewest = 2, kMost = 240;

}  // namespace

std::size_t FrameRing::Room(std::size_t frameBytes) {
    return std::clamp(kBytes / std::max<std::size_t>(frameBytes, 1), kFewest, kMost);
}

std::optional<MadeFrame> FrameRing::Take(std::uint32_t frame) {
    const auto found = frames.find(frame);
    if (found == frames.end()) return {};
    std::optional<MadeFrame> taken(std::move(found->second));
    frames.erase(found);
    return taken;
}

void FrameRing::Put(MadeFrame frame, const std::function<std::size_t(std::uint32_t)>& rank) {
    if (!frame.image) return;
    std::size_t bytes = GetImageTotalBytes(frame.image.get());
    if (frame.values) bytes += GetImageTotalBytes(frame.values.get());
    const std::uint32_t number = frame.number;
    frames.insert_or_assign(number, std::move(frame));
    while (frames.size() > Room(bytes)) {
        frames.erase(std::max_element(frames.begin(), frames.end(), [&](const auto& one, const auto& other) {
            return rank(one.first) < rank(other.first);
        }));
    }
}

std::vector<std::uint32_t> FrameRing::Frames() const {
    std::vector<std::uint32_t> numbers;
    for (const auto& [number, frame] : frames) numbers.push_back(number);
    return numbers;
}

}  // namespace pzel_view
