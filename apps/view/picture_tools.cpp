// A drag is one change. Places are taken in the movie's pixels when the button goes down, so that zooming
// meanwhile does no harm.
#include "picture_tools.h"

#include <QMouseEvent>
#include <algorithm>
#include <cmath>

#include "picture_view.h"

namespace pzel_view {

namespace {

constexpr double kWipeReach = 8;  // pixels beside the wipe that it is taken by

// Levels that right and left move, up and down narrow and widen.
pzel_io::Window Dragged(const pzel_io::Window& level, const QPointF& by) {
    const double width = level.high - level.low;
    const double centre = (level.low + level.high) / 2 + by.x() * width;
    const double wider = std::max(width * std::exp2(2 * by.y()), 1e-9 * std::max(1.0, std::abs(centre)));
    return {centre - wider / 2, centre + wider / 2};
}

}  // namespace

PictureTools::PictureTools(Document& shown, PictureView& view)
    : QObject(&view), document(shown), picture(view) {
    picture.installEventFilter(this);
    ShowCursor();
}

void PictureTools::Choose(Tool to) {
    tool = to;
    ShowCursor();
    emit toolChanged(tool);
}

void PictureTools::ShowCursor() {
    picture.setCursor(tool == Tool::Pan    ? Qt::OpenHandCursor
                      : tool == Tool::Move ? Qt::SizeAllCursor
                                           : Qt::CrossCursor);
}

void PictureTools::Clear() {
    button = Qt::NoButton;
    if (!band.isEmpty()) {
        band = QRect();
    } else if (!document.Selection().isEmpty() || document.Profile()) {
        document.SetSelection({});
        document.SetProfile({});
    } else if (Comp* const comp = document.Active()) {
        LayerState state = document.StateOf(*comp);
        state.area.reset();
        document.Change(*comp, tr("Show All of Layer"), state);
    }
    picture.update();
}

bool PictureTools::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::MouseButtonPress: return Press(*static_cast<QMouseEvent*>(event));
        case QEvent::MouseMove: return Move(*static_cast<QMouseEvent*>(event));
        case QEvent::MouseButtonRelease: return Release(*static_cast<QMouseEvent*>(event));
        default: return false;
    }
}

bool PictureTools::Press(const QMouseEvent& event) {
    if (button != Qt::NoButton || document.IsEmpty()) return false;
    button = event.button();
    last = start = event.position();
    gesture = document.NewGesture();
    before = document.StateOf(*document.Active());
    const std::optional<double> wipe = picture.WipePlace();
    isWiping = button == Qt::LeftButton && wipe && std::abs(*wipe - start.x()) <= kWipeReach;
    return false;
}

bool PictureTools::Move(const QMouseEvent& event) {
    const QPointF to = event.position();
    const QPointF by = to - last;
    last = to;
    if (button == Qt::NoButton) return false;
    if (button == Qt::MiddleButton || (button == Qt::LeftButton && tool == Tool::Pan && !isWiping)) {
        picture.PanBy(by);
    } else if (button == Qt::RightButton) {
        DragLevels(to);
    } else if (isWiping) {
        picture.SetWipe(to.x());
    } else if (tool == Tool::Select) {
        document.SetSelection(Rectangle(to));
    } else if (tool == Tool::Crop) {
        band = Rectangle(to);
        picture.update();
    } else if (tool == Tool::Move) {
        DragLayer(to);
    } else if (tool == Tool::Profile) {
        document.SetProfile(Segment{picture.PixelAt(start), picture.PixelAt(to)});
    }
    return false;
}

bool PictureTools::Release(const QMouseEvent& event) {
    if (event.button() != button) return false;
    const bool isClick = (event.position() - start).manhattanLength() < 3;
    if (button == Qt::LeftButton && tool == Tool::Select && isClick && !isWiping) document.SetSelection({});
    if (button == Qt::LeftButton && tool == Tool::Profile && isClick && !isWiping) document.SetProfile({});
    if (!band.isEmpty() && !isClick) Crop();
    band = QRect();
    button = Qt::NoButton;
    isWiping = false;
    picture.update();
    return false;
}

// Both corners' pixels belong to it.
QRect PictureTools::Rectangle(const QPointF& to) const {
    const QPoint one = picture.PixelAt(start), other = picture.PixelAt(to);
    const QRect rectangle(QPoint(std::min(one.x(), other.x()), std::min(one.y(), other.y())),
                          QPoint(std::max(one.x(), other.x()), std::max(one.y(), other.y())));
    return rectangle & document.Extent();
}

void PictureTools::DragLayer(const QPointF& to) {
    const QPoint by = picture.PixelAt(to) - picture.PixelAt(start);
    LayerState state = before;
    state.x = std::clamp(before.x + by.x(), -32768, 32767);
    state.y = std::clamp(before.y + by.y(), -32768, 32767);
    document.Change(*document.Active(), tr("Move Layer"), state, gesture);
}

// As far as the picture is wide, levels move by their width; as far as it is high, they get four times as
// wide.
void PictureTools::DragLevels(const QPointF& to) {
    if (before.levels.empty() || before.role != Role::Picture) return;
    const QPointF by((to.x() - start.x()) / picture.width(), (to.y() - start.y()) / picture.height());
    LayerState state = before;
    for (pzel_io::Window& level : state.levels) level = Dragged(level, by);
    document.Change(*document.Active(), tr("Levels"), state, gesture);
}

void PictureTools::Crop() {
    Comp& comp = *document.Active();
    const pzel_io::PictureInfo& info = document.InfoOf(comp);
    const QRect inside =
        band.translated(-comp.x, -comp.y) & QRect(0, 0, comp.GetCurrentImage()->width, info.height);
    LayerState state = document.StateOf(comp);
    if (inside.isEmpty() || state.role != Role::Picture) return;
    state.area = Area{inside.left(), inside.top(), inside.right(), inside.bottom()};
    document.Change(comp, tr("Show Part of Layer"), state);
}

}  // namespace pzel_view
