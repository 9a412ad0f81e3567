// Edit: undo and redo.
#include <QUndoStack>

#include "action_groups.h"
#include "main_window.h"

namespace pzel_view {

void AddEditActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    QUndoStack& history = window.GetDocument().History();
    QAction* const undo = history.createUndoAction(&window, "&Undo");
    QAction* const redo = history.createRedoAction(&window, "&Redo");
    actions.AddReady({"edit.undo", "Edit", "&Undo", QKeySequence::Undo, "Takes the last change back."}, undo);
    actions.AddReady({"edit.redo", "Edit", "&Redo", QKeySequence::Redo, "Makes a change again."}, redo);
}

}  // namespace pzel_view
