// Window: further windows, light and dark, and the panels' places. Help: the list of everything.
#include <QActionGroup>
#include <QApplication>
#include <QMessageBox>

#include "action_groups.h"
#include "action_table.h"
#include "appearance.h"
#include "main_window.h"

namespace pzel_view {

void AddWindowActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    actions.Add({"window.new", "Window", "&New View", QKeySequence::New,
                 "Opens another window on the same picture, with a zoom of its own."},
                [&window] { window.NewView(); });
    actions.Add({"window.close", "Window", "&Close Window", QKeySequence::Close, "Closes this window."},
                [&window] { window.close(); });
    actions.Add(
        {"window.full", "Window", "&Full Screen", Qt::Key_F11, "Fills the screen, or leaves it again."},
        [&window] { window.isFullScreen() ? window.showNormal() : window.showFullScreen(); });
    actions.Add({"window.reset", "Window", "&Reset Layout", Qt::CTRL | Qt::SHIFT | Qt::Key_R,
                 "Puts all panels where they were at first."},
                [&window] { window.ResetLayout(); });
    struct Look {
        const char* id;
        const char* text;
        Appearance appearance;
    };
    static constexpr Look looks[] = {{"window.system", "&System", Appearance::System},
                                     {"window.light", "&Light", Appearance::Light},
                                     {"window.dark", "&Dark", Appearance::Dark}};
    auto* group = new QActionGroup(&window);
    int key = Qt::Key_F6;
    for (const Look& look : looks) {
        const Appearance appearance = look.appearance;
        group->addAction(actions.AddSwitch(
            {look.id, "Window/Colours", look.text, QKeySequence(Qt::SHIFT | static_cast<Qt::Key>(key++)),
             "The colours of windows."},
            appearance == CurrentAppearance(), [appearance](bool isOn) {
                if (isOn) Apply(appearance);
            }));
    }
    actions.Separate("Window");
}

void AddHelpActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    actions.Add({"help.actions", "Help", "&Actions and Keys", QKeySequence::HelpContents,
                 "Lists all that can be done, with its keys."},
                [&window] { ShowActionTable(window.Actions(), window); });
    actions.Add({"help.about", "Help", "A&bout", Qt::SHIFT | Qt::Key_F1, "Tells the version."}, [&window] {
        QMessageBox::about(&window, MainWindow::tr("About"),
                           MainWindow::tr("pzel-view %1\nShows pictures and movies, and what is in them.")
                               .arg(QApplication::applicationVersion()));
    });
}

}  // namespace pzel_view
