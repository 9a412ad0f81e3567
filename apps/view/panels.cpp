// A panel is a class that is made of the document and a parent, and knows of no other panel.
#include "panels.h"

#include "document.h"
#include "layers_panel.h"
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
         Qt::RightDockWidgetArea, true, &Make<LayersPanel>},
        {"panel.time", "Time", "Shows or hides the time line.", Qt::CTRL | Qt::Key_T,
         Qt::BottomDockWidgetArea, true, &Make<TimePanel>},
    };
    return panels;
}

}  // namespace pzel_view
