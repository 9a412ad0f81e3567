// Walking over frame ranges.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "pzel/export.h"

/// Visits every frame of a list of ranges (first, last), inclusive, in the order of the list:
/// `for (FrameIterator f = movie->GetFrameIterator(); !f.Done(); ++f) use(*f);`
///
/// The list is not owned: it must live and stay as it is while the iterator is used. An empty one is done at
/// once.
class PZEL_API FrameIterator {
  public:
    using Ranges = std::vector<std::pair<long, long>>;

    explicit FrameIterator(const Ranges* ranges);

    /// Back to the first frame.
    void Reset();
    bool Done() const;
    FrameIterator& operator++();
    /// The current frame; 0 for an empty list.
    long operator*() const;

  private:
    void GetNextFrame();

    std::size_t range = 0;
    long currentFrame = 0;
    long nextFrame = 0;
    const Ranges* ranges;
    bool done = false;
    bool atEnd = false;
};
