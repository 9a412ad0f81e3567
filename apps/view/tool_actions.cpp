// Values: levels, curve and channels by the keyboard. Edit: the command that makes the same picture.
#include <QApplication>
#include <QClipboard>
#include <QStatusBar>
#include <algorithm>

#include "action_groups.h"
#include "apps/scene/command.h"
#include "level_choices.h"
#include "main_window.h"
#include "scene_keeping.h"
#include "shown_channels.h"

namespace pzel_view {

namespace {

/// Changes a tone of the active layer.
void ChangeTones(Document& document, const QString& what, const std::function<void(Tones&)>& change) {
    Comp* const comp = document.Active();
    if (!comp || LevelsOf(document, *comp) == LevelKind::None) return;
    LayerState state = document.StateOf(*comp);
    change(state.tones);
    document.Change(*comp, what, state);
}

void ShowNextChannel(Document& document) {
    Comp* const comp = document.Active();
    if (!comp || document.InfoOf(*comp).channels != 3) return;
    LayerState state = document.StateOf(*comp);
    if (state.role != Role::Picture) return;
    const bool yuv = state.toYuv || document.InfoOf(*comp).model == SubYuv;
    const Channel first = yuv ? Channel::Y : Channel::Red, last = yuv ? Channel::V : Channel::Blue;
    const bool isInside = state.channel >= first && state.channel < last;
    state.channel = isInside                ? static_cast<Channel>(static_cast<int>(state.channel) + 1)
                    : state.channel == last ? Channel::All
                                            : first;
    document.Change(*comp, Document::tr("Channel"), state);
}

void CopyCommand(MainWindow& window) {
    Document& document = window.GetDocument();
    if (document.IsEmpty()) return;
    const Scene scene = SceneOf(document, "shown", 1);  // as it is saved
    const auto command = ShellCommand("pzel-render", RenderArguments(scene, Frames::Current, "picture.png"));
    QApplication::clipboard()->setText(QString::fromStdString(command));
    window.statusBar()->showMessage(Document::tr("Copied: %1").arg(QString::fromStdString(command)));
}

}  // namespace

void AddToolActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    actions.Add({"edit.command", "Edit", "Copy pzel-render Co&mmand", Qt::CTRL | Qt::SHIFT | Qt::Key_C,
                 "Copies the command line that makes the same picture."},
                [&window] { CopyCommand(window); });
    const auto offer = [&](const ActionText& text, Levels (*choose)(Document&, Comp&)) {
        actions.Add(text, [&document, choose, what = QString(text.text).remove('&')] {
            if (Comp* const comp = document.Active())
                SetLevels(document, *comp, what, choose(document, *comp));
        });
    };
    offer({"values.data", "Values", "&Data Levels", Qt::Key_D,
           "Shows the least value black and the greatest white."},
          [](Document& shown, Comp& comp) { return DataLevels(shown, comp, SharingOf(shown, comp)); });
    offer({"values.full", "Values", "F&ull Levels", Qt::SHIFT | Qt::Key_D,
           "Shows everything that the file's type of value can hold."},
          [](Document& shown, Comp& comp) { return FullLevels(shown, comp); });
    offer({"values.file", "Values", "Fil&e's Levels", Qt::SHIFT | Qt::Key_F,
           "Shows the range that the file itself asks for."},
          [](Document& shown, Comp& comp) { return FileLevels(shown, comp); });
    offer({"values.auto", "Values", "&Auto Levels", Qt::Key_A, "Clips 0.35 % of the values at each end."},
          [](Document& shown, Comp& comp) {
              return PercentLevels(shown, comp, SharingOf(shown, comp), kUsualPercent);
          });
    offer({"values.region", "Values", "Auto Levels of &Region", Qt::SHIFT | Qt::Key_A,
           "The same of the values in the dragged rectangle."},
          [](Document& shown, Comp& comp) {
              const ImagePart part = SelectedPart(shown, comp);
              return part.width > 0 ? PercentLevels(shown, comp, SharingOf(shown, comp), kUsualPercent, part)
                                    : Levels();
          });
    actions.Separate("Values");
    actions.Add({"values.invert", "Values", "&Invert", Qt::Key_I, "Shows low values white, and back."},
                [&document] {
                    ChangeTones(document, Document::tr("Invert"), [](Tones& tones) {
                        for (Tone& tone : tones) tone.inverted = !tone.inverted;
                    });
                });
    actions.Add({"values.straight", "Values", "Reset &Curve", Qt::SHIFT | Qt::Key_I,
                 "Takes gamma, points and inversion away."},
                [&document] {
                    ChangeTones(document, Document::tr("Reset Curve"), [](Tones& tones) { tones = {{}}; });
                });
    actions.Separate("Values");
    actions.Add({"values.channel", "Values", "&Next Channel", Qt::Key_C,
                 "Shows one channel after the other alone, then all again."},
                [&document] { ShowNextChannel(document); });
}

}  // namespace pzel_view
