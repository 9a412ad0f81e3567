// One layer as one window sees it: a component of its own with the visible part of the document's image,
// which is not copied, or with every n-th pixel of it. It takes levels, curve, place and colours over from
// the document's component before it draws.
#pragma once

#include <QRect>
#include <memory>
#include <optional>

#include "apps/io/file_movie.h"
#include "apps/render/layer.h"
#include "pzel/component/comp.h"
#include "pzel/component/movie.h"
#include "pzel/display/overlay.h"

namespace pzel_view {

class SeenLayer {
  public:
    /// The component must live as long as this.
    explicit SeenLayer(Comp& shown);
    ~SeenLayer();
    SeenLayer(const SeenLayer&) = delete;
    SeenLayer& operator=(const SeenLayer&) = delete;

    /// Another image, or another part of it.
    void ForgetImage() { isImageOld = true; }
    /// Other levels or another curve.
    void ForgetBitmap() { isBitmapOld = true; }

    /// Whether a layer is shown as it is set to, or alone: opaque, hidden or not.
    enum class Company { Others, Alone };

    /// Maps what is visible of the layer in a rectangle of the movie; false where nothing is.
    bool Map(const QRect& area, int zoom, Company company = Company::Others);
    /// Draws what was mapped last.
    void Compose(const BitmapDestination& destination, const QRect& area, int zoom, int bits);
    /// The least depth that shows it.
    int Depth();

  private:
    void TakeWhole();
    void TakePart(const QRect& part);
    void TakeEvery(int step, const QRect& part);
    void TakeBounds();
    void LetGo();
    void DrawArrowsAsLines();

    Comp& source;
    std::unique_ptr<Movie, pzel_io::Releaser> movie;
    std::unique_ptr<Comp, pzel_io::Releaser> comp;
    bool isImageOld = true;
    bool isBitmapOld = true;
    bool isBorrowed = false;  // the pixels are the source's
    bool isShrunk = false;    // every n-th pixel, to be composed as they are
    QRect taken;              // the part, in the source's columns and rows
    int takenZoom = 0;
};

}  // namespace pzel_view
