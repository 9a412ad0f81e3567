// A curve without points has its two ends to drag; points that make no difference go away with the others.
#include "curve_editor.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace pzel_view {

namespace {

constexpr double kRadius = 4.5;   // of a point
constexpr double kReach = 10;     // pixels around a point that take it
constexpr double kApart = 0.004;  // least distance between two points

const std::vector<TonePoint>& Straight() {
    static const std::vector<TonePoint> ends = {{0, 0}, {1, 1}};
    return ends;
}

}  // namespace

CurveEditor::CurveEditor(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setObjectName("curve.editor");
    setAccessibleName(tr("Tone curve"));
    setToolTip(tr("Drag a point, or press on the line to add one; a double click removes it."));
    setMouseTracking(true);
}

void CurveEditor::SetTone(const Tone& to) {
    tone = to;
    update();
}

void CurveEditor::SetColour(const QColor& to) {
    colour = to;
    update();
}

QRect CurveEditor::Plot() const {
    constexpr int kMargin = 8;
    const QRect room = rect().adjusted(kMargin, kMargin, -kMargin, -kMargin - fontMetrics().height());
    return room;
}

QPointF CurveEditor::PlaceOf(const TonePoint& point) const {
    const QRectF plot = Plot();
    return {plot.left() + point.in * plot.width(), plot.bottom() - point.out * plot.height()};
}

TonePoint CurveEditor::PointAt(const QPointF& place) const {
    const QRectF plot = Plot();
    return {std::clamp((place.x() - plot.left()) / plot.width(), 0.0, 1.0),
            std::clamp((plot.bottom() - place.y()) / plot.height(), 0.0, 1.0)};
}

std::vector<TonePoint> CurveEditor::Points() const {
    return tone.points.empty() ? Straight() : tone.points;
}

std::optional<std::size_t> CurveEditor::Near(const QPointF& place) const {
    const auto points = Points();
    std::optional<std::size_t> nearest;
    double least = kReach;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const QPointF apart = PlaceOf(points[i]) - place;
        const double distance = std::hypot(apart.x(), apart.y());
        if (distance > least) continue;
        least = distance;
        nearest = i;
    }
    return nearest;
}

void CurveEditor::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect plot = Plot();
    painter.fillRect(plot, palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Midlight));
    for (int i = 1; i < 4; ++i) {
        const int x = plot.left() + i * plot.width() / 4, y = plot.top() + i * plot.height() / 4;
        painter.drawLine(x, plot.top(), x, plot.bottom());
        painter.drawLine(plot.left(), y, plot.right(), y);
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(plot.adjusted(0, 0, -1, -1));
    painter.setPen(palette().color(QPalette::Text));
    const QRect below(plot.left(), plot.bottom() + 2, plot.width(), fontMetrics().height());
    painter.drawText(below, Qt::AlignLeft, tr("black"));
    painter.drawText(below, Qt::AlignHCenter, tr("levels"));
    painter.drawText(below, Qt::AlignRight, tr("white"));

    painter.setRenderHint(QPainter::Antialiasing);
    const QColor line = colour.isValid() ? colour : palette().color(QPalette::Text);
    QPolygonF curve;
    for (int x = 0; x <= plot.width(); ++x) {
        const double in = static_cast<double>(x) / std::max(plot.width(), 1);
        curve << PlaceOf({in, tone.At(in)});
    }
    painter.setPen(QPen(line, 2));
    painter.drawPolyline(curve);
    // What the points do by themselves, where gamma or inversion change it.
    Tone points;
    points.points = Points();
    Tone whole = tone;
    whole.points = points.points;
    const bool isBare = whole == points;
    if (!isBare) {
        QPolygonF bare;
        for (int x = 0; x <= plot.width(); x += 2) {
            const double in = static_cast<double>(x) / std::max(plot.width(), 1);
            bare << PlaceOf({in, points.At(in)});
        }
        painter.setPen(QPen(palette().color(QPalette::Mid), 1, Qt::DashLine));
        painter.drawPolyline(bare);
    }
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1.6));
    painter.setBrush(palette().color(QPalette::Base));
    for (const TonePoint& point : points.points) painter.drawEllipse(PlaceOf(point), kRadius, kRadius);
}

void CurveEditor::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    auto points = Points();
    const TonePoint added = PointAt(event->position());
    dragged = Near(event->position());
    // What is pressed straight above or below a point leaves no room for another one.
    for (std::size_t i = 0; i < points.size() && !dragged; ++i)
        if (std::abs(points[i].in - added.in) < kApart) dragged = i;
    emit dragStarted();
    if (dragged) return;
    const auto after = std::find_if(points.begin(), points.end(),
                                    [&](const TonePoint& point) { return point.in > added.in; });
    dragged = static_cast<std::size_t>(after - points.begin());
    points.insert(after, added);
    emit pointsWanted(points);
}

void CurveEditor::mouseMoveEvent(QMouseEvent* event) {
    if (!dragged) {
        setCursor(Near(event->position()) ? Qt::SizeAllCursor : Qt::CrossCursor);
        return;
    }
    auto points = Points();
    if (*dragged >= points.size()) return;
    TonePoint to = PointAt(event->position());
    const double low = *dragged == 0 ? 0 : points[*dragged - 1].in + kApart;
    const double high = *dragged + 1 == points.size() ? 1 : points[*dragged + 1].in - kApart;
    to.in = low <= high ? std::clamp(to.in, low, high) : points[*dragged].in;
    if (to == points[*dragged]) return;
    points[*dragged] = to;
    emit pointsWanted(points);
}

void CurveEditor::mouseReleaseEvent(QMouseEvent*) {
    dragged.reset();
}

void CurveEditor::mouseDoubleClickEvent(QMouseEvent* event) {
    dragged.reset();
    if (const auto point = Near(event->position())) Remove(*point);
}

void CurveEditor::Remove(std::size_t point) {
    auto points = Points();
    points.erase(points.begin() + static_cast<std::ptrdiff_t>(point));
    if (points.size() < 2) points.clear();
    emit dragStarted();
    emit pointsWanted(points);
}

}  // namespace pzel_view
