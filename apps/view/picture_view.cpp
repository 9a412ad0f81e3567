// Only the visible part is drawn, and only where it or the picture changed: what the window system asks to be
// painted again is painted from the same bitmap.
#include "picture_view.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "picture_marks.h"
#include "picture_tools.h"

namespace pzel_view {

namespace {

constexpr int kSmallest = -127, kLargest = 127;
constexpr int kWidest = 16384;     // columns of a picture that is drawn at once
constexpr int kFlickerTime = 400;  // milliseconds

bool IsTraced() {
    static const bool traced = qEnvironmentVariableIsSet("PZEL_TRACE");
    return traced;
}

// The bitmap's own bits, for as long as it stays.
QImage AsImage(const ShownBitmap& bitmap) {
    const QImage::Format format = bitmap.bits == 1   ? QImage::Format_Mono
                                  : bitmap.bits == 8 ? QImage::Format_Grayscale8
                                                     : QImage::Format_BGR888;
    QImage image(bitmap.pixels, bitmap.width, bitmap.height, bitmap.rowBytes, format);
    if (bitmap.bits == 1) image.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    return image;
}

int FloorTo(double value, int step) {
    return static_cast<int>(std::floor(value / step)) * step;
}

}  // namespace

PictureView::PictureView(Document& shown, QWidget* parent) : QWidget(parent), document(shown), seen(shown) {
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);  // all of it, picture and what lies around
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 120);
    setObjectName("picture");
    setAccessibleName(tr("Picture"));
    tools = new PictureTools(document, *this);
    flicker.setInterval(kFlickerTime);
    connect(&flicker, &QTimer::timeout, this, [this] {
        isOthersTurn = !isOthersTurn;
        ShowAnew();
    });
    const auto repaint = [this] { update(); };
    connect(&document, &Document::selectionChanged, this, repaint);
    connect(&document, &Document::profileChanged, this, repaint);
    connect(&document, &Document::activeChanged, this, &PictureView::ShowAnew);
    connect(&seen, &SeenMovie::changed, this, &PictureView::ShowAnew);
    connect(&document, &Document::opened, this, &PictureView::Fit);
    connect(this, &PictureView::zoomChanged, &document, &Document::NoteZoom);
    connect(&document, &Document::zoomWished, this, [this](int wished) { SetZoom(wished); });
}

int PictureView::Larger(int zoom) {
    if (zoom < -2) return zoom + std::max(1, -zoom / 4);
    if (zoom < 1) return 1;
    return std::min(zoom + std::max(1, zoom / 3), kLargest);
}

int PictureView::Smaller(int zoom) {
    if (zoom == 1) return -2;
    if (zoom < 1) return std::max(zoom - std::max(1, -zoom / 4), kSmallest);
    return zoom - std::max(1, zoom / 4);
}

double PictureView::Scale() const {
    return (zoom > 0 ? zoom : 1.0 / -zoom) / devicePixelRatioF();
}

QSizeF PictureView::SizeInPixels() const {
    return QSizeF(size()) / Scale();
}

void PictureView::SetZoom(int to, const QPointF& anchor) {
    const QPointF place = corner + anchor / Scale();
    isFitted = false;
    const bool isOther = std::exchange(zoom, to) != to;
    corner = place - anchor / Scale();
    Settle();
    if (isOther) emit zoomChanged(zoom);
}

int PictureView::FittingZoom() const {
    const QRect extent = document.Extent();
    if (extent.isEmpty()) return 1;
    const QSizeF room = QSizeF(size()) * devicePixelRatioF();
    const double factor = std::min(room.width() / extent.width(), room.height() / extent.height());
    if (factor >= 1) return std::min(static_cast<int>(factor), kLargest);
    return std::max(-static_cast<int>(std::ceil(1 / factor)), kSmallest);
}

void PictureView::Fit() {
    const int before = std::exchange(zoom, FittingZoom());
    isFitted = true;
    CentreOn(QRectF(document.Extent()).center());
    if (before != zoom) emit zoomChanged(zoom);
}

