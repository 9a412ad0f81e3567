// The layers panel: the layers from the highest to the lowest, to be shown, hidden, renamed and dragged into
// another order, and the settings of the active one.
#pragma once

#include <QWidget>

#include "document.h"

class QListWidget;
class QListWidgetItem;

namespace pzel_view {

class LayersPanel final : public QWidget {
    Q_OBJECT

  public:
    LayersPanel(Document& document, QWidget* parent);

  private:
    void ShowLayers();
    void ShowLayer(QListWidgetItem& item);
    void TakeChange(QListWidgetItem& item);
    void TakeOrder();
    Comp* LayerOf(const QListWidgetItem& item) const;

    Document& document;
    QListWidget* list;
    bool isShowing = false;
};

}  // namespace pzel_view
