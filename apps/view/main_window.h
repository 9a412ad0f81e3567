// A window: the picture in the middle, panels around it, and the list of what can be done. It owns nothing of
// the document; a second window shows the same one.
#pragma once

#include <QMainWindow>
#include <memory>

#include "action_list.h"
#include "document.h"
#include "picture_view.h"

namespace pzel_view {

class MainWindow final : public QMainWindow {
    Q_OBJECT

  public:
    explicit MainWindow(std::shared_ptr<Document> document);

    Document& GetDocument() { return *document; }
    PictureView& Picture() { return *picture; }
    ActionList& Actions() { return *actions; }

  private:
    void AddPanels();
    void ShowTitle();

    std::shared_ptr<Document> document;
    PictureView* picture;
    ActionList* actions;
};

}  // namespace pzel_view
