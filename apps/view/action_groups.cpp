// Menus come in the order of their first actions.
#include "action_groups.h"

namespace pzel_view {

void AddActions(MainWindow& window) {
    AddFileActions(window);
    AddEditActions(window);
    AddPictureActions(window);
    AddLayerActions(window);
    AddTimeActions(window);
}

}  // namespace pzel_view
