// The picture of all layers together: where it lies, how deep it must be, and its bitmap.
#pragma once

#include <vector>

#include "layer.h"
#include "pzel/component/movie.h"
#include "pzel/component/shown_bitmap.h"

/// The rectangle that what is shown of a layer covers in the movie, and the one that all visible ones cover.
Area PlaceOf(const Layer& layer, const pzel_io::PictureInfo& info);
Area UnionOf(const Area& one, const Area& other);
/// What two rectangles share; empty where that is nothing.
std::optional<Area> SharedPart(const Area& one, const Area& other);

/// Drawn lines, white on black, as a boundary's upper edges, which outlast shrinking.
pzel_io::OwnedImage AsBoundary(const ShownBitmap& drawn);

/// The least depth that shows a component as it is: colours need 24 bits, and what others shine through 8.
int DepthOf(Comp& comp);

int WidthOf(const Area& area);
int HeightOf(const Area& area);

class Composition {
  public:
    /// A composition of `shown`, in the movie's columns and rows, enlarged or shrunk by `zoom`. The movie
    /// must live as long as this.
    Composition(Movie& layers, const Area& shown, int zoomOfBoth);

    /// Draws the movie's visible components over black. The bitmap is this object's; the next drawing
    /// replaces it.
    const ShownBitmap& Draw();

    /// Why a composition of this size cannot be made; empty where it can.
    static std::string Objection(const Area& shown, int zoom);

  private:
    int Depth() const;

    Movie& movie;
    Area area;
    signed char zoom;
    std::vector<unsigned char> pixels;
    ShownBitmap bitmap{};
};
