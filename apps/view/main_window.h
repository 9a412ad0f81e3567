// A window: the picture in the middle, panels around it, and the list of what can be done. It owns nothing of
// the document, which lives as long as one of its windows.
#pragma once

#include <QMainWindow>
#include <memory>

#include "action_list.h"
#include "document.h"
#include "picture_view.h"

namespace pzel_view {

class FrameSaver;
class MessageBar;

/// When a window gets its menus and panels.
enum class Furnishing {
    AtOnce,
    AfterPicture  ///< behind the first picture, which nothing then waits for; soon, where none comes
};

class MainWindow final : public QMainWindow {
    Q_OBJECT

  public:
    explicit MainWindow(std::shared_ptr<Document> document, Furnishing when = Furnishing::AtOnce);
    ~MainWindow() override;

    Document& GetDocument() { return *document; }
    PictureView& Picture() { return *picture; }
    /// Those of a furnished window.
    ActionList& Actions() { return *actions; }
    FrameSaver& Saver() { return *saver; }
    MessageBar& Messages() { return *messages; }

    /// Another window on the same document.
    MainWindow* NewView();
    /// Panels as they were at first.
    void ResetLayout();

  protected:
    bool eventFilter(QObject* dock, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void Furnish();
    void FurnishAfterPicture();
    void AddPanels();
    void AddToolBar();
    void ShareRoom();
    void ShowTitle();

    std::shared_ptr<Document> document;
    PictureView* picture;
    MessageBar* messages;
    FrameSaver* saver;
    ActionList* actions = nullptr;
    QByteArray firstLayout;
};

}  // namespace pzel_view
