// Which components of a movie show, where, and as what; the drawing is draw().
#include "pzel/display/compose.h"

#include <algorithm>

#include "pzel/component/comp.h"
#include "pzel/component/data_area.h"
#include "pzel/component/movie.h"
#include "pzel/display/draw.h"

namespace pzel {

namespace {

constexpr std::uint8_t kPlainBits = 255;  // the overlay colour of bits that are a picture, not a mask

BgrColour OverlayColour(const BgrColour* colours, std::uint8_t entry) {
    constexpr BgrColour standard[] = {{255, 255, 255}, {0, 0, 255},   {0, 255, 0},  {255, 0, 0},
                                      {0, 255, 255},   {255, 255, 0}, {255, 0, 255}};
    if (colours) return colours[entry];
    return standard[entry < std::size(standard) ? entry : 0];
}

SourceKind KindOf(Comp& comp, int bits) {
    switch (comp.GetCompMType()) {
        case MajorBoundary: return SourceKind::Boundary;
        case MajorVector: return SourceKind::Mask;
        default: break;
    }
    if (bits == 24) return SourceKind::Pixels;
    if (bits == 8) return SourceKind::Entries;
    return comp.overlayColour == kPlainBits ? SourceKind::Bits : SourceKind::Mask;
}

bool IsShown(Comp& comp, const SRect& area) {
    const SRect place = comp.GetCompExtent();
    return comp.IsVisible() && comp.transparency < kInvisible && comp.ComputeBmpBits() != 0 &&
           place.left <= area.right && place.right >= area.left && place.top <= area.bottom &&
           place.bottom >= area.top;
}

/// An opaque picture over all of the area. With a flat comp only part of the place may be drawn.
bool HidesAll(Comp& comp, const SRect& area) {
    const SRect place = comp.GetCompExtent();
    const SourceKind kind = KindOf(comp, comp.ComputeBmpBits());
    return kind != SourceKind::Mask && kind != SourceKind::Boundary && comp.transparency == 0 &&
           !comp.flatComp && place.left <= area.left && place.right >= area.right && place.top <= area.top &&
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

int ZoomedSize(int size, signed char zoom) {
    return zoom >= 2 ? size * zoom : (size + std::max(-int(zoom), 1) - 1) / std::max(-int(zoom), 1);
}

void DrawComponent(Comp& comp, const BitmapDestination& destination, const SRect& area, signed char zoom,
                   const BgrColour* colours) {
    if (!comp.bitmap || (comp.flagsA & CompBitmapOutOfDate)) comp.ComputeBitmap(-1);
    const ShownBitmap shown = comp.GetShownBitmap();
    if (!shown.pixels) return;
    const SourceKind kind = KindOf(comp, shown.bits);
    // Bitmaps of pictures start where the component's image does; overlays start with what they show of it.
    const bool picture = comp.GetCompMType() == MajorPicture;
    const SRect place = comp.GetCompExtent();
    const Start x((picture ? comp.x + comp.bmpLeft : place.left) - area.left, zoom);
    const Start y((picture ? comp.y + comp.bmpTop : place.top) - area.top, zoom);
    const BitmapSource source{shown.pixels, shown.rowBytes, shown.width, shown.height,
                              x.place,      y.place,        x.skipped,   y.skipped};
    Ink<BgrColour> ink;
    ink.colour =
        kind == SourceKind::Bits ? BgrColour{255, 255, 255} : OverlayColour(colours, comp.overlayColour);
    ink.transparency = comp.transparency;
    draw(destination, source, kind, Zoom{zoom, zoom}, ink);
}

}  // namespace

}  // namespace pzel

void ComposeMovie(Movie* movie, const BitmapDestination& destination, const SRect& area, signed char zoom,
                  const BgrColour* overlayColours) {
    BitmapDestination part = destination;
    part.width = std::min(part.width, pzel::ZoomedSize(pzel::widthOf(area), zoom));
    part.height = std::min(part.height, pzel::ZoomedSize(pzel::heightOf(area), zoom));
    if (part.width <= 0 || part.height <= 0) return;
    Comp** const children = movie->GetChildren();
    const int count = movie->GetNumbChildren();
    int first = 0;
    for (int i = count - 1; i > 0 && first == 0; --i)
        if (pzel::IsShown(*children[i], area) && pzel::HidesAll(*children[i], area)) first = i;
    for (int i = first; i < count; ++i)
        if (pzel::IsShown(*children[i], area))
            pzel::DrawComponent(*children[i], part, area, zoom, overlayColours);
}
