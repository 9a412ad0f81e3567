// What the mouse does in the picture: it pans, draws rectangles and lines, moves layers and the wipe, and
// sets levels with the right button.
#pragma once

#include <QObject>
#include <QPointF>
#include <optional>

#include "document.h"

class QKeyEvent;
class QMouseEvent;

namespace pzel_view {

class PictureView;

/// What the left button does.
enum class Tool {
    Pan,
    Select,   ///< a rectangle to measure and to level by
    Crop,     ///< the part of the active layer that is shown
    Move,     ///< the active layer
    Profile,  ///< a line
};

class PictureTools final : public QObject {
    Q_OBJECT

  public:
    PictureTools(Document& document, PictureView& picture);

    Tool Current() const { return tool; }
    void Choose(Tool to);
    /// Takes away what was drawn last: what is being dragged, the selection and the line, the active layer's
    /// part.
    void Clear();
    /// The rectangle that is being dragged as the part to show.
    QRect Band() const { return band; }

  signals:
    void toolChanged(Tool tool);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool Press(const QMouseEvent& event);
    bool Move(const QMouseEvent& event);
    bool Release(const QMouseEvent& event);
    QRect Rectangle(const QPointF& to) const;
    void DragLayer(const QPointF& to);
    void DragLevels(const QPointF& to);
    void Crop();
    void ShowCursor();

    Document& document;
    PictureView& picture;
    Tool tool = Tool::Pan;
    Qt::MouseButton button = Qt::NoButton;  // that is held down
    QPointF start;                          // where it went down
    QPointF last;
    bool isWiping = false;
    LayerState before;  // of the active layer, when the button went down
    int gesture = 0;
    QRect band;
};

}  // namespace pzel_view
