// The axis spans the values of all channels.
#include "profile_plot.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <limits>

namespace pzel_view {

ProfilePlot::ProfilePlot(QWidget* parent) : QWidget(parent) {
    setObjectName("measure.profile");
    setAccessibleName(tr("Line profile"));
    setToolTip(tr("The values along the line that was drawn in the picture."));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void ProfilePlot::SetLines(const std::vector<Line>& to) {
    lines = to;
    update();
}

void ProfilePlot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int textHeight = fontMetrics().height();
    const QRect plot = rect().adjusted(1, textHeight + 2, -2, -textHeight - 2);
    painter.fillRect(plot, palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(plot);
    double low = std::numeric_limits<double>::infinity(), high = -low;
    std::size_t count = 0;
    for (const Line& line : lines) {
        count = std::max(count, line.values.size());
        for (const double value : line.values) {
            if (!std::isfinite(value)) continue;
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    painter.setPen(palette().color(QPalette::Text));
    if (count == 0 || !(low <= high)) {
        painter.drawText(plot, Qt::AlignCenter | Qt::TextWordWrap, tr("Draw a line in the picture."));
        return;
    }
    const auto text = [](double value) { return QString::number(value, 'g', 6); };
    painter.drawText(QRect(0, 0, width(), textHeight), Qt::AlignLeft, text(high));
    const QRect below(0, height() - textHeight, width(), textHeight);
    painter.drawText(below, Qt::AlignLeft, text(low));
    painter.drawText(below, Qt::AlignRight, tr("%n pixels", nullptr, static_cast<int>(count)));
    const double range = high > low ? high - low : 1;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(plot);
    for (const Line& line : lines) {
        painter.setPen(QPen(line.colour.isValid() ? line.colour : palette().color(QPalette::Text), 1.4));
        QPolygonF piece;
        const auto finish = [&] {
            if (piece.size() == 1) painter.drawPoint(piece[0]);
            if (piece.size() > 1) painter.drawPolyline(piece);
            piece.clear();
        };
        for (std::size_t i = 0; i < line.values.size(); ++i) {
            if (!std::isfinite(line.values[i])) {
                finish();
                continue;
            }
            const double along = count > 1 ? static_cast<double>(i) / static_cast<double>(count - 1) : 0.5;
            piece << QPointF(plot.left() + along * plot.width(),
                             plot.bottom() - 2 - (line.values[i] - low) / range * (plot.height() - 4));
        }
        finish();
    }
}

}  // namespace pzel_view
