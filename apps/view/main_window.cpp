// Putting a window together.
#include "main_window.h"

#include <QDockWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>

#include "action_groups.h"
#include "panels.h"

namespace pzel_view {

MainWindow::MainWindow(std::shared_ptr<Document> shown)
    : document(std::move(shown)), picture(new PictureView(*document, this)), actions(new ActionList(this)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setCentralWidget(picture);
    AddActions(*this);
    AddPanels();
    connect(document.get(), &Document::failed, this,
            [this](const QString& reason) { statusBar()->showMessage(reason); });
    connect(document.get(), &Document::opened, this, &MainWindow::ShowTitle);
    ShowTitle();
    statusBar()->show();
    resize(1200, 800);
}

void MainWindow::ShowTitle() {
    const QString name = document->IsEmpty() ? QString() : QString(document->GetMovie().GetName()) + " – ";
    setWindowTitle(name + "pzel-view");
}

void MainWindow::AddPanels() {
    for (const PanelEntry& entry : Panels()) {
        auto* dock = new QDockWidget(tr(entry.title), this);
        dock->setObjectName(entry.id);
        dock->setWidget(entry.make(*document, dock));
        addDockWidget(entry.area, dock);
        dock->setVisible(entry.isShown);
        actions->AddReady({entry.id, "Window", entry.title, entry.key, entry.toolTip},
                          dock->toggleViewAction());
    }
}

}  // namespace pzel_view
