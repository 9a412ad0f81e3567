// A tone curve that is bent by dragging points. It shows what it is given and says what somebody wants.
#pragma once

#include <QWidget>
#include <optional>
#include <vector>

#include "apps/render/tone_curve.h"

namespace pzel_view {

class CurveEditor final : public QWidget {
    Q_OBJECT

  public:
    explicit CurveEditor(QWidget* parent);

    void SetTone(const Tone& tone);
    void SetColour(const QColor& colour);
    const Tone& GetTone() const { return tone; }

    /// Where a level and what it becomes are painted.
    QPointF PlaceOf(const TonePoint& point) const;

    QSize sizeHint() const override { return {260, 220}; }
    QSize minimumSizeHint() const override { return {140, 120}; }

  signals:
    void dragStarted();
    /// Other points are wanted, rising from left to right.
    void pointsWanted(const std::vector<TonePoint>& points);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

  private:
    QRect Plot() const;
    TonePoint PointAt(const QPointF& place) const;
    std::optional<std::size_t> Near(const QPointF& place) const;
    std::vector<TonePoint> Points() const;
    void Remove(std::size_t point);

    Tone tone;
    QColor colour;
    std::optional<std::size_t> dragged;
};

}  // namespace pzel_view
