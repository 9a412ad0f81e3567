// The picture in the middle of a window: paints what the library drew, and moves about in it.
//
// Places are the movie's columns and rows; a zoom of n shows a pixel as n device pixels, one of -n every n-th
// pixel.
#pragma once

#include <QPointF>
#include <QRect>
#include <QWidget>
#include <optional>

#include "document.h"
#include "seen_movie.h"

namespace pzel_view {

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

    static int Larger(int zoom);
    static int Smaller(int zoom);

  signals:
    void zoomChanged(int zoom);
    /// Another part, or another zoom, is shown.
    void partChanged();
    void hoveredChanged();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    void ShowAnew();
    void Settle();
    int FittingZoom() const;
    QSizeF SizeInPixels() const;

    Document& document;
    SeenMovie seen;
    int zoom = 1;
    bool isFitted = true;
    QPointF corner;  // the place in the movie at the widget's top left corner
    std::optional<QPoint> hovered;
    std::optional<QPointF> dragged;
    bool isOld = true;
    QRect drawnArea;
    ShownBitmap drawn{};
};

}  // namespace pzel_view
