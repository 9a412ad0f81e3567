// The row engine: a placed source, a line at a time, meets the destination through a pixel operation.
#include "pzel/display/draw.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <type_traits>
#include <utility>
#include <vector>

#include "pzel/display/pixel_ops.h"
#include "pzel/display/zoomed_rows.h"
#include "pzel/loops/ranges.h"

namespace pzel {

namespace {

constexpr int kMostCopies = 32;  // of the lines that a source is unpacked into

constexpr auto kGreys = [] {
    std::array<BgrColour, 256> greys{};
    for (int i = 0; i < 256; ++i) greys[i] = paletteColour(nullptr, std::uint8_t(i));
    return greys;
}();

/// Each range of rows has rows of its own, as they keep the one that they have loaded.
template <class Rows, class Operation>
void DrawRows(const Placement& place, Rows rows, const Operation& operation) {
    const auto drawRange = [&](Rows& own, int first, int end) {
        std::int64_t loaded = -1;
        for (int i = first; i < end; ++i) {
            const std::int64_t y = place.y.source(i);
            if (y != loaded) own.load(loaded = y);
            operation(place.destinationRow(i), place.x.begin, own.line(place.y.phase(i)), place.x.count);
        }
    };
    const std::int64_t pixels = std::int64_t(place.x.count) * place.y.count;
    const std::int64_t rowBits = std::int64_t(Operation::kPixelBits) * (place.x.begin + place.x.count);
    const bool apart = 8 * std::abs(std::int64_t(place.destination.rowBytes)) >= rowBits;
    const Ranges ranges(place.y.count, pixels * std::int64_t(sizeof(typename Rows::Pixel)), Rows::kEffort,
                        apart ? kMostCopies : 1);
    if (ranges.size() == 1) return drawRange(rows, 0, place.y.count);
    std::vector<Rows> copies(std::size_t(ranges.size()), rows);
    ranges.run([&](int range, int first, int end) { drawRange(copies[std::size_t(range)], first, end); });
}

/// Opaque pixels are written, others blended.
template <class Pixel, class F>
void WithOperation(int transparency, F&& f) {
    if (transparency == 0)
        f(WritePixels<Pixel>{});
    else
        f(BlendPixels<Pixel>{Blend(transparency)});
}

/// Pictures cover their whole rectangle.
template <class Rows>
void DrawPicture(const Placement& place, Rows rows, int transparency) {
    WithOperation<typename Rows::Pixel>(
        transparency, [&](const auto& operation) { DrawRows(place, std::move(rows), operation); });
}

/// Masks and boundaries lay one colour over what they cover.
template <class Pixel, class Rows>
void DrawTint(const Placement& place, Rows rows, Pixel colour, int transparency) {
    WithOperation<Pixel>(transparency, [&]<class Operation>(const Operation& operation) {
        const std::vector<Pixel> line(place.x.count, colour);
        DrawRows(place, std::move(rows), WhereCovered<Pixel, Operation>{line.data(), operation});
    });
}

template <class Pixel>
void DrawKind(const Placement& place, SourceKind kind, const Ink<Pixel>& ink, int transparency) {
    switch (kind) {
        case SourceKind::Pixels: return DrawPicture(place, PixelRows<Pixel>(place), transparency);
        case SourceKind::Entries:
            if constexpr (std::is_same_v<Pixel, BgrColour>) {
                const ByPalette rule{ink.palette ? ink.palette : kGreys.data()};
                DrawPicture(place, ColouredRows<Pixel, PixelRows<std::uint8_t>, ByPalette>(place, rule),
                            transparency);
            }
            return;
        case SourceKind::Bits: {
            const ByBit<Pixel> rule{{ink.background, ink.colour}};
            return DrawPicture(place, ColouredRows<Pixel, MaskRows, ByBit<Pixel>>(place, rule), transparency);
        }
        case SourceKind::Mask: return DrawTint(place, MaskRows(place), ink.colour, transparency);
        case SourceKind::Boundary: return DrawTint(place, BoundaryRows(place), ink.colour, transparency);
    }
}

template <>
void DrawKind(const Placement& place, SourceKind kind, const Ink<bool>&, int transparency) {
    if (!showsBits(transparency)) return;
    switch (kind) {
        case SourceKind::Pixels:
        case SourceKind::Bits: return DrawRows(place, MaskRows(place), PackBits<BitRule::Copy>{});
        case SourceKind::Entries: return;
        case SourceKind::Mask: return DrawRows(place, MaskRows(place), PackBits<BitRule::Add>{});
        case SourceKind::Boundary: return DrawRows(place, BoundaryRows(place), PackBits<BitRule::Add>{});
    }
}

}  // namespace

template <class Pixel>
void draw(const BitmapDestination& destination, const BitmapSource& source, SourceKind kind, Zoom zoom,
          const Ink<Pixel>& ink) {
    const Placement place(destination, source, zoom);
    const int transparency = std::clamp(ink.transparency, 0, kInvisible);
    if (!place.empty() && transparency < kInvisible) DrawKind(place, kind, ink, transparency);
}

template void draw(const BitmapDestination&, const BitmapSource&, SourceKind, Zoom, const Ink<bool>&);
template void draw(const BitmapDestination&, const BitmapSource&, SourceKind, Zoom, const Ink<std::uint8_t>&);
template void draw(const BitmapDestination&, const BitmapSource&, SourceKind, Zoom, const Ink<BgrColour>&);

}  // namespace pzel
