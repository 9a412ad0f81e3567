// Which components of a movie show, where, and through which door of overlay.h.
#include "pzel/display/compose.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <vector>

#include "pzel/component/comp.h"
#include "pzel/component/data_area.h"
#include "pzel/component/movie.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/closing_edges.h"
#include "pzel/display/draw.h"
#include "pzel/loops/ranges.h"

namespace pzel {

namespace {

constexpr std::uint8_t kPlainBits = 255;  // the overlay colour of bits that are a picture, not a mask
constexpr std::uint8_t kBlack = 0, kWhite = 255;

constexpr auto kOverlayColours = [] {
    std::array<BgrColour, 256> colours{};
    colours.fill({255, 255, 255});
    constexpr BgrColour named[] = {{0, 0, 255},   {0, 255, 0},   {255, 0, 0},
                                   {0, 255, 255}, {255, 255, 0}, {255, 0, 255}};
    std::copy(std::begin(named), std::end(named), colours.begin() + 1);
    return colours;
}();

std::uint8_t LuminanceOf(const BgrColour& colour) {
    return static_cast<std::uint8_t>((114 * colour.blue + 587 * colour.green + 299 * colour.red + 500) /
                                     1000);
}

enum class Kind { Picture, Bits, Mask, Boundary };

Kind KindOf(Comp& comp, int bits) {
    if (bits != 1) return Kind::Picture;
    switch (comp.GetCompMType()) {
        case MajorBoundary: return Kind::Boundary;
        case MajorVector: return Kind::Mask;
        default: return comp.overlayColour == kPlainBits ? Kind::Bits : Kind::Mask;
    }
}

/// How much of its image a component shows. A part of an outline need not be closed.
enum class Extent { Whole, Part };

Extent ExtentOf(Comp& comp, const ShownBitmap& shown) {
    const Image* image = comp.GetFlatImage();
    const bool isWhole = image && image->width == shown.width && image->height == shown.height;
    return isWhole && !showsDataArea(comp) ? Extent::Whole : Extent::Part;
}

int ZoomedSize(int size, signed char zoom) {
    return zoom >= 2 ? size * zoom : (size + std::max(-int(zoom), 1) - 1) / std::max(-int(zoom), 1);
}

/// What is drawn into, and how: depth, zoom and the colours of overlays.
class Canvas {
  public:
    Canvas(const BitmapDestination& destination, int bitsPerPixel, signed char zoomOfBoth,
           const BgrColour* overlayColours)
        : to(destination),
          bits(bitsPerPixel),
          zoom(zoomOfBoth),
          colours(overlayColours ? overlayColours : kOverlayColours.data()) {}

    void Draw(Comp& comp, const BitmapSource& source, int sourceBits, Extent extent) const {
        switch (KindOf(comp, sourceBits)) {
            case Kind::Picture: return DrawPicture(source, sourceBits, comp.transparency);
            case Kind::Bits: return DrawBits(source, comp.transparency);
            case Kind::Mask:
                return DisplayMask(to, source, zoom, zoom, bits, Entry(comp), colours, comp.transparency);
            case Kind::Boundary: return DrawBoundary(source, comp, extent);
        }
    }

  private:
    void DrawPicture(const BitmapSource& source, int sourceBits, int transparency) const {
        const bool toColour = sourceBits == 8 && bits == 24;
        if (transparency == 0) {
            toColour ? CopyBitmap8To24(to, source, zoom, zoom, nullptr)
                     : CopyBitmap(to, source, zoom, zoom, bits);
        } else {
            toColour ? AddTransparentBitmap8To24(to, source, zoom, zoom, nullptr, transparency)
                     : AddTransparentBitmap(to, source, zoom, zoom, bits, transparency);
        }
    }

    void DrawBits(const BitmapSource& source, int transparency) const {
        if (transparency != 0)
            return AddTransparentBitTo(to, source, zoom, zoom, bits, kBlack, kWhite, nullptr, transparency);
        switch (bits) {
            case 1: return CopyBitTo1(to, source, zoom, zoom);
            case 8: return CopyBitTo8(to, source, zoom, zoom, kBlack, kWhite);
            default: return CopyBitTo24(to, source, zoom, zoom, {0, 0, 0}, {255, 255, 255});
        }
    }

