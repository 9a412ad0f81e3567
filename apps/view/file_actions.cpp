// File: opening, saving and closing.
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QStatusBar>

#include "action_groups.h"
#include "frame_saver.h"
#include "layer_steps.h"
#include "main_window.h"
#include "message_bar.h"
#include "opening.h"

namespace pzel_view {

namespace {

QString FirstFile(Document& document) {
    if (document.IsEmpty()) return {};
    return QString::fromStdString(document.InfoOf(*document.Layers().front()).file.string());
}

void OpenNeighbour(MainWindow& window, int by) {
    Document& document = window.GetDocument();
    const QString file = FirstFile(document);
    const QString other = file.isEmpty() ? QString() : Neighbour(file, by);
    if (other.isEmpty()) {
        window.statusBar()->showMessage(by > 0 ? MainWindow::tr("This is the last picture of its folder")
                                               : MainWindow::tr("This is the first picture of its folder"),
                                        3000);
        return;
    }
    document.Open(LayersOf({other}), OpenAs::Picture);
}

void ShowRecent(QMenu& menu, MainWindow& window) {
    menu.clear();
    for (const QString& file : RecentFiles()) {
        QAction* const action = menu.addAction(QFileInfo(file).fileName());
        action->setToolTip(file);
        QObject::connect(action, &QAction::triggered, &window,
                         [&window, file] { window.GetDocument().Open(LayersOf({file}), OpenAs::Picture); });
    }
    if (menu.isEmpty()) menu.addAction(MainWindow::tr("No files yet"))->setEnabled(false);
}

void AddOpening(MainWindow& window) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    actions.Add({"file.open", "File", "&Open…", QKeySequence::Open,
                 "Opens pictures and videos; several as layers or as frames."},
                [&] {
                    OpenFiles(document, QFileDialog::getOpenFileNames(&window, MainWindow::tr("Open")),
                              &window);
                });
    actions.Add({"file.folder", "File", "Open &Folder as Frames…", Qt::CTRL | Qt::SHIFT | Qt::Key_O,
                 "Opens the pictures of a folder as the frames of a stack."},
                [&] {
                    const QString folder =
                        QFileDialog::getExistingDirectory(&window, MainWindow::tr("Open Folder"));
                    if (!folder.isEmpty()) document.Open(LayersOf({folder}), OpenAs::Picture);
                });
    QMenu* const recent = actions.MenuOf("File/Open Recent");
    QObject::connect(recent, &QMenu::aboutToShow, &window,
                     [recent, &window] { ShowRecent(*recent, window); });
    actions.Add(
        {"file.next", "File", "&Next File", Qt::Key_PageDown, "Opens the next picture of the folder."},
        [&window] { OpenNeighbour(window, 1); });
    actions.Add({"file.previous", "File", "&Previous File", Qt::Key_PageUp,
                 "Opens the previous picture of the folder."},
                [&window] { OpenNeighbour(window, -1); });
}

QString AskForName(MainWindow& window, const QString& title) {
    const QFileInfo first(FirstFile(window.GetDocument()));
    const QString name = QFileDialog::getSaveFileName(&window, title, first.completeBaseName() + "-view.png",
                                                      MainWindow::tr("Pictures (*.png *.jpg *.tif)"));
    return name.isEmpty() || !QFileInfo(name).suffix().isEmpty() ? name : name + ".png";
}

void AddSaving(MainWindow& window, std::vector<QAction*>& ofPicture) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    FrameSaver& saver = window.Saver();
    const auto add = [&](const ActionText& text, const std::function<void()>& slot) {
        ofPicture.push_back(actions.Add(text, slot));
    };
    add({"file.save", "File", "&Save Picture…", QKeySequence::Save,
         "Writes the picture as it is shown, at its own size."},
        [&] {
            const QString name = AskForName(window, MainWindow::tr("Save Picture"));
            if (!name.isEmpty()) saver.SavePicture(name);
        });
    add({"file.view", "File", "Save &View…", Qt::CTRL | Qt::SHIFT | Qt::Key_S,
         "Writes the part that is seen, as large as it is seen."},
        [&] {
            const QString name = AskForName(window, MainWindow::tr("Save View"));
            if (!name.isEmpty()) saver.SaveView(name);
        });
    add({"file.frames", "File", "Save F&rames…", Qt::CTRL | Qt::SHIFT | Qt::Key_F,
         "Writes all selected frames, each as a numbered picture."},
        [&] {
            const QString name = AskForName(window, MainWindow::tr("Save Frames"));
            if (!name.isEmpty()) saver.SaveFrames(name);
        });
    add({"file.copy", "File", "&Copy Picture", QKeySequence::Copy,
         "Puts the picture, or the selected rectangle, on the clipboard."},
        [&] {
            const QRect part = document.Selection().isEmpty() ? document.Extent() : document.Selection();
            QApplication::clipboard()->setImage(window.Picture().Picture(part, 1));
        });
}

}  // namespace

void AddFileActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    AddOpening(window);
    actions.Separate("File");
    std::vector<QAction*> ofPicture;
    AddSaving(window, ofPicture);
    actions.Separate("File");
    ofPicture.push_back(actions.Add(
        {"file.close", "File", "C&lose Picture", Qt::CTRL | Qt::SHIFT | Qt::Key_W, "Shows nothing any more."},
        [&document] { document.Close(); }));
    actions.Add({"file.quit", "File", "&Quit", QKeySequence::Quit, "Closes all windows."},
                [] { QApplication::closeAllWindows(); });
    const auto enable = [ofPicture, &document] {
        for (QAction* action : ofPicture) action->setEnabled(!document.IsEmpty());
    };
    QObject::connect(&document, &Document::opened, &window, enable);
    const auto remember = [&document] {
        if (const QString file = FirstFile(document); !file.isEmpty()) Remember(file);
    };
    QObject::connect(&document, &Document::opened, &window, remember);
    enable();
    remember();
}

}  // namespace pzel_view
