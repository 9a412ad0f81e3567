// Where a zoomed picture meets a destination: clipping and zooming, one axis at a time.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pzel/display/overlay.h"

namespace pzel {

/// The zoom of both axes, as the public functions take it.
struct Zoom {
    signed char x = 1, y = 1;
};

/// The destination pixels of one axis that a picture covers, and the source pixel that each of them shows.
/// Distances are wide: an offset may be any int, and zooming may take a picture's size beyond it.
class Span {
  public:
    Span(int destinationSize, int sourceSize, int skip, int offset, signed char zoom)
        : repeat(std::max<int>(zoom, 1)),
          step(std::max(-int(zoom), 1)),
          skip_(skip),
          sourceSize_(sourceSize) {
        const std::int64_t left = std::max<std::int64_t>(std::int64_t(sourceSize) - skip, 0);
        const std::int64_t shown = (left + step - 1) / step * repeat;
        begin = std::max(offset, 0);
        count =
            int(std::max<std::int64_t>(std::min<std::int64_t>(destinationSize, offset + shown) - begin, 0));
        first_ = std::int64_t(begin) - offset;
    }

    int begin;   ///< the first destination pixel
    int count;   ///< destination pixels; 0: nothing is covered
    int repeat;  ///< destination pixels for each source pixel
    int step;    ///< source pixels from one shown pixel to the next; 1 where repeat is not

    /// The source pixel that destination pixel begin + i shows.
    std::int64_t source(int i) const { return skip_ + (first_ + i) / repeat * step; }
    /// How far destination pixel begin + i stands inside the enlarged source pixel.
    int phase(int i) const { return int((first_ + i) % repeat); }
    /// The source pixels from source(0) on that the span stands for, those that `step` leaves out included.
    std::int64_t sourceCount() const {
        return std::min<std::int64_t>(source(count - 1) + step, sourceSize_) - source(0);
    }
    bool oneToOne() const { return repeat == 1 && step == 1; }

  private:
    std::int64_t first_;  // pixels of the zoomed picture to the left of the span
    int skip_;            // source pixels in front of the first one
    int sourceSize_;
};

/// A picture in its place: both axes, and the rows to read and to write.
struct Placement {
    Placement(const BitmapDestination& to, const BitmapSource& from, Zoom zoom)
        : x(to.width, from.width, from.skipX, from.x, zoom.x),
          y(to.height, from.height, from.skipY, from.y, zoom.y),
          destination(to),
          source(from) {}

    bool empty() const { return !x.count || !y.count || !destination.pixels || !source.pixels; }
    const std::uint8_t* sourceRow(std::int64_t row) const { return source.pixels + row * source.rowBytes; }
    std::uint8_t* destinationRow(int i) const {
        return destination.pixels + std::int64_t(y.begin + i) * destination.rowBytes;
    }

    Span x, y;
    BitmapDestination destination;
    BitmapSource source;
};

}  // namespace pzel