    void DrawBoundary(const BitmapSource& source, const Comp& comp, Extent extent) const {
        if (comp.transparency != 0) return DrawThinBoundary(source, comp, extent);
        VisitLines(source, extent, [&](const BitmapSource& lines, signed char zoomX, signed char zoomY) {
            switch (bits) {
                case 1: return AddBoundaryTo1(to, lines, zoomX, zoomY);
                case 8: return AddBoundaryTo8(to, lines, zoomX, zoomY, Entry(comp));
                default: return AddBoundaryTo24(to, lines, zoomX, zoomY, colours[comp.overlayColour]);
            }
        });
    }

    /// Lines that the picture shines through: collected as a mask, which can be shown so.
    void DrawThinBoundary(const BitmapSource& source, const Comp& comp, Extent extent) const {
        const int rowBytes = (to.width + 7) / 8;
        std::vector<unsigned char> lines(static_cast<std::size_t>(rowBytes) * to.height);
        VisitLines(source, extent, [&](const BitmapSource& part, signed char zoomX, signed char zoomY) {
            AddBoundaryTo1({lines.data(), rowBytes, to.width, to.height}, part, zoomX, zoomY);
        });
        DisplayMask(to, {lines.data(), rowBytes, to.width, to.height}, 1, 1, bits, Entry(comp), colours,
                    comp.transparency);
    }

    /// Calls draw(lines, zoomX, zoomY) for a boundary and for what closes it, in the last destination column
    /// and row of its picture.
    template <class F>
    void VisitLines(const BitmapSource& source, Extent extent, const F& draw) const {
        draw(source, zoom, zoom);
        if (source.width <= source.skipX || source.height <= source.skipY) return;  // left out by the zoom
        const int right = source.x + ZoomedSize(source.width - source.skipX, zoom) - 1;
        const int bottom = source.y + ZoomedSize(source.height - source.skipY, zoom) - 1;
        if (extent != Extent::Whole || (right >= to.width && bottom >= to.height)) return;
        const ClosingEdges closing(source);
        draw({closing.right.data(), 2, 1, source.height, right, source.y, 0, source.skipY}, 1, zoom);
        draw({closing.bottom.data(), int(closing.bottom.size()), source.width, 1, source.x, bottom,
              source.skipX, 0},
             zoom, 1);
    }

    /// What the doors take for a component's colour: an entry of the colours, or a grey.
    unsigned char Entry(const Comp& comp) const {
        return bits == 8 ? LuminanceOf(colours[comp.overlayColour]) : comp.overlayColour;
    }

