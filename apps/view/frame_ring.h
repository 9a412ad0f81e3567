// Frames that were read and are not shown: those just shown and those soon to be. A bounded number of bytes:
// the frames that are farthest from being needed go first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "file_reader.h"

namespace pzel_view {

class FrameRing {
  public:
    bool Has(std::uint32_t frame) const { return frames.contains(frame); }
    std::optional<MadeFrame> Take(std::uint32_t frame);
    /// Takes a frame over. `rank` says how soon each is needed: those of the highest rank go where there are
    /// too many.
    void Put(MadeFrame frame, const std::function<std::size_t(std::uint32_t)>& rank);
    void Clear() { frames.clear(); }
    std::vector<std::uint32_t> Frames() const;

    /// How many frames of a size a ring holds: two at least.
    static std::size_t Room(std::size_t frameBytes);

  private:
    std::map<std::uint32_t, MadeFrame> frames;
};

}  // namespace pzel_view
