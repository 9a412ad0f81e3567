// File: opening and closing.
#include <QApplication>
#include <QFileDialog>

#include "action_groups.h"
#include "main_window.h"

namespace pzel_view {

void AddFileActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    actions.Add({"file.open", "File", "&Open…", QKeySequence::Open, "Opens pictures and videos."},
                [&window, &document] {
                    std::vector<Layer> layers;
                    for (const QString& file : QFileDialog::getOpenFileNames(&window, "Open")) {
                        Layer layer;
                        layer.argument = layer.file = file.toStdString();
                        layers.push_back(layer);
                    }
                    document.Open(layers, OpenAs::Picture);
                });
    actions.Add({"file.quit", "File", "&Quit", QKeySequence::Quit, "Closes all windows."},
                [] { QApplication::closeAllWindows(); });
}

}  // namespace pzel_view
