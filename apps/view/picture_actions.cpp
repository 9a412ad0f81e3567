// View: zoom, the part that is shown, and two layers beside each other. Tools: what the mouse does.
#include <QActionGroup>

#include "action_groups.h"
#include "main_window.h"
#include "picture_tools.h"

namespace pzel_view {

namespace {

void AddZooms(ActionList& actions, PictureView& picture) {
    actions.Add({"view.fit", "View", "&Fit to Window", Qt::Key_F, "Shows all of the picture."},
                [&picture] { picture.Fit(); });
    actions.Add({"view.in", "View", "Zoom &In", Qt::Key_Plus, "Shows pixels larger; so does the wheel."},
                [&picture] { picture.ZoomIn(); });
    actions.Add({"view.out", "View", "Zoom &Out", Qt::Key_Minus, "Shows pixels smaller; so does the wheel."},
                [&picture] { picture.ZoomOut(); });
    actions.Add(
        {"view.one", "View", "&Actual Pixels", Qt::Key_1, "Shows each pixel as one pixel of the screen."},
        [&picture] { picture.SetZoom(1); });
    struct Factor {
        int zoom;
        const char* id;
        const char* text;
        QKeyCombination key;
    };
    static const Factor factors[] = {{2, "view.two", "&2 : 1", Qt::Key_2},
                                     {4, "view.four", "&4 : 1", Qt::Key_4},
                                     {8, "view.eight", "&8 : 1", Qt::Key_8},
                                     {48, "view.values", "Pixel &Values", Qt::Key_9},
                                     {-2, "view.half", "&1 : 2", Qt::SHIFT | Qt::Key_2},
                                     {-4, "view.quarter", "1 : 4", Qt::SHIFT | Qt::Key_4}};
    for (const Factor& factor : factors) {
        const int zoom = factor.zoom;
        const char* const tip = zoom == 48 ? "Shows pixels so large that their values stand in them."
                                           : "Shows pixels larger or smaller by this.";
        actions.Add({factor.id, "View/Zoom", factor.text, QKeySequence(factor.key), tip}, [&picture, zoom] {
            const double ratio = picture.devicePixelRatioF();
            picture.SetZoom(zoom == 48 ? std::min(static_cast<int>(zoom * ratio), 127) : zoom);
        });
    }
}

void AddPans(ActionList& actions, PictureView& picture) {
    constexpr double kPart = 0.2;
    const auto add = [&](const char* id, const char* text, int key, double right, double down) {
        actions.AddIn(&picture, {id, "View/Pan", text, QKeySequence(key), "Moves along the picture."},
                      [&picture, right, down] { picture.Pan(right, down); });
    };
    add("view.left", "&Left", Qt::Key_Left, -kPart, 0);
    add("view.right", "&Right", Qt::Key_Right, kPart, 0);
    add("view.up", "&Up", Qt::Key_Up, 0, -kPart);
    add("view.down", "&Down", Qt::Key_Down, 0, kPart);
}

void AddComparisons(MainWindow& window) {
    ActionList& actions = window.Actions();
    PictureView& picture = window.Picture();
    Document& document = window.GetDocument();
    using Comparison = PictureView::Comparison;
    QAction* wipe = nullptr;
    QAction* flicker = nullptr;
    const auto compare = [&picture](Comparison how, bool isOn) {
        if (isOn) {
            picture.Compare(how);
        } else if (picture.Comparing() == how) {
            picture.Compare(Comparison::None);
        }
    };
    wipe =
        actions.AddSwitch({"view.wipe", "View", "Compare by &Wipe", Qt::Key_W,
                           "Shows the layer below left of a line that can be dragged, the active one right."},
                          false, [compare](bool isOn) { compare(Comparison::Wipe, isOn); });
    flicker = actions.AddSwitch({"view.flicker", "View", "Compare by Flic&ker", Qt::SHIFT | Qt::Key_W,
                                 "Shows the active layer and the one below in turn."},
                                false, [compare](bool isOn) { compare(Comparison::Flicker, isOn); });
    auto* group = new QActionGroup(&window);
    group->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    group->addAction(wipe);
    group->addAction(flicker);
    const auto enable = [wipe, flicker, &document] {
        const bool areTwo = document.Layers().size() > 1;
        for (QAction* action : {wipe, flicker}) {
            if (!areTwo) action->setChecked(false);
            action->setEnabled(areTwo);
        }
    };
    QObject::connect(&document, &Document::layersChanged, &window, enable);
    QObject::connect(&document, &Document::opened, &window, enable);
    enable();
}

}  // namespace

void AddPictureActions(MainWindow& window) {
    ActionList& actions = window.Actions();
    AddZooms(actions, window.Picture());
    AddPans(actions, window.Picture());
    actions.Separate("View");
    AddComparisons(window);
}

void AddMouseActions(MainWindow& window) {
    struct Entry {
        Tool tool;
        ActionText text;
    };
    const Entry entries[] = {
        {Tool::Pan,
         {"tool.pan", "Tools", "&Pan", Qt::Key_P, "Drags the picture; the middle button always does."}},
        {Tool::Select,
         {"tool.select", "Tools", "&Select", Qt::Key_S,
          "Drags a rectangle whose values are measured and levelled by."}},
        {Tool::Crop,
         {"tool.crop", "Tools", "Show Pa&rt", Qt::Key_R,
          "Drags the part of the active layer that is shown; Escape shows all."}},
        {Tool::Move,
         {"tool.move", "Tools", "&Move Layer", Qt::Key_M, "Drags the active layer to another place."}},
        {Tool::Profile,
         {"tool.profile", "Tools", "&Line Profile", Qt::Key_L,
          "Drags a line along which values are plotted."}},
    };
    ActionList& actions = window.Actions();
    PictureTools& tools = window.Picture().Tools();
    auto* group = new QActionGroup(&window);
    for (const Entry& entry : entries) {
        const Tool tool = entry.tool;
        QAction* const action =
            actions.AddSwitch(entry.text, tool == tools.Current(), [&tools, tool](bool isOn) {
                if (isOn) tools.Choose(tool);
            });
        group->addAction(action);
    }
    actions.Separate("Tools");
    actions.AddIn(&window.Picture(),
                  {"tool.clear", "Tools", "&Clear", Qt::Key_Escape,
                   "Takes away the selection and the line, then the active layer's part."},
                  [&tools] { tools.Clear(); });
}

}  // namespace pzel_view
