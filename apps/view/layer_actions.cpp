// Layer: what is done to the active layer and its place among the others.
#include "action_groups.h"
#include "layer_steps.h"
#include "main_window.h"

namespace pzel_view {

void AddLayerActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    Document& document = window.GetDocument();
    actions.Add(
        {"layer.add", "Layer", "&Add Layers…", Qt::CTRL | Qt::Key_L, "Opens files as further layers."},
        [&] { AddLayers(document, &window); });
    std::vector<QAction*> ofActive;
    const auto add = [&](const ActionText& text, const std::function<void()>& slot) {
        ofActive.push_back(actions.Add(text, slot));
    };
    add({"layer.duplicate", "Layer", "&Duplicate Layer", Qt::CTRL | Qt::Key_D,
         "Shows the active layer's file once more, above it."},
        [&document] { DuplicateActive(document); });
    add({"layer.remove", "Layer", "&Remove Layer", Qt::Key_Delete, "Takes the active layer away."},
        [&document] { RemoveActive(document); });
    add({"layer.threshold", "Layer", "&Threshold Layer", Qt::Key_T,
         "Tints what lies within a range of values, in a layer above the active one."},
        [&document] { ThresholdActive(document); });
    QAction* const threshold = ofActive.back();
    add({"layer.rename", "Layer", "Re&name Layer…", Qt::Key_F2, "Gives the active layer another name."},
        [&document, &window] { RenameActive(document, &window); });
    actions.Separate("Layer");
    add({"layer.toggle", "Layer", "Show or &Hide Layer", Qt::Key_H, "Shows the active layer, or hides it."},
        [&document] { ToggleActive(document); });
    add({"layer.raise", "Layer", "Move &Up", Qt::CTRL | Qt::Key_Up,
         "Moves the active layer above the next one."},
        [&document] { RaiseActive(document, 1); });
    add({"layer.lower", "Layer", "Move Do&wn", Qt::CTRL | Qt::Key_Down,
         "Moves the active layer below the one under it."},
        [&document] { RaiseActive(document, -1); });
    add({"layer.above", "Layer", "Activate Layer A&bove", Qt::CTRL | Qt::Key_PageUp,
         "Makes the next higher layer the active one."},
        [&document] { ActivateNeighbour(document, 1); });
    add({"layer.below", "Layer", "Activate Layer Be&low", Qt::CTRL | Qt::Key_PageDown,
         "Makes the next lower layer the active one."},
        [&document] { ActivateNeighbour(document, -1); });
    actions.Separate("Layer");
    const auto nudge = [&](const char* id, const char* text, int key, int right, int down) {
        add({id, "Layer/Nudge", text, Qt::ALT | static_cast<Qt::Key>(key),
             "Moves the active layer by one pixel."},
            [&document, right, down] { NudgeActive(document, right, down); });
    };
    nudge("layer.left", "&Left", Qt::Key_Left, -1, 0);
    nudge("layer.right", "&Right", Qt::Key_Right, 1, 0);
    nudge("layer.up", "&Up", Qt::Key_Up, 0, -1);
    nudge("layer.down", "&Down", Qt::Key_Down, 0, 1);
    const auto enable = [ofActive, threshold, &document] {
        Comp* const active = document.Active();
        for (QAction* action : ofActive) action->setEnabled(active != nullptr);
        threshold->setEnabled(active && CanThreshold(document, *active) &&
                              document.StateOf(*active).role == Role::Picture);
    };
    QObject::connect(&document, &Document::opened, &window, enable);
    QObject::connect(&document, &Document::activeChanged, &window, enable);
    QObject::connect(&document, &Document::layersChanged, &window, enable);
    QObject::connect(&document, &Document::layerChanged, &window, enable);
    enable();
}

}  // namespace pzel_view
