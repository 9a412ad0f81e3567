// Menus come in the order of their first actions.
#include "action_groups.h"

namespace pzel_view {

void AddActions(MainWindow& window) {
    AddFileActions(window);
    AddEditActions(window);
    AddPictureActions(window);
    AddMouseActions(window);
    AddLayerActions(window);
    AddToolActions(window);
    AddTimeActions(window);
    AddWindowActions(window);
}

}  // namespace pzel_view
