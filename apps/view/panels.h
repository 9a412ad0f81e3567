// The panels around the picture: one list that says which there are, where they stand at first, and who makes
// them.
#pragma once

#include <QKeySequence>
#include <QString>
#include <vector>

class QWidget;

namespace pzel_view {

class Document;

struct PanelEntry {
    const char* id;  ///< a name that never changes: layouts remember it
    const char* title;
    const char* toolTip;  ///< of the action that shows or hides it
    QKeySequence key;
    Qt::DockWidgetArea area;
    bool isShown;  ///< at first
    QWidget* (*make)(Document& document, QWidget* parent);
    const char* behind = nullptr;  ///< the panel whose place it shares at first
};

const std::vector<PanelEntry>& Panels();

}  // namespace pzel_view
