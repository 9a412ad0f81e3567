// A panel is a class that is made of the document and a parent, and knows of no other panel.
#include "panels.h"

#include "channels_panel.h"
#include "curve_panel.h"
#include "document.h"
#include "layers_panel.h"
#include "levels_panel.h"
#include "measure_panel.h"
#include "scenes_panel.h"
#include "time_panel.h"

namespace pzel_view {

namespace {

template <class Panel>
QWidget* Make(Document& document, QWidget* parent) {
    return new Panel(document, parent);
}

}  // namespace

const std::vector<PanelEntry>& Panels() {
    static const std::vector<PanelEntry> panels = {
        {"panel.layers", "Layers", "Shows or hides the list of layers.", Qt::CTRL | Qt::Key_1,
         Qt::LeftDockWidgetArea, true, &Make<LayersPanel>},
        {"panel.levels", "Levels", "Shows or hides black and white of the layer.", Qt::CTRL | Qt::Key_2,
         Qt::RightDockWidgetArea, true, &Make<LevelsPanel>},
        {"panel.curve", "Curve", "Shows or hides the layer's tone curve.", Qt::CTRL | Qt::Key_3,
         Qt::RightDockWidgetArea, true, &Make<CurvePanel>},
        {"panel.channels", "Channels", "Shows or hides the choice of channels.", Qt::CTRL | Qt::Key_4,
         Qt::RightDockWidgetArea, true, &Make<ChannelsPanel>, "panel.curve"},
        {"panel.measure", "Measure", "Shows or hides statistics and the line profile.", Qt::CTRL | Qt::Key_5,
         Qt::RightDockWidgetArea, true, &Make<MeasurePanel>, "panel.curve"},
        {"panel.scenes", "Scenes", "Shows or hides the scenes of the picture.", Qt::CTRL | Qt::Key_6,
         Qt::RightDockWidgetArea, true, &Make<ScenesPanel>, "panel.curve"},
        {"panel.time", "Time", "Shows or hides the time line.", Qt::CTRL | Qt::Key_T,
         Qt::BottomDockWidgetArea, true, &Make<TimePanel>},
    };
    return panels;
}

}  // namespace pzel_view
