// Each step is one change that can be undone.
#include "layer_steps.h"

#include <QFileDialog>
#include <QInputDialog>
#include <algorithm>
#include <cmath>

#include "opening.h"
#include "pzel/bounds/histogram.h"

namespace pzel_view {

namespace {

constexpr double kMaskOpacity = 0.5;

bool IsBytes(const pzel_io::PictureInfo& info) {
    return info.type == DataBit || info.type == DataUInt8 || info.type == DataInt8;
}

// The upper half of what is shown of a layer: between its levels, and above.
pzel_io::Window UpperHalf(Document& document, Comp& comp) {
    const pzel_io::Window span = ThresholdSpan(document, comp);
    const Levels levels = document.StateOf(comp).levels;
    double low = levels.empty() ? (span.low + span.high) / 2 : (levels[0].low + levels[0].high) / 2;
    if (document.InfoOf(comp).type != DataFloat) low = std::round(low);
    return {low, std::max(low, span.high)};
}

}  // namespace

void AddLayers(Document& document, QWidget* parent) {
    document.Open(LayersOf(QFileDialog::getOpenFileNames(parent, Document::tr("Add Layers"))),
                  OpenAs::Layers);
}

void RemoveActive(Document& document) {
    if (Comp* const comp = document.Active()) document.Remove(*comp);
}

void DuplicateActive(Document& document) {
    if (Comp* const comp = document.Active()) document.Duplicate(*comp);
}

bool CanThreshold(Document& document, const Comp& comp) {
    const pzel_io::PictureInfo& info = document.InfoOf(comp);
    return info.channels == 1 && info.type != DataBit;
}

pzel_io::Window ThresholdSpan(Document& document, Comp& comp) {
    const pzel_io::PictureInfo& info = document.InfoOf(comp);
    // A layer that shows the same file's values tells their range.
    for (Comp* other : document.Layers()) {
        const bool isSame = document.InfoOf(*other).file == info.file && CanThreshold(document, *other);
        if (!isSame || document.StateOf(*other).role != Role::Picture) continue;
        const Image& values = document.ValuesOf(*other);
        if (GetDataType(&values) == DataBit) continue;
        const ValueStatistics found = ComputeStatistics(&values, {0});
        if (found.count > 0) return {found.minimum, found.maximum};
    }
    const LayerState state = document.StateOf(comp);
    if (info.type != DataFloat && pzel_io::ElementBytes(info.type) < 4)
        return FullRange(SubGrey, info.type, 0);
    if (!state.threshold) return {0, 1};
    const double width = std::max(state.threshold->high - state.threshold->low, 1.0);
    return {state.threshold->low - width, state.threshold->high + width};
}

void ThresholdActive(Document& document) {
    Comp* const comp = document.Active();
    if (!comp || !CanThreshold(document, *comp)) return;
    LayerState state = document.StateOf(*comp);
    if (state.role != Role::Picture) return;
    state.threshold = UpperHalf(document, *comp);
    state.role = Role::Mask;
    state.opacity = kMaskOpacity;
    state.area.reset();
    state.name += " ≥";
    document.AddCopy(*comp, Document::tr("Threshold Layer"), state);
}

void ShowAs(Document& document, Comp& comp, Role role) {
    LayerState state = document.StateOf(comp);
    if (state.role == role) return;
    const bool isMask = role == Role::Mask || role == Role::Boundary;
    if (isMask && !state.threshold && !state.maskValue && !IsBytes(document.InfoOf(comp)))
        state.threshold = UpperHalf(document, comp);
    if (role == Role::Picture) state.threshold.reset();
    state.role = role;
    document.Change(comp, Document::tr("Show As"), state);
}

void RaiseActive(Document& document, int by) {
    Comp* const comp = document.Active();
    if (!comp) return;
    const int to = comp->GetIndex() + by;
    if (to >= 0 && to < static_cast<int>(document.Layers().size())) document.MoveTo(*comp, to);
}

void NudgeActive(Document& document, int right, int down) {
    Comp* const comp = document.Active();
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    state.x = std::clamp(state.x + right, -32768, 32767);
    state.y = std::clamp(state.y + down, -32768, 32767);
    document.Change(*comp, Document::tr("Move Layer"), state);
}

void RenameActive(Document& document, QWidget* parent) {
    Comp* const comp = document.Active();
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    bool isGiven = false;
    const QString name =
        QInputDialog::getText(parent, Document::tr("Rename Layer"), Document::tr("Name"), QLineEdit::Normal,
                              QString::fromStdString(state.name), &isGiven);
    if (!isGiven || name.trimmed().isEmpty()) return;
    state.name = name.trimmed().toStdString();
    document.Change(*comp, Document::tr("Rename Layer"), state);
}

void ToggleActive(Document& document) {
    Comp* const comp = document.Active();
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    state.visible = !state.visible;
    document.Change(*comp, state.visible ? Document::tr("Show Layer") : Document::tr("Hide Layer"), state);
}

void ActivateNeighbour(Document& document, int by) {
    Comp* const comp = document.Active();
    if (!comp) return;
    const std::vector<Comp*> layers = document.Layers();
    const int to = std::clamp(comp->GetIndex() + by, 0, static_cast<int>(layers.size()) - 1);
    document.MakeActive(*layers[static_cast<std::size_t>(to)]);
}

}  // namespace pzel_view
