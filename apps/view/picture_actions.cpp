// View: zoom and the part that is shown.
#include "action_groups.h"
#include "main_window.h"

namespace pzel_view {

void AddPictureActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    PictureView& picture = window.Picture();
    actions.Add({"view.fit", "View", "&Fit to Window", Qt::Key_F, "Shows all of the picture."},
                [&picture] { picture.Fit(); });
    actions.Add(
        {"view.one", "View", "&Actual Pixels", Qt::Key_1, "Shows each pixel as one pixel of the screen."},
        [&picture] { picture.SetZoom(1); });
    actions.Add({"view.in", "View", "Zoom &In", Qt::Key_Plus, "Shows pixels larger."},
                [&picture] { picture.ZoomIn(); });
    actions.Add({"view.out", "View", "Zoom &Out", Qt::Key_Minus, "Shows pixels smaller."},
                [&picture] { picture.ZoomOut(); });
}

}  // namespace pzel_view
