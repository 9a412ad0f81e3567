// Frames that are composed from what came before them: each draws an area of a canvas, and tells what becomes
// of that area after it was shown. Any frame can be asked for; going on from the last one is quick.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace pzel_io {

/// A part of the canvas, wholly inside; it may be empty.
struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// What becomes of a frame's area after the frame was shown.
enum class Disposal { Keep, Clear, Restore };

/// How a frame is drawn: in place of what is there, or over it where it is transparent.
enum class Blend { Replace, Over };

struct AnimationFrame {
    Area area;
    Disposal disposal = Disposal::Keep;
    Blend blend = Blend::Over;
};

/// A canvas of pixels with some channels and alpha behind them, which is not multiplied into them. It starts
/// as transparent black.
template <class T>
class Animation {
  public:
    Animation(int columns, int rows, int colours, std::vector<AnimationFrame> of)
        : width(columns),
          height(rows),
          samples(static_cast<std::size_t>(colours) + 1),
          frames(std::move(of)),
          canvas(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * samples) {}

    /// The canvas when a frame is shown, until the next call. `decode` gives the pixels of a frame's area.
    template <class Decode>
    const std::vector<T>& Compose(std::uint32_t number, Decode decode) {
        std::uint32_t next = Start(number);
        if (shown && *shown <= number && *shown + 1 >= next) {
            next = *shown + 1;
        } else {
            shown.reset();
            std::fill(canvas.begin(), canvas.end(), T{0});
        }
        for (; next <= number; ++next) {
            if (shown) Dispose(frames[*shown]);
            shown.reset();  // while the canvas is in between
            const std::vector<T> pixels = decode(next);
            if (frames[next].disposal == Disposal::Restore) saved = Cut(frames[next].area);
            Draw(frames[next], pixels);
            shown = next;
        }
        return canvas;
    }

  private:
    bool IsFull(const Area& area) const { return area.width == width && area.height == height; }

    // The last frame up to this one that depends on none before it.
    std::uint32_t Start(std::uint32_t number) const {
        for (; number > 0; --number) {
            const AnimationFrame& frame = frames[number];
            const AnimationFrame& before = frames[number - 1];
            if (before.disposal == Disposal::Clear && IsFull(before.area)) return number;
            if (frame.blend == Blend::Replace && frame.disposal != Disposal::Restore && IsFull(frame.area))
                return number;
        }
        return 0;
    }

    std::size_t RowSamples(const Area& area) const { return static_cast<std::size_t>(area.width) * samples; }
    T* Row(const Area& area, int y) {
        return &canvas[(static_cast<std::size_t>(area.y + y) * static_cast<std::size_t>(width) +
                        static_cast<std::size_t>(area.x)) *
                       samples];
    }

    void Dispose(const AnimationFrame& frame) {
        const std::size_t count = RowSamples(frame.area);
        for (int y = 0; count > 0 && y < frame.area.height; ++y) {
            T* const row = Row(frame.area, y);
            if (frame.disposal == Disposal::Clear) std::fill_n(row, count, T{0});
            if (frame.disposal == Disposal::Restore)
                std::copy_n(&saved[static_cast<std::size_t>(y) * count], count, row);
        }
    }

    std::vector<T> Cut(const Area& area) {
        const std::size_t count = RowSamples(area);
        std::vector<T> pixels(count * static_cast<std::size_t>(area.height));
        for (int y = 0; count > 0 && y < area.height; ++y)
            std::copy_n(Row(area, y), count, &pixels[static_cast<std::size_t>(y) * count]);
        return pixels;
    }

    void Draw(const AnimationFrame& frame, const std::vector<T>& pixels) {
        const std::size_t count = RowSamples(frame.area);
        for (int y = 0; count > 0 && y < frame.area.height; ++y) {
            const T* const from = &pixels[static_cast<std::size_t>(y) * count];
            T* const row = Row(frame.area, y);
            if (frame.blend == Blend::Replace) {
                std::copy_n(from, count, row);
            } else {
                for (std::size_t i = 0; i < count; i += samples) DrawOver(from + i, row + i);
            }
        }
    }

    void DrawOver(const T* from, T* to) const {
        constexpr std::uint64_t kOpaque = std::numeric_limits<T>::max();
        const std::size_t alpha = samples - 1;
        if (from[alpha] == 0) return;
        if (from[alpha] == kOpaque || to[alpha] == 0) {
            std::copy_n(from, samples, to);
            return;
        }
        const std::uint64_t front = from[alpha] * kOpaque;
        const std::uint64_t back = to[alpha] * (kOpaque - from[alpha]);
        const std::uint64_t whole = front + back;
        for (std::size_t i = 0; i < alpha; ++i)
            to[i] = static_cast<T>((from[i] * front + to[i] * back + whole / 2) / whole);
        to[alpha] = static_cast<T>((whole + kOpaque / 2) / kOpaque);
    }

    int width;
    int height;
    std::size_t samples;  // of a pixel
    std::vector<AnimationFrame> frames;
    std::vector<T> canvas;
    std::vector<T> saved;                // what the shown frame covers, where that is to come back
    std::optional<std::uint32_t> shown;  // the frame that the canvas shows
};

}  // namespace pzel_io
