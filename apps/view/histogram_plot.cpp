// The axis spans what values usually are and both levels; it stays while a handle is dragged.
#include "histogram_plot.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

namespace pzel_view {

namespace {

constexpr int kSide = 8;        // room for half a handle
constexpr int kRamp = 12;       // height of the ramp, which the handles stand on
constexpr int kGrip = 10;       // pixels around a handle that take it
constexpr double kRare = 0.05;  // percent of values at each end that the axis need not show

// The value of a rank; of bins the start of the one that holds it.
double ValueOf(const Histogram& values, std::uint64_t rank) {
    if (values.IsExact()) return values.GetValue(rank);
    std::uint64_t seen = values.GetBelow();
    for (int bin = 0; bin < values.GetNumbBins(); ++bin)
        if ((seen += values.GetCount(bin)) > rank) return values.GetBinStart(bin);
    return values.GetBinStart(values.GetNumbBins());
}

}  // namespace

HistogramPlot::HistogramPlot(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMouseTracking(true);
    setToolTip(
        tr("Drag the dark handle to what is shown black, the light one to what is shown white; between "
           "them both move."));
}

void HistogramPlot::SetValues(const Histogram* histogram, double off) {
    values = histogram ? *histogram : Histogram();
    offset = off;
    if (grip == Grip::None) SetAxis();
    SetHeights();
}

void HistogramPlot::SetLevels(const pzel_io::Window& to) {
    levels = to;
    const bool isInside = levels.low >= axis.low && levels.high <= axis.high;
    // Levels in a corner of the axis could not be dragged.
    const bool isSmall = (levels.high - levels.low) * 50 < axis.high - axis.low;
    if (grip == Grip::None && (!isInside || isSmall)) {
        SetAxis();
        SetHeights();
    }
    update();
}

void HistogramPlot::SetColour(const QColor& to) {
    colour = to;
    update();
}

void HistogramPlot::SetLogarithmic(bool on) {
    logarithmic = on;
    SetHeights();
}

void HistogramPlot::SetMirrored(bool on) {
    mirrored = on;
}

void HistogramPlot::SetWholeRange(bool on) {
    wholeRange = on;
    SetAxis();
    SetHeights();
}

void HistogramPlot::SetAxis() {
    constexpr double kMargin = 0.04;
    axis = levels;
    if (values.GetNumbBins() > 0) {
        const ValueStatistics all = values.GetStatistics();
        if (all.count > 0) {
            const std::uint64_t rare = RankOfPercent(kRare, all.count);
            const double low = wholeRange ? all.minimum : ValueOf(values, rare);
            const double high = wholeRange ? all.maximum : ValueOf(values, all.count - 1 - rare);
            axis.low = std::min(axis.low, low - offset);
            axis.high = std::max(axis.high, high - offset);
        }
    }
    if (!(axis.high > axis.low)) axis = {axis.low - 1, axis.low + 1};
    const double margin = (axis.high - axis.low) * kMargin;
    axis = {axis.low - margin, axis.high + margin};
}

// One column that is far above all others would leave nothing of these.
void HistogramPlot::SetHeights() {
    constexpr double kMostAbove = 3;
    const int width = Plot().width();
    heights.assign(static_cast<std::size_t>(std::max(width, 0)), 0);
    const int bins = values.GetNumbBins();
    for (int bin = 0; bin < bins && width > 0; ++bin) {
        const auto count = static_cast<double>(values.GetCount(bin));
        if (count == 0) continue;
        const double start = values.GetBinStart(bin) - offset;
        const double end = (values.IsExact() ? start + 1 : values.GetBinStart(bin + 1) - offset);
        // A whole number is painted around itself.
        const double shift = values.IsExact() ? 0.5 : 0;
        const double scale = width / (axis.high - axis.low);
        const double left = (start - shift - axis.low) * scale, right = (end - shift - axis.low) * scale;
        if (right < 0 || left >= width) continue;
        const int first = std::max(0, static_cast<int>(left));
        const int last = std::clamp(static_cast<int>(std::ceil(right)) - 1, first, width - 1);
        // What falls into less than a column adds up; what spans several has its height in each.
        for (int x = first; x <= last; ++x) {
            auto& height = heights[static_cast<std::size_t>(x)];
            height = right - left < 1 ? height + count : std::max(height, count);
        }
    }
    std::vector<double> sorted = heights;
    std::sort(sorted.begin(), sorted.end(), std::greater<>());
    double top = sorted.empty() ? 0 : sorted[0];
    if (!logarithmic && sorted.size() > 4 && sorted[4] > 0) top = std::min(top, kMostAbove * sorted[4]);
    for (double& height : heights) {
        if (height > 0)
            height = logarithmic ? std::log1p(height) / std::log1p(top) : std::min(height / top, 1.0);
    }
    update();
}

QRect HistogramPlot::Plot() const {
    return rect().adjusted(kSide, 2, -kSide, -kRamp - fontMetrics().height() - 6);
}

int HistogramPlot::PlaceOf(double value) const {
    const QRect plot = Plot();
    const double x = (value - axis.low) / (axis.high - axis.low) * plot.width();
    return plot.left() + static_cast<int>(std::clamp(x, 0.0, static_cast<double>(plot.width() - 1)));
}

double HistogramPlot::ValueAt(double x) const {
    const QRect plot = Plot();
    return axis.low + (x - plot.left()) / std::max(plot.width(), 1) * (axis.high - axis.low);
}

HistogramPlot::Grip HistogramPlot::GripAt(double x) const {
    const double black = std::abs(x - PlaceOf(levels.low)), white = std::abs(x - PlaceOf(levels.high));
    if (std::min(black, white) <= kGrip) return black < white ? Grip::Black : Grip::White;
    return x > PlaceOf(levels.low) && x < PlaceOf(levels.high) ? Grip::Both
           : black < white                                     ? Grip::Black
                                                               : Grip::White;
}

void HistogramPlot::resizeEvent(QResizeEvent*) {
    SetHeights();
}

void HistogramPlot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect plot = Plot();
    painter.fillRect(plot, palette().color(QPalette::Base));
    QColor fill = colour.isValid() ? colour : palette().color(QPalette::Text);
    fill.setAlphaF(isEnabled() ? 0.75F : 0.3F);
    for (int x = 0; x < static_cast<int>(heights.size()); ++x) {
        const double height = heights[static_cast<std::size_t>(x)];
        if (height <= 0) continue;
        const int high = std::max(1, static_cast<int>(std::lround(height * plot.height())));
        painter.fillRect(plot.left() + x, plot.bottom() + 1 - high, 1, high, fill);
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(plot.adjusted(-1, -1, 0, 0));
    const QRect ramp(plot.left(), plot.bottom() + 2, plot.width(), kRamp - 2);
    PaintRamp(painter, ramp);
    if (!isEnabled()) return;
    PaintHandle(painter, levels.low, Qt::black);
    PaintHandle(painter, levels.high, Qt::white);
    painter.setPen(palette().color(QPalette::Text));
    const auto text = [this](double value) {
        return QString::number(values.IsExact() ? std::round(value) : value, 'g', 5);
    };
    const QRect labels(plot.left(), rect().bottom() - fontMetrics().height(), plot.width(),
                       fontMetrics().height());
    painter.drawText(labels, Qt::AlignLeft | Qt::AlignBottom, text(axis.low));
    painter.drawText(labels, Qt::AlignRight | Qt::AlignBottom, text(axis.high));
}

void HistogramPlot::PaintRamp(QPainter& painter, const QRect& ramp) const {
    const int black = PlaceOf(levels.low), white = PlaceOf(levels.high);
    painter.fillRect(ramp, Qt::black);
    painter.fillRect(QRect(QPoint(white, ramp.top()), ramp.bottomRight()), Qt::white);
    if (white > black) {
        QLinearGradient gradient(black, 0, white, 0);
        gradient.setColorAt(0, Qt::black);
        gradient.setColorAt(1, Qt::white);
        painter.fillRect(QRect(QPoint(black, ramp.top()), QPoint(white, ramp.bottom())), gradient);
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(ramp.adjusted(-1, 0, 0, 0));
}

void HistogramPlot::PaintHandle(QPainter& painter, double value, const QColor& inside) const {
    constexpr double kWidth = 5.5;
    const QRect plot = Plot();
    const double x = PlaceOf(value) + 0.5, foot = plot.bottom() + kRamp + 3, tip = plot.bottom() + 1;
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1));
    painter.drawLine(QPointF(x, plot.top()), QPointF(x, tip));
    QPainterPath path;
    path.addPolygon(QPolygonF({{x, tip}, {x + kWidth, foot}, {x - kWidth, foot}}));
    path.closeSubpath();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1.6));
    painter.setBrush(inside);
    painter.drawPath(path);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void HistogramPlot::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    grip = GripAt(event->position().x());
    grabbed = ValueAt(event->position().x());
    before = levels;
    emit dragStarted();
}

void HistogramPlot::mouseMoveEvent(QMouseEvent* event) {
    if (grip == Grip::None) {
        setCursor(GripAt(event->position().x()) == Grip::Both ? Qt::OpenHandCursor : Qt::SizeHorCursor);
        return;
    }
    const double moved = ValueAt(event->position().x()) - grabbed;
    pzel_io::Window wanted = before;
    if (mirrored) {
        const double sign = grip == Grip::Black ? -1 : 1;
        wanted.high = std::max(before.high + sign * moved, 0.0);
        wanted.low = -wanted.high;
    } else {
        if (grip != Grip::White) wanted.low += moved;
        if (grip != Grip::Black) wanted.high += moved;
        // A handle pushes the other one no further than to itself.
        if (grip == Grip::Black) wanted.low = std::min(wanted.low, before.high);
        if (grip == Grip::White) wanted.high = std::max(wanted.high, before.low);
    }
    emit dragged(wanted);
}

void HistogramPlot::mouseReleaseEvent(QMouseEvent*) {
    if (std::exchange(grip, Grip::None) == Grip::None) return;
    emit dragEnded();
    SetLevels(levels);
}

}  // namespace pzel_view
