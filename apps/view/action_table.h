// The list of all actions under Help.
#pragma once

class QWidget;

namespace pzel_view {

class ActionList;

/// Opens the list beside the window, which it belongs to.
void ShowActionTable(const ActionList& actions, QWidget& window);

}  // namespace pzel_view
