// Menus are found by their titles, and made by the first action that names them.
#include "action_list.h"

#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace pzel_view {

ActionList::ActionList(QWidget* ofWindow) : QObject(ofWindow), window(ofWindow) {}

QMenuBar* ActionList::Bar() const {
    return static_cast<QMainWindow*>(window)->menuBar();
}

QMenu* ActionList::MenuOf(const QString& name) {
    const QStringList path = name.split('/');
    QWidget* parent = Bar();
    QMenu* menu = nullptr;
    for (const QString& title : path) {
        QMenu* found = nullptr;
        for (QAction* action : parent->actions())
            if (action->menu() && action->menu()->objectName() == title) found = action->menu();
        if (!found) {
            found = menu ? menu->addMenu(tr(qPrintable(title))) : Bar()->addMenu("&" + tr(qPrintable(title)));
            found->setObjectName(title);
            found->setToolTipsVisible(true);
        }
        menu = found;
        parent = found;
    }
    return menu;
}

QAction* ActionList::AddReady(const ActionText& text, QAction* action) {
    action->setObjectName(text.id);
    action->setText(tr(text.text));
    action->setIconText(tr(text.text).remove('&').remove(QString::fromUtf8("…")));
    action->setToolTip(tr(text.toolTip));
    action->setStatusTip(tr(text.toolTip));
    if (!text.key.isEmpty()) action->setShortcut(text.key);
    action->setShortcutContext(Qt::WindowShortcut);
    MenuOf(text.menu)->addAction(action);
    window->addAction(action);
    entries.push_back({text.menu, action});
    return action;
}

QAction* ActionList::Add(const ActionText& text, const std::function<void()>& slot) {
    auto* action = new QAction(window);
    connect(action, &QAction::triggered, window, [slot] { slot(); });
    return AddReady(text, action);
}

QAction* ActionList::AddIn(QWidget* widget, const ActionText& text, const std::function<void()>& slot) {
    QAction* const action = Add(text, slot);
    action->setShortcutContext(Qt::WidgetShortcut);
    window->removeAction(action);
    widget->addAction(action);
    return action;
}

QAction* ActionList::AddSwitch(const ActionText& text, bool isOn, const std::function<void(bool)>& slot) {
    auto* action = new QAction(window);
    action->setCheckable(true);
    action->setChecked(isOn);
    connect(action, &QAction::toggled, window, slot);
    return AddReady(text, action);
}

void ActionList::Separate(const char* menu) {
    MenuOf(menu)->addSeparator();
}

QAction* ActionList::Find(const QString& id) const {
    for (const Entry& entry : entries)
        if (entry.action->objectName() == id) return entry.action;
    return nullptr;
}

}  // namespace pzel_view