void PictureView::CentreOn(const QPointF& place) {
    const QSizeF room = SizeInPixels();
    corner = place - QPointF(room.width(), room.height()) / 2;
    Settle();
}

void PictureView::Pan(double right, double down) {
    const QSizeF room = SizeInPixels();
    isFitted = false;
    corner += QPointF(right * room.width(), down * room.height());
    Settle();
}

void PictureView::PanBy(const QPointF& by) {
    isFitted = false;
    corner -= by / Scale();
    Settle();
}

// The picture stays in the window, and in its middle where it is smaller.
void PictureView::Settle() {
    const QRectF extent = document.Extent();
    const QSizeF room = SizeInPixels();
    const auto settle = [](double at, double first, double length, double roomFor) {
        if (length <= roomFor) return first - (roomFor - length) / 2;
        return std::clamp(at, first, first + length - roomFor);
    };
    corner = {settle(corner.x(), extent.left(), extent.width(), room.width()),
              settle(corner.y(), extent.top(), extent.height(), room.height())};
    // Whole device pixels, so that the bitmap's pixels fall on the screen's.
    const double scale = Scale() * devicePixelRatioF();
    corner = {std::round(corner.x() * scale) / scale, std::round(corner.y() * scale) / scale};
    isOld = true;
    update();
    emit partChanged();
}

QRect PictureView::VisibleArea() const {
    const QSizeF room = SizeInPixels();
    const QRect seenPart(
        QPoint(static_cast<int>(std::floor(corner.x())), static_cast<int>(std::floor(corner.y()))),
        QPoint(static_cast<int>(std::ceil(corner.x() + room.width())) - 1,
               static_cast<int>(std::ceil(corner.y() + room.height())) - 1));
    return seenPart & document.Extent();
}

QPoint PictureView::PixelAt(const QPointF& place) const {
    const QPointF pixel = corner + place / Scale();
    return {static_cast<int>(std::floor(pixel.x())), static_cast<int>(std::floor(pixel.y()))};
}

QPointF PictureView::PlaceOf(const QPointF& pixel) const {
    return (pixel - corner) * Scale();
}

void PictureView::ShowAnew() {
    isOld = true;
    if (isFitted && zoom != FittingZoom()) {
        Fit();
    } else {
        update();
    }
}

void PictureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Dark));
    QRect area = VisibleArea();
    if (area.isEmpty()) return PaintInvitation(painter);
    if (zoom < 0) {
        area.setLeft(FloorTo(area.left(), -zoom));
        area.setTop(FloorTo(area.top(), -zoom));
    }
    comparison != Comparison::None&& OtherLayer() ? DrawCompared(painter, area) : DrawPicture(painter, area);
    PaintPixels(painter, *this, document);
    PaintSelection(painter, *this, document, *tools);
    PaintWipe(painter, *this);
    emit painted();
}

void PictureView::PaintInvitation(QPainter& painter) const {
    if (!document.IsEmpty() || document.IsReading()) return;
    painter.setPen(palette().color(QPalette::BrightText));
    painter.drawText(rect(), Qt::AlignCenter, tr("Drop pictures or videos here, or open them with Ctrl+O"));
}

void PictureView::DrawPicture(QPainter& painter, const QRect& area) {
    if (std::exchange(isOld, false) || area != drawnArea) {
        drawn = seen.Draw(area, zoom);
        drawnArea = area;
        mapping = seen.MappingTime();
        composing = seen.ComposingTime();
    }
    PaintDrawn(painter, area);
}

void PictureView::PaintDrawn(QPainter& painter, const QRect& area) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    QImage image = AsImage(drawn);
    image.setDevicePixelRatio(devicePixelRatioF());
    painter.drawImage(PlaceOf(area.topLeft()), image);
    if (!IsTraced()) return;
    const std::chrono::duration<double, std::milli> painting = Clock::now() - start;
    std::fprintf(stderr, "pzel-view: repaint: mapping %.2f ms, composing %.2f ms, painting %.2f ms\n",
                 std::exchange(mapping, 0), std::exchange(composing, 0), painting.count());
}

