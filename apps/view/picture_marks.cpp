// Marks are light on dark, so that they are seen on any picture.
#include "picture_marks.h"

#include <QPainter>
#include <algorithm>

#include "picture_tools.h"
#include "picture_view.h"
#include "read_out.h"

namespace pzel_view {

namespace {

constexpr double kGridFrom = 8, kValuesFrom = 40;  // screen pixels

void PaintDashed(QPainter& painter, const QRectF& rectangle) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::black, 1));
    painter.drawRect(rectangle);
    painter.setPen(QPen(Qt::white, 1, Qt::DashLine));
    painter.drawRect(rectangle);
}

void PaintText(QPainter& painter, const QRectF& cell, const QStringList& lines, int lightness) {
    constexpr int kMiddle = 128;
    painter.setPen(lightness < kMiddle ? Qt::white : Qt::black);
    painter.drawText(cell, Qt::AlignCenter, lines.join('\n'));
}

}  // namespace

void PaintPixels(QPainter& painter, const PictureView& picture, Document& document) {
    const double scale = picture.Scale();
    if (scale < kGridFrom) return;
    const QRect area = picture.VisibleArea();
    painter.setPen(QPen(QColor(128, 128, 128, 110), 1));
    for (int x = area.left(); x <= area.right() + 1; ++x)
        painter.drawLine(picture.PlaceOf(QPointF(x, area.top())),
                         picture.PlaceOf(QPointF(x, area.bottom() + 1)));
    for (int y = area.top(); y <= area.bottom() + 1; ++y)
        painter.drawLine(picture.PlaceOf(QPointF(area.left(), y)),
                         picture.PlaceOf(QPointF(area.right() + 1, y)));
    Comp* const active = document.Active();
    if (scale <= kValuesFrom || !active) return;
    QFont font = painter.font();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QStringList lines = ValuesAt(document, *active, {x, y});
            if (lines.isEmpty()) continue;
            qsizetype longest = 1;
            for (const QString& line : lines) longest = std::max(longest, line.size());
            // A digit is some 0.6 of its height wide.
            const double byWidth = scale / (0.66 * static_cast<double>(longest));
            const double byHeight = scale / (1.3 * static_cast<double>(lines.size()));
            font.setPixelSize(std::clamp(static_cast<int>(std::min(byWidth, byHeight)), 5, 16));
            painter.setFont(font);
            PaintText(painter, QRectF(picture.PlaceOf(QPointF(x, y)), QSizeF(scale, scale)), lines,
                      picture.LightnessAt({x, y}));
        }
    }
}

void PaintSelection(QPainter& painter, const PictureView& picture, Document& document,
                    const PictureTools& tools) {
    for (const QRect& rectangle : {document.Selection(), tools.Band()}) {
        if (rectangle.isEmpty()) continue;
        PaintDashed(painter, QRectF(picture.PlaceOf(rectangle.topLeft()),
                                    picture.PlaceOf(rectangle.bottomRight() + QPoint(1, 1))));
    }
    if (const std::optional<Segment> line = document.Profile()) {
        const QPointF half(0.5, 0.5);
        const QPointF from = picture.PlaceOf(QPointF(line->from) + half);
        const QPointF to = picture.PlaceOf(QPointF(line->to) + half);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(Qt::black, 3));
        painter.drawLine(from, to);
        painter.setPen(QPen(Qt::yellow, 1));
        painter.drawLine(from, to);
        painter.setBrush(Qt::yellow);
        painter.drawEllipse(from, 3, 3);
    }
}

void PaintWipe(QPainter& painter, const PictureView& picture) {
    const std::optional<double> place = picture.WipePlace();
    if (!place) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 3));
    painter.drawLine(QPointF(*place, 0), QPointF(*place, picture.height()));
    painter.setPen(QPen(Qt::white, 1));
    painter.drawLine(QPointF(*place, 0), QPointF(*place, picture.height()));
    painter.setBrush(Qt::white);
    painter.setPen(Qt::black);
    const QPointF grip(*place, picture.height() / 2.0);
    painter.drawEllipse(grip, 9, 9);
    painter.drawText(QRectF(grip - QPointF(9, 9), QSizeF(18, 18)), Qt::AlignCenter, "↔");
}

}  // namespace pzel_view
