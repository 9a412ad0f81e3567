// The file is read again after each change and when a picture is opened: another window may have written it.
#include "scenes_panel.h"

#include <QGridLayout>
#include <QSignalBlocker>
#include <algorithm>

#include "pzel/component/movie_scene.h"
#include "scene_keeping.h"

namespace pzel_view {

ScenesPanel::ScenesPanel(Document& shown, QWidget* parent) : QWidget(parent), document(shown) {
    auto* layout = new QVBoxLayout(this);
    list = new QListWidget(this);
    list->setObjectName("scenes.list");
    list->setAccessibleName(tr("Scenes"));
    list->setToolTip(tr("Scenes of this picture. A double click shows one again."));
    list->setEditTriggers(QAbstractItemView::EditKeyPressed);
    layout->addWidget(list, 1);
    auto* buttons = new QGridLayout;
    const auto add = [&](const QString& text, const char* name, const QString& toolTip, int row, int column,
                         void (ScenesPanel::*slot)()) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(name);
        button->setToolTip(toolTip);
        buttons->addWidget(button, row, column);
        connect(button, &QPushButton::clicked, this, slot);
        return button;
    };
    keep = add(tr("&Keep New"), "scenes.keep",
               tr("Keeps what is shown now as a new scene beside the picture."), 0, 0, &ScenesPanel::Keep);
    recall = add(tr("&Show"), "scenes.recall", tr("Shows the chosen scene again."), 0, 1,
                 &ScenesPanel::RecallChosen);
    replace =
        add(tr("&Replace"), "scenes.replace", tr("Puts what is shown now in the place of the chosen scene."),
            1, 0, &ScenesPanel::Replace);
    rename = new QPushButton(tr("Re&name"), this);
    rename->setObjectName("scenes.rename");
    rename->setToolTip(tr("Gives the chosen scene another name."));
    buttons->addWidget(rename, 1, 1);
    connect(rename, &QPushButton::clicked, this, [this] { list->editItem(list->currentItem()); });
    remove = add(tr("Re&move"), "scenes.remove", tr("Removes the chosen scene from the file."), 1, 2,
                 &ScenesPanel::Remove);
    layout->addLayout(buttons);
    note = new QLabel(this);
    note->setObjectName("scenes.note");
    note->setWordWrap(true);
    layout->addWidget(note);
    connect(list, &QListWidget::itemActivated, this, &ScenesPanel::RecallChosen);
    connect(list, &QListWidget::itemChanged, this, &ScenesPanel::Rename);
    connect(list, &QListWidget::currentRowChanged, this, [this] {
        chosen = Chosen();
        ShowButtons();
    });
    connect(&document, &Document::opened, this, &ScenesPanel::ReadFile);
    connect(&document, &Document::layersChanged, this, &ScenesPanel::ShowList);
    connect(&document, &Document::layerChanged, this, [this](Comp*, int event) {
        if (event == EventSceneAdded || event == EventSceneRemoved) ShowList();
    });
    ReadFile();
}

QString ScenesPanel::Chosen() const {
    return list->currentItem() ? list->currentItem()->data(Qt::UserRole).toString() : QString();
}

void ScenesPanel::ReadFile() {
    if (document.IsEmpty()) return ShowList();
    Do([] {});
}

void ScenesPanel::Do(const std::function<void()>& work) {
    Comp& comp = *document.Layers()[0];
    std::vector<Scene> scenes;
    try {
        work();
        scenes = SceneFile(PictureOf(document)).Read();
        note->clear();
    } catch (const pzel_io::FileError& error) {
        note->setText(QString::fromStdString(error.what()));
        emit document.failed(note->text());
        return ShowList();
    }
    // The component's list becomes the file's.
    isFilling = true;
    while (comp.GetSceneList() && !comp.GetSceneList()->empty()) comp.RemoveScene(0);
    for (const Scene& scene : scenes) {
        std::vector<unsigned long> ranges;
        for (const auto& [first, last] : scene.ranges) ranges.insert(ranges.end(), {first, last});
        comp.AddScene(scene.name.c_str(), scene.description.c_str(), static_cast<long>(scene.ranges.size()),
                      ranges.data());
    }
    isFilling = false;
    ShowList();
}

void ScenesPanel::ShowList() {
    if (isFilling) return;
    const QSignalBlocker still(list);
    list->clear();
    const auto* scenes = document.IsEmpty() ? nullptr : document.Layers()[0]->GetSceneList();
    for (std::size_t i = 0; scenes && i < scenes->size(); ++i) {
        const QString name = (*scenes)[i].name;
        auto* item = new QListWidgetItem(name, list);
        item->setData(Qt::UserRole, name);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
        if (name == chosen) list->setCurrentItem(item);
    }
    keep->setEnabled(!document.IsEmpty());
    if (document.IsEmpty())
        note->setText(tr("No picture is open."));
    else if (list->count() == 0 && note->text().isEmpty())
        note->setText(tr("No scenes yet. Keep New remembers layers, levels, curves, frames and zoom."));
    ShowButtons();
}

void ScenesPanel::ShowButtons() {
    for (QPushButton* button : {recall, replace, rename, remove}) button->setEnabled(list->currentItem());
}

void ScenesPanel::Keep() {
    const auto* scenes = document.Layers()[0]->GetSceneList();
    const auto isTaken = [&](const QString& name) {
        return scenes && std::any_of(scenes->begin(), scenes->end(),
                                     [&](const MovieScene& scene) { return name == scene.name; });
    };
    int number = 1;
    while (isTaken(tr("Scene %1").arg(number))) ++number;
    const QString name = tr("Scene %1").arg(number);
    Do([&] { SceneFile(PictureOf(document)).Store(SceneOf(document, name, document.ShownZoom())); });
    const auto found = list->findItems(name, Qt::MatchExactly);
    if (!found.empty()) list->setCurrentItem(found[0]);
}

void ScenesPanel::Replace() {
    Do([&] { SceneFile(PictureOf(document)).Store(SceneOf(document, Chosen(), document.ShownZoom())); });
}

void ScenesPanel::RecallChosen() {
    if (Chosen().isEmpty()) return;
    try {
        const Scene scene = SceneFile(PictureOf(document)).Find(Chosen().toStdString());
        note->clear();
        Recall(document, scene);
        document.WishZoom(scene.zoom);
    } catch (const pzel_io::FileError& error) {
        note->setText(QString::fromStdString(error.what()));
        emit document.failed(note->text());
    }
}

void ScenesPanel::Rename(QListWidgetItem* item) {
    const QString before = item->data(Qt::UserRole).toString(), after = item->text().trimmed();
    if (before == after || after.isEmpty()) {
        const QSignalBlocker still(list);
        return item->setText(before);
    }
    chosen = after;
    // The item is in use by its editor until later.
    QMetaObject::invokeMethod(
        this,
        [this, before, after] {
            Do([&] { SceneFile(PictureOf(document)).Rename(before.toStdString(), after.toStdString()); });
        },
        Qt::QueuedConnection);
}

void ScenesPanel::Remove() {
    Do([&] { SceneFile(PictureOf(document)).Remove(Chosen().toStdString()); });
}

}  // namespace pzel_view
