// Everything that can be done in a window, in one list: each action has its menu, its key and its tool tip
// there and nowhere else. The menu bar and the list under Help are made of it.
#pragma once

#include <QAction>
#include <QKeySequence>
#include <QObject>
#include <QString>
#include <functional>
#include <vector>

class QMenuBar;

namespace pzel_view {

/// What an action is called and where it stands. `menu` is "Menu" or "Menu/Submenu" as it is read.
struct ActionText {
    const char* id;  ///< a name that never changes, such as "file.open"
    const char* menu;
    const char* text;  ///< with the letter for the keyboard marked by &
    QKeySequence key;
    const char* toolTip;  ///< one sentence
};

class ActionList final : public QObject {
    Q_OBJECT

  public:
    explicit ActionList(QWidget* window);

    /// A new action of the window, at the end of its menu.
    QAction* Add(const ActionText& text, const std::function<void()>& slot);
    /// One that is on or off.
    QAction* AddSwitch(const ActionText& text, bool isOn, const std::function<void(bool)>& slot);
    /// One whose key counts in one widget alone, since other widgets have a use for it.
    QAction* AddIn(QWidget* widget, const ActionText& text, const std::function<void()>& slot);
    /// One that was made elsewhere, such as a dock's.
    QAction* AddReady(const ActionText& text, QAction* action);
    /// A line between what was added to a menu and what comes.
    void Separate(const char* menu);
    /// The menu of a name, for what is no fixed action, such as recent files.
    QMenu* MenuOf(const QString& name);

    QAction* Find(const QString& id) const;
    struct Entry {
        QString menu;
        QAction* action;
    };
    const std::vector<Entry>& Entries() const { return entries; }

  private:
    QMenuBar* Bar() const;

    QWidget* window;
    std::vector<Entry> entries;
};

}  // namespace pzel_view
