// Rows of whole bytes, one channel or three, without padding.
#include "finish.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

struct Pixels {
    int width = 0;
    int height = 0;
    int channels = 1;
    std::vector<unsigned char> values;

    Pixels(int columns, int rows, int planes)
        : width(columns),
          height(rows),
          channels(planes),
          values(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
                 static_cast<std::size_t>(planes)) {}
    std::size_t RowBytes() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    }
    unsigned char* Row(int y) { return values.data() + static_cast<std::size_t>(y) * RowBytes(); }
    const unsigned char* Row(int y) const { return values.data() + static_cast<std::size_t>(y) * RowBytes(); }
};

Pixels WholeBytes(const ShownBitmap& bitmap) {
    constexpr unsigned char kWhite = 255;
    Pixels pixels(bitmap.width, bitmap.height, bitmap.bits == 24 ? 3 : 1);
    for (int y = 0; y < bitmap.height; ++y) {
        const unsigned char* from = bitmap.pixels + static_cast<std::ptrdiff_t>(y) * bitmap.rowBytes;
        unsigned char* to = pixels.Row(y);
        if (bitmap.bits != 1) {
            std::memcpy(to, from, pixels.RowBytes());
            continue;
        }
        for (int x = 0; x < bitmap.width; ++x) to[x] = from[x / 8] & 0x80 >> x % 8 ? kWhite : 0;
    }
    return pixels;
}

// The part of one axis that a pixel of the smaller picture covers: from the first place to the last, whose
// shares are less than 1.
struct Span {
    int first;
    int last;
    float firstShare;
    float lastShare;

    float Share(int place) const { return place == first ? firstShare : place == last ? lastShare : 1.0F; }
};

std::vector<Span> Spans(int before, int after) {
    std::vector<Span> spans;
    const double step = static_cast<double>(before) / after;
    for (int i = 0; i < after; ++i) {
        const double start = i * step, end = std::min((i + 1) * step, static_cast<double>(before));
        const int first = static_cast<int>(start);
        const int last = std::min(static_cast<int>(std::ceil(end)) - 1, before - 1);
        const double firstEnd = std::min(end, first + 1.0);
        spans.push_back({first, last, static_cast<float>(firstEnd - start),
                         static_cast<float>(last > first ? end - last : firstEnd - start)});
    }
    return spans;
}

// Rows are summed up whole, which vectorises, before their columns are.
Pixels Shrunk(const Pixels& large, const Size& size) {
    Pixels small(size.width, size.height, large.channels);
    const std::vector<Span> columns = Spans(large.width, size.width);
    const std::vector<Span> rows = Spans(large.height, size.height);
    const float area = static_cast<float>(large.width) / static_cast<float>(size.width) *
                       (static_cast<float>(large.height) / static_cast<float>(size.height));
    std::vector<float> sums(large.RowBytes());
    for (int y = 0; y < size.height; ++y) {
        std::fill(sums.begin(), sums.end(), 0.0F);
        const Span& span = rows[static_cast<std::size_t>(y)];
        for (int row = span.first; row <= span.last; ++row) {
            const float share = span.Share(row);
            const unsigned char* from = large.Row(row);
            for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += share * static_cast<float>(from[i]);
        }
        unsigned char* to = small.Row(y);
        for (const Span& column : columns) {
            for (int c = 0; c < large.channels; ++c) {
                float sum = 0;
                for (int x = column.first; x <= column.last; ++x)
                    sum += column.Share(x) * sums[static_cast<std::size_t>(x * large.channels + c)];
                *to++ = static_cast<unsigned char>(std::clamp(sum / area + 0.5F, 0.0F, 255.0F));
            }
        }
    }
    return small;
}

// Moves every pixel to the place that `placeOf` gives for its column and row.
template <class PlaceOf>
Pixels Moved(const Pixels& from, const Size& size, PlaceOf placeOf) {
    Pixels to(size.width, size.height, from.channels);
    const auto bytes = static_cast<std::size_t>(from.channels);
    for (int y = 0; y < from.height; ++y) {
        for (int x = 0; x < from.width; ++x) {
            const auto [column, row] = placeOf(x, y);
            std::memcpy(to.Row(row) + static_cast<std::size_t>(column) * bytes,
                        from.Row(y) + static_cast<std::size_t>(x) * bytes, bytes);
        }
    }
    return to;
}

struct Place {
    int x;
    int y;
};

Pixels Flipped(const Pixels& pixels, Flip flip) {
    const int right = pixels.width - 1, bottom = pixels.height - 1;
    return Moved(pixels, {pixels.width, pixels.height}, [&](int x, int y) {
        return flip == Flip::Horizontal ? Place{right - x, y} : Place{x, bottom - y};
    });
}

Pixels Turned(const Pixels& pixels, Turn turn) {
    const int right = pixels.width - 1, bottom = pixels.height - 1;
    const Size size =
        turn == Turn::Half ? Size{pixels.width, pixels.height} : Size{pixels.height, pixels.width};
    return Moved(pixels, size, [&](int x, int y) {
        switch (turn) {
            case Turn::Right: return Place{bottom - y, x};
            case Turn::Left: return Place{y, right - x};
            default: return Place{right - x, bottom - y};
        }
    });
}

Size FittedSize(const Size& before, const Size& fit) {
    const double scale = std::min({1.0, static_cast<double>(fit.width) / before.width,
                                   static_cast<double>(fit.height) / before.height});
    const auto side = [&](int length, int most) {
        return std::clamp(static_cast<int>(std::lround(length * scale)), 1,
                          std::max(1, std::min(length, most)));
    };
    return {side(before.width, fit.width), side(before.height, fit.height)};
}

}  // namespace

Size FinishedSize(const Size& before, const FinishOptions& options) {
    const bool isTurned = options.turn == Turn::Right || options.turn == Turn::Left;
    const Size upright = isTurned ? Size{before.height, before.width} : before;
    return options.fit ? FittedSize(upright, *options.fit) : upright;
}

FinishedBitmap::FinishedBitmap(const ShownBitmap& original, const FinishOptions& options) : bitmap(original) {
    const Size size = FinishedSize({original.width, original.height}, options);
    const bool isTurned = options.turn == Turn::Right || options.turn == Turn::Left;
    const Size before = isTurned ? Size{size.height, size.width} : size;
    const bool shrinks = before.width != original.width || before.height != original.height;
    if (!shrinks && options.flip == Flip::None && options.turn == Turn::None) return;
    Pixels finished = WholeBytes(original);
    if (shrinks) finished = Shrunk(finished, before);
    if (options.flip != Flip::None) finished = Flipped(finished, options.flip);
    if (options.turn != Turn::None) finished = Turned(finished, options.turn);
    pixels = std::move(finished.values);
    bitmap.pixels = pixels.data();
    bitmap.width = size.width;
    bitmap.height = size.height;
    bitmap.rowBytes = static_cast<int>(pixels.size() / static_cast<std::size_t>(size.height));
    bitmap.bits = finished.channels == 3 ? 24 : 8;
}