// Two pictures share one bitmap, so that each is painted as soon as it is drawn.
void PictureView::DrawCompared(QPainter& painter, const QRect& area) {
    const auto paint = [&](Comp& layer, const QRectF& part) {
        drawn = seen.DrawAlone(area, zoom, layer);
        mapping = seen.MappingTime();
        composing = seen.ComposingTime();
        painter.setClipRect(part);
        PaintDrawn(painter, area);
        painter.setClipping(false);
    };
    Comp& active = *document.Active();
    Comp& other = *OtherLayer();
    if (comparison == Comparison::Flicker) {
        paint(isOthersTurn ? other : active, rect());
    } else {
        const double place = *WipePlace();
        paint(other, QRectF(0, 0, place, height()));
        paint(active, QRectF(place, 0, width() - place, height()));
    }
    isOld = true;  // what is drawn is not the whole
}

Comp* PictureView::OtherLayer() {
    const std::vector<Comp*> layers = document.Layers();
    if (layers.size() < 2) return nullptr;
    const int active = document.Active()->GetIndex();
    return layers[static_cast<std::size_t>(active > 0 ? active - 1 : 1)];
}

void PictureView::Compare(Comparison how) {
    comparison = how;
    isOthersTurn = false;
    how == Comparison::Flicker ? flicker.start() : flicker.stop();
    ShowAnew();
}

std::optional<double> PictureView::WipePlace() const {
    if (comparison != Comparison::Wipe) return {};
    return std::round(wipe * width());
}

void PictureView::SetWipe(double place) {
    wipe = std::clamp(place / width(), 0.0, 1.0);
    update();
}

int PictureView::LightnessAt(const QPoint& pixel) const {
    if (!drawn.pixels || zoom < 1) return 0;
    const QPoint place = (pixel - drawnArea.topLeft()) * zoom + QPoint(zoom / 2, zoom / 2);
    const QImage image = AsImage(drawn);
    return image.valid(place) ? qGray(image.pixel(place)) : 0;
}

QImage PictureView::Picture(const QRect& area, int ofZoom) {
    isOld = true;
    const int widest = kWidest * std::max(-ofZoom, 1) / std::max(ofZoom, 1);
    if (area.width() <= widest) return AsImage(seen.Draw(area, ofZoom)).copy();
    // Stripes, of rows that are longer than bitmaps can hold.
    QImage all;
    QPainter painter;
    int place = 0;
    for (int left = area.left(); left <= area.right(); left += widest) {
        const QRect stripe(left, area.top(), std::min(widest, area.right() + 1 - left), area.height());
        const QImage part = AsImage(seen.Draw(stripe, ofZoom));
        if (all.isNull()) {
            const int columns = (area.width() + std::max(-ofZoom, 1) - 1) / std::max(-ofZoom, 1);
            all = QImage(columns * std::max(ofZoom, 1), part.height(), QImage::Format_BGR888);
            painter.begin(&all);
        }
        painter.drawImage(place, 0, part);
        place += part.width();
    }
    painter.end();
    return all;
}

void PictureView::resizeEvent(QResizeEvent*) {
    isFitted ? Fit() : Settle();
}

void PictureView::wheelEvent(QWheelEvent* event) {
    const int delta = event->angleDelta().y();
    if (delta == 0) return;
    SetZoom(delta > 0 ? Larger(zoom) : Smaller(zoom), event->position());
    event->accept();
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint pixel = PixelAt(event->position());
    hovered.reset();
    if (document.Extent().contains(pixel)) hovered = pixel;
    emit hoveredChanged();
}

void PictureView::leaveEvent(QEvent*) {
    hovered.reset();
    emit hoveredChanged();
}

}  // namespace pzel_view
