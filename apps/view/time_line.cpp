// Dragging in the upper lane makes a range, or moves the end that is near; anywhere below it goes to a frame.
#include "time_line.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace pzel_view {

namespace {

constexpr double kMargin = 8;  // pixels at both ends
constexpr double kNear = 5;    // pixels from an end of a range that it is taken by

const QColor kKeep(40, 160, 70), kCut(205, 60, 50);

}  // namespace

TimeLine::TimeLine(Document& shown, QWidget* parent) : QWidget(parent), document(shown) {
    setObjectName("timeLine");
    setAccessibleName(tr("Time line"));
    setMouseTracking(true);
    const auto repaint = [this] { update(); };
    connect(&document, &Document::opened, this, repaint);
    connect(&document, &Document::frameShown, this, repaint);
    connect(&document, &Document::timeChanged, this, repaint);
    connect(&document, &Document::ringChanged, this, repaint);
    connect(&document, &Document::layersChanged, this, repaint);
}

double TimeLine::PlaceOf(double frame) const {
    const double last = std::max(1.0, static_cast<double>(document.Frames()) - 1);
    return kMargin + frame * (width() - 2 * kMargin) / last;
}

std::uint32_t TimeLine::FrameAt(double place) const {
    const std::uint32_t frames = document.Frames();
    if (frames < 2) return 0;
    const double frame = std::round((place - kMargin) * (frames - 1) / (width() - 2 * kMargin));
    return static_cast<std::uint32_t>(std::clamp(frame, 0.0, frames - 1.0));
}

void TimeLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Base));
    const double left = kMargin - 4;
    painter.drawRoundedRect(QRectF(left, 1, width() - 2 * left, LaneOfRanges() - 3), 3, 3);
    painter.drawRoundedRect(QRectF(left, LaneOfRanges(), width() - 2 * left, height() - LaneOfRanges() - 1),
                            3, 3);
    if (document.Frames() < 2) {
        painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
        painter.drawText(rect(), Qt::AlignCenter, document.IsEmpty() ? tr("No movie") : tr("A single frame"));
        return;
    }
    PaintRanges(painter);
    PaintFrames(painter);
    const double now = PlaceOf(document.CurrentFrame());
    painter.setPen(QPen(palette().color(QPalette::Text), 2));
    painter.drawLine(QPointF(now, 1), QPointF(now, height() - 2));
    painter.setBrush(palette().color(QPalette::Highlight));
    painter.drawEllipse(QPointF(now, (height() + LaneOfRanges()) / 2.0), 6, 6);
}

void TimeLine::PaintRanges(QPainter& painter) const {
    const std::vector<Movie::FrameRange> ranges = document.GetMovie().GetFrameRanges();
    QColor colour = palette().color(QPalette::Highlight);
    if (ranges.empty()) {
        painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
        painter.drawText(QRectF(0, 0, width(), LaneOfRanges()), Qt::AlignCenter,
                         tr("All frames are played; drag here to choose some"));
        return;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    for (const auto& [first, last] : ranges) {
        const double from = PlaceOf(static_cast<double>(first)), to = PlaceOf(static_cast<double>(last));
        painter.drawRoundedRect(QRectF(from - 2, 2, to - from + 4, LaneOfRanges() - 5), 2, 2);
    }
}

void TimeLine::PaintFrames(QPainter& painter) const {
    QColor read = palette().color(QPalette::Highlight);
    read.setAlpha(80);
    const double frameWidth = std::max(1.0, PlaceOf(1) - PlaceOf(0));
    for (const std::uint32_t frame : document.ReadFrames())
        painter.fillRect(QRectF(PlaceOf(frame) - frameWidth / 2, height() - 7, frameWidth, 5), read);
    const auto mark = [&](const FrameInfo::Frames& frames, const QColor& colour) {
        for (const std::int32_t frame : frames)
            painter.fillRect(QRectF(PlaceOf(frame) - 1.5, LaneOfRanges() + 1, 3, 7), colour);
    };
    mark(document.Marks().ReturnKeepFrames(), kKeep);
    mark(document.Marks().ReturnCutFrames(), kCut);
}

std::optional<std::size_t> TimeLine::RangeAt(std::uint32_t frame) const {
    const std::vector<Movie::FrameRange> ranges = document.GetMovie().GetFrameRanges();
    for (std::size_t i = 0; i < ranges.size(); ++i)
        if (ranges[i].first <= frame && frame <= ranges[i].second) return i;
    return {};
}

void TimeLine::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || document.Frames() < 2) return;
    const double place = event->position().x();
    if (event->position().y() < LaneOfRanges()) return StartRange(FrameAt(place), place);
    isScrubbing = true;
    document.GetPlayer().Stop();
    document.GoTo(FrameAt(place));
}

void TimeLine::StartRange(std::uint32_t frame, double place) {
    std::vector<Movie::FrameRange> ranges = document.GetMovie().GetFrameRanges();
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        const auto [first, last] = ranges[i];
        if (std::abs(PlaceOf(static_cast<double>(last)) - place) <= kNear) {
            drag = Drag{i, static_cast<std::uint32_t>(first), document.NewGesture()};
            return;
        }
        if (std::abs(PlaceOf(static_cast<double>(first)) - place) <= kNear) {
            drag = Drag{i, static_cast<std::uint32_t>(last), document.NewGesture()};
            return;
        }
    }
    drag = Drag{ranges.size(), frame, document.NewGesture()};
}

void TimeLine::DragRange(std::uint32_t frame) {
    std::vector<Movie::FrameRange> ranges = document.GetMovie().GetFrameRanges();
    if (drag->range > ranges.size()) return drag.reset();
    if (drag->range == ranges.size()) ranges.emplace_back();
    ranges[drag->range] = {std::min(frame, drag->fixed), std::max(frame, drag->fixed)};
    document.SetRanges(tr("Select Frames"), ranges, drag->gesture);
}

void TimeLine::mouseMoveEvent(QMouseEvent* event) {
    const std::uint32_t frame = FrameAt(event->position().x());
    if (drag) {
        DragRange(frame);
    } else if (isScrubbing) {
        document.GoTo(frame);
    }
}

void TimeLine::mouseReleaseEvent(QMouseEvent*) {
    drag.reset();
    isScrubbing = false;
}

void TimeLine::wheelEvent(QWheelEvent* event) {
    document.GetPlayer().Step(event->angleDelta().y() > 0 ? -1 : 1);
}

void TimeLine::contextMenuEvent(QContextMenuEvent* event) {
    const std::optional<std::size_t> range = RangeAt(FrameAt(event->pos().x()));
    std::vector<Movie::FrameRange> ranges = document.GetMovie().GetFrameRanges();
    if (ranges.empty()) return;
    QMenu menu(this);
    if (range) {
        menu.addAction(tr("Remove This Range"), this, [&] {
            ranges.erase(ranges.begin() + static_cast<std::ptrdiff_t>(*range));
            document.SetRanges(tr("Remove Range"), ranges);
        });
    }
    menu.addAction(tr("Remove All Ranges"), this, [&] { document.SetRanges(tr("Remove Ranges"), {}); });
    menu.exec(event->globalPos());
}

bool TimeLine::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const bool isRanges = help->pos().y() < LaneOfRanges();
    QToolTip::showText(
        help->globalPos(),
        tr("Frame %1. ").arg(FrameAt(help->pos().x())) +
            (isRanges ? tr("Drag to select the frames that are played.") : tr("Drag to go to a frame.")),
        this);
    return true;
}

}  // namespace pzel_view
