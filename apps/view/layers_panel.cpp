// What the list says is read from the components; what is done to it becomes a change of theirs.
#include "layers_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "layer_form.h"
#include "layer_steps.h"

namespace pzel_view {

namespace {

constexpr int kLayerRole = Qt::UserRole;

// A patch of an overlay's colour, or of greys.
QIcon IconOf(const LayerState& state) {
    QPixmap patch(16, 16);
    patch.fill(state.role == Role::Picture ? QColor(128, 128, 128) : ColourOf(state.colour));
    QPainter painter(&patch);
    if (state.role == Role::Boundary) painter.fillRect(4, 4, 8, 8, Qt::black);
    if (state.role == Role::Vectors) {
        painter.setPen(QPen(Qt::black, 2));
        painter.drawLine(3, 12, 12, 3);
    }
    return patch;
}

}  // namespace

LayersPanel::LayersPanel(Document& shown, QWidget* parent)
    : QWidget(parent), document(shown), list(new QListWidget(this)) {
    list->setObjectName("layers");
    list->setAccessibleName(tr("Layers"));
    list->setDragDropMode(QAbstractItemView::InternalMove);
    list->setDefaultDropAction(Qt::MoveAction);
    list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    list->setToolTip(
        tr("The highest layer stands first. Tick to show, drag to reorder, double-click to rename."));
    list->setMinimumHeight(70);
    auto* buttons = new QHBoxLayout;
    const auto add = [&](const char* name, const QString& text, const QString& tip,
                         const std::function<void()>& slot) {
        auto* button = new QToolButton(this);
        button->setObjectName(name);
        button->setText(text);
        button->setToolTip(tip);
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, this, [slot] { slot(); });
        buttons->addWidget(button);
    };
    add("addLayer", tr("Add…"), tr("Adds files as further layers (Ctrl+L)"),
        [this] { AddLayers(document, this); });
    add("removeLayer", tr("Remove"), tr("Removes the active layer (Delete)"),
        [this] { RemoveActive(document); });
    add("duplicateLayer", tr("Duplicate"), tr("Shows the active layer's file once more (Ctrl+D)"),
        [this] { DuplicateActive(document); });
    add("thresholdLayer", tr("Threshold"), tr("Tints what lies within a range of values (T)"),
        [this] { ThresholdActive(document); });
    buttons->addStretch();
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(6, 4, 6, 4);
    all->addWidget(list, 1);
    all->addLayout(buttons);
    all->addWidget(new LayerForm(document, this));
    connect(list, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) { TakeChange(*item); });
    connect(list, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (isShowing || !item) return;
        if (Comp* const comp = LayerOf(*item)) document.MakeActive(*comp);
    });
    // The list finishes moving its items before it is made anew.
    connect(list->model(), &QAbstractItemModel::rowsMoved, this,
            [this] { QTimer::singleShot(0, this, &LayersPanel::TakeOrder); });
    connect(&document, &Document::opened, this, &LayersPanel::ShowLayers);
    connect(&document, &Document::layersChanged, this, &LayersPanel::ShowLayers);
    connect(&document, &Document::activeChanged, this, &LayersPanel::ShowLayers);
    connect(&document, &Document::layerChanged, this, [this](Comp* comp) {
        isShowing = true;
        for (int i = 0; i < list->count(); ++i)
            if (LayerOf(*list->item(i)) == comp) ShowLayer(*list->item(i));
        isShowing = false;
    });
    ShowLayers();
}

Comp* LayersPanel::LayerOf(const QListWidgetItem& item) const {
    Comp* const comp = reinterpret_cast<Comp*>(item.data(kLayerRole).value<quintptr>());
    const std::vector<Comp*> layers = document.Layers();
    return std::find(layers.begin(), layers.end(), comp) == layers.end() ? nullptr : comp;
}

void LayersPanel::ShowLayers() {
    isShowing = true;
    std::vector<Comp*> layers = document.Layers();
    std::reverse(layers.begin(), layers.end());
    while (list->count() > static_cast<int>(layers.size())) delete list->takeItem(list->count() - 1);
    for (std::size_t i = 0; i < layers.size(); ++i) {
        QListWidgetItem* item = list->item(static_cast<int>(i));
        if (!item) item = new QListWidgetItem(list);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable |
                       Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled);
        item->setData(kLayerRole, QVariant::fromValue(reinterpret_cast<quintptr>(layers[i])));
        ShowLayer(*item);
        if (layers[i] == document.Active()) list->setCurrentItem(item);
    }
    isShowing = false;
}

void LayersPanel::ShowLayer(QListWidgetItem& item) {
    Comp* const comp = LayerOf(item);
    if (!comp) return;
    const LayerState state = document.StateOf(*comp);
    item.setText(QString::fromStdString(state.name));
    item.setCheckState(state.visible ? Qt::Checked : Qt::Unchecked);
    item.setIcon(IconOf(state));
    QString tip = QString::fromStdString(document.InfoOf(*comp).file.string());
    for (const std::string& note : document.NotesOf(*comp)) tip += "\n" + QString::fromStdString(note);
    item.setToolTip(tip);
}

void LayersPanel::TakeChange(QListWidgetItem& item) {
    Comp* const comp = isShowing ? nullptr : LayerOf(item);
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    const bool visible = item.checkState() == Qt::Checked;
    if (visible != state.visible) {
        state.visible = visible;
        document.Change(*comp, visible ? tr("Show Layer") : tr("Hide Layer"), state);
    } else if (const std::string name = item.text().trimmed().toStdString(); !name.empty()) {
        state.name = name;
        document.Change(*comp, tr("Rename Layer"), state);
    }
    ShowLayers();
}

void LayersPanel::TakeOrder() {
    std::vector<Comp*> order;
    for (int i = list->count() - 1; i >= 0; --i)
        if (Comp* const comp = LayerOf(*list->item(i))) order.push_back(comp);
    if (order.size() == document.Layers().size()) document.Reorder(order);
    ShowLayers();
}

}  // namespace pzel_view