    BitmapDestination to;
    int bits;
    signed char zoom;
    const BgrColour* colours;
};

/// Where the shown picture stands in the movie, both ends included.
struct Place {
    int left, right, top, bottom;
};

/// Overlays stand where their component does; pictures where the image does that is shown for it, which may
/// be a flat comp's.
Place PlaceOf(Comp& comp) {
    if (comp.GetCompMType() != MajorPicture) {
        const SRect extent = comp.GetCompExtent();
        return {extent.left, extent.right, extent.top, extent.bottom};
    }
    short dx, dy;
    unsigned short left, top, width, height;
    comp.GetFlatImage(dx, dy, left, top, width, height);
    const int x = comp.x + dx + static_cast<short>(left), y = comp.y + dy + static_cast<short>(top);
    return {x, x + width - 1, y, y + height - 1};
}

bool IsShown(Comp& comp, const SRect& area, int bitsPerPixel) {
    const Place place = PlaceOf(comp);
    const int bits = comp.ComputeBmpBits();
    return comp.IsVisible() && comp.transparency < kInvisible && bits != 0 && bits <= bitsPerPixel &&
           place.left <= area.right && place.right >= area.left && place.top <= area.bottom &&
           place.bottom >= area.top;
}

/// An opaque picture over all of the area. A bitmap that is there may be smaller than its picture.
bool HidesAll(Comp& comp, const SRect& area) {
    const Place place = PlaceOf(comp);
    const Kind kind = KindOf(comp, comp.ComputeBmpBits());
    const bool isCut = comp.bitmap && (comp.bmpWidth <= place.right - place.left ||
                                       comp.bmpHeight <= place.bottom - place.top);
    return (kind == Kind::Picture || kind == Kind::Bits) && comp.transparency == 0 && !isCut &&
           place.left <= area.left && place.right >= area.right && place.top <= area.top &&
           place.bottom >= area.bottom;
}

/// One axis of a picture that stands `distance` behind the area's first pixel: the destination pixel of its
/// first shown pixel, and how many pixels in front of that one the zoom leaves out.
struct Start {
    Start(int distance, signed char zoom) {
        const int step = std::max(-int(zoom), 1);
        place = distance >= 0 ? (distance + step - 1) / step : -(-distance / step);
        skipped = place * step - distance;
        place *= std::max<int>(zoom, 1);
    }
    int place;
    int skipped;
};

/// A component's picture with its place in the area.
struct Layer {
    Comp* comp;
    BitmapSource source;
    int bits;
    Extent extent;
};

/// Adds a component whose bitmap can be shown, computed where it is not.
void AddLayer(std::vector<Layer>& layers, Comp& comp, const SRect& area, signed char zoom, int bitsPerPixel) {
    if (!comp.bitmap || (comp.flagsA & CompBitmapOutOfDate)) comp.ComputeBitmap(-1);
    const ShownBitmap shown = comp.GetShownBitmap();
    const bool fits = shown.bits == 1 || shown.bits == 8 || shown.bits == bitsPerPixel;
    if (!shown.pixels || !fits || shown.bits > bitsPerPixel) return;
    // A bitmap from the time when the component was no boundary has one row of bits for each of its rows.
    if (KindOf(comp, shown.bits) == Kind::Boundary && shown.bitRows != 2) return;
    const Place place = PlaceOf(comp);
    const Start x(place.left - area.left, zoom), y(place.top - area.top, zoom);
    const BitmapSource source{shown.pixels, shown.rowBytes, shown.width, shown.height,
                              x.place,      y.place,        x.skipped,   y.skipped};
    layers.push_back({&comp, source, shown.bits, ExtentOf(comp, shown)});
}

/// Rows of the destination that stay in a cache while all layers are drawn over them. Outlines are looked at
/// whole.
int RowsOfBand(const BitmapDestination& to, std::span<const Layer> layers) {
    constexpr int bytes = 1 << 17;
    const auto isBoundary = [](const Layer& one) { return KindOf(*one.comp, one.bits) == Kind::Boundary; };
    if (layers.size() < 2 || std::any_of(layers.begin(), layers.end(), isBoundary)) return to.height;
    return std::clamp(bytes / std::max(std::abs(to.rowBytes), 1), 1, to.height);
}

}  // namespace

}  // namespace pzel

void ComposeMovie(Movie* movie, const BitmapDestination& destination, const SRect& area, signed char zoom,
                  const BgrColour* overlayColours, int bitsPerPixel) {
    if (ComputeBmpLineBytes(1, bitsPerPixel) == 0) return;
    BitmapDestination part = destination;
    part.width = std::min(part.width, pzel::ZoomedSize(pzel::widthOf(area), zoom));
    part.height = std::min(part.height, pzel::ZoomedSize(pzel::heightOf(area), zoom));
    if (part.width <= 0 || part.height <= 0) return;
    std::vector<Comp*> shown;
    for (Comp* comp : std::span(movie->GetChildren(), movie->GetNumbChildren()))
        if (pzel::IsShown(*comp, area, bitsPerPixel)) shown.push_back(comp);
    // What an opaque picture hides need not be drawn.
    const auto hiding =
        std::find_if(shown.rbegin(), shown.rend(), [&](Comp* comp) { return pzel::HidesAll(*comp, area); });
    if (hiding != shown.rend()) shown.erase(shown.begin(), hiding.base() - 1);
    std::vector<pzel::Layer> layers;
    for (Comp* comp : shown) pzel::AddLayer(layers, *comp, area, zoom, bitsPerPixel);
    const int rows = pzel::RowsOfBand(part, layers), bands = (part.height + rows - 1) / rows;
    const auto drawBands = [&](int first, int end) {
        for (int top = first * rows; top < std::min(end * rows, part.height); top += rows) {
            BitmapDestination band = part;
            band.pixels += std::ptrdiff_t(top) * part.rowBytes;
            band.height = std::min(rows, part.height - top);
            const pzel::Canvas canvas(band, bitsPerPixel, zoom, overlayColours);
            for (pzel::Layer layer : layers) {
                layer.source.y -= top;
                canvas.Draw(*layer.comp, layer.source, layer.bits, layer.extent);
            }
        }
    };
    const std::int64_t rowBits = std::int64_t(bitsPerPixel) * part.width;
    if (bands > 1 && 8 * std::abs(std::int64_t(part.rowBytes)) >= rowBits)
        pzel::forRanges(bands, rowBits / 8 * part.height * std::int64_t(layers.size()), pzel::Effort::Moving,
                        drawBands);
    else
        drawBands(0, bands);
}
