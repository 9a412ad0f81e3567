// The picture in the middle of a window: paints what the library drew, and moves about in it.
//
// Places are the movie's columns and rows; a zoom of n shows a pixel as n device pixels, one of -n every n-th
// pixel.
#pragma once

#include <QImage>
#include <QPointF>
#include <QRect>
#include <QTimer>
#include <QWidget>
#include <optional>

#include "document.h"
#include "seen_movie.h"

namespace pzel_view {

class PictureTools;

class PictureView final : public QWidget {
    Q_OBJECT

  public:
    PictureView(Document& document, QWidget* parent);

    int Zoom() const { return zoom; }
    /// Shows a zoom, with what is under a place of the widget staying there.
    void SetZoom(int to, const QPointF& anchor);
    void SetZoom(int to) { SetZoom(to, rect().center()); }
    void ZoomIn() { SetZoom(Larger(zoom)); }
    void ZoomOut() { SetZoom(Smaller(zoom)); }
    /// The largest zoom that shows everything, now and when the window or the movie changes its size.
    void Fit();
    bool IsFitted() const { return isFitted; }
    void CentreOn(const QPointF& place);
    /// Moves the part that is shown by parts of its size.
    void Pan(double right, double down);
    /// Moves the picture by widget pixels.
    void PanBy(const QPointF& by);

    /// The columns and rows that are to be seen, as far as there is a picture.
    QRect VisibleArea() const;
    /// The pixel under a place of the widget.
    QPoint PixelAt(const QPointF& place) const;
    /// Where the top left corner of a pixel is painted.
    QPointF PlaceOf(const QPointF& pixel) const;
    /// Widget pixels that a pixel is wide.
    double Scale() const;
    /// The pixel under the pointer.
    std::optional<QPoint> Hovered() const { return hovered; }

    /// How light the pixel is that is shown: 0 to 255.
    int LightnessAt(const QPoint& pixel) const;

    PictureTools& Tools() { return *tools; }

    /// The active layer beside the one below it, each alone: on both sides of a line that can be dragged, or
    /// one after the other.
    enum class Comparison { None, Wipe, Flicker };
    void Compare(Comparison how);
    Comparison Comparing() const { return comparison; }
    /// Where the line is, in widget pixels from the left; nothing without one.
    std::optional<double> WipePlace() const;
    void SetWipe(double place);

    /// What stands in the movie at its own size, or what is shown of it; the bits are shared with nobody.
    QImage Picture(const QRect& area, int ofZoom);
    SeenMovie& Seen() { return seen; }

    static int Larger(int zoom);
    static int Smaller(int zoom);

  signals:
    void zoomChanged(int zoom);
    /// Another part, or another zoom, is shown.
    void partChanged();
    void hoveredChanged();
    /// A picture stands on the screen.
    void painted();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    void ShowAnew();
    void DrawPicture(QPainter& painter, const QRect& area);
    void DrawCompared(QPainter& painter, const QRect& area);
    void PaintDrawn(QPainter& painter, const QRect& area);
    void PaintInvitation(QPainter& painter) const;
    Comp* OtherLayer();
    void Settle();
    int FittingZoom() const;
    QSizeF SizeInPixels() const;

    Document& document;
    SeenMovie seen;
    int zoom = 1;
    bool isFitted = true;
    QPointF corner;  // the place in the movie at the widget's top left corner
    std::optional<QPoint> hovered;
    PictureTools* tools;
    Comparison comparison = Comparison::None;
    double wipe = 0.5;  // the part of the width that is left of the line
    QTimer flicker;
    bool isOthersTurn = false;  // the lower layer's turn
    bool isOld = true;
    QRect drawnArea;
    ShownBitmap drawn{};
    double mapping = 0;  // milliseconds of the last drawing
    double composing = 0;
};

}  // namespace pzel_view
