// The actions of a window, a group for each menu. Each group registers its own.
#pragma once

namespace pzel_view {

class MainWindow;

void AddActions(MainWindow& window);

void AddFileActions(MainWindow& window);
void AddEditActions(MainWindow& window);
void AddPictureActions(MainWindow& window);
void AddWindowActions(MainWindow& window);
void AddHelpActions(MainWindow& window);
void AddMouseActions(MainWindow& window);
void AddLayerActions(MainWindow& window);
void AddToolActions(MainWindow& window);
void AddTimeActions(MainWindow& window);

}  // namespace pzel_view
