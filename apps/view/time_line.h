// The slider of the time panel: the movie from its first frame to its last, with the selected ranges in the
// upper lane, the frames that are read already and the marks to keep and to cut in the lower one.
#pragma once

#include <QWidget>
#include <cstdint>
#include <optional>

#include "document.h"

namespace pzel_view {

class TimeLine final : public QWidget {
    Q_OBJECT

  public:
    TimeLine(Document& document, QWidget* parent);

    QSize sizeHint() const override { return {400, 44}; }
    QSize minimumSizeHint() const override { return {120, 44}; }

    /// Where a frame stands, in pixels from the left.
    double PlaceOf(double frame) const;
    std::uint32_t FrameAt(double place) const;
    /// The height of the lane of ranges.
    static int LaneOfRanges() { return 18; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool event(QEvent* event) override;

  private:
    // The range that is being set by dragging: one end stays.
    struct Drag {
        std::size_t range;
        std::uint32_t fixed;
        int gesture;
    };

    void PaintRanges(QPainter& painter) const;
    void PaintFrames(QPainter& painter) const;
    void StartRange(std::uint32_t frame, double place);
    void DragRange(std::uint32_t frame);
    std::optional<std::size_t> RangeAt(std::uint32_t frame) const;

    Document& document;
    std::optional<Drag> drag;
    bool isScrubbing = false;
};

}  // namespace pzel_view
