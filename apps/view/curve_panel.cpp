// What is shown is read back from the component's remapper.
#include "curve_panel.h"

#include <QFormLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

#include "shown_channels.h"

namespace pzel_view {

namespace {

constexpr std::array<Bend, 4> kBends = {Bend::None, Bend::Log, Bend::Asinh, Bend::SquareRoot};

}  // namespace

CurvePanel::CurvePanel(Document& shown, QWidget* parent) : QWidget(parent), document(shown) {
    auto* layout = new QVBoxLayout(this);
    nothing = new QLabel(this);
    nothing->setWordWrap(true);
    layout->addWidget(nothing);
    tools = new QWidget(this);
    layout->addWidget(tools, 1);
    auto* inside = new QVBoxLayout(tools);
    inside->setContentsMargins(0, 0, 0, 0);
    channel = new QComboBox(tools);
    channel->setObjectName("curve.channel");
    channel->setToolTip(tr("The channel whose curve is shown and changed."));
    inside->addWidget(channel);
    editor = new CurveEditor(tools);
    inside->addWidget(editor, 1);
    auto* form = new QFormLayout;
    gamma = new QDoubleSpinBox(tools);
    gamma->setObjectName("curve.gamma");
    gamma->setRange(0.05, 20);
    gamma->setSingleStep(0.05);
    gamma->setDecimals(2);
    gamma->setToolTip(tr("Brightens (above 1) or darkens (below 1) the middle."));
    form->addRow(tr("&Gamma"), gamma);
    bend = new QComboBox(tools);
    bend->setObjectName("curve.bend");
    bend->addItems({tr("Linear"), tr("Logarithm"), tr("Inverse hyperbolic sine"), tr("Square root")});
    bend->setToolTip(tr("Shows faint things beside bright ones, before points and gamma."));
    form->addRow(tr("&Scale"), bend);
    inside->addLayout(form);
    auto* last = new QHBoxLayout;
    invert = new QCheckBox(tr("&Invert"), tools);
    invert->setObjectName("curve.invert");
    invert->setToolTip(tr("Shows low values white."));
    last->addWidget(invert);
    last->addStretch();
    reset = new QPushButton(tr("&Reset Curve"), tools);
    reset->setObjectName("curve.reset");
    reset->setToolTip(tr("Back to a straight line, for all channels."));
    last->addWidget(reset);
    inside->addLayout(last);

    connect(editor, &CurveEditor::dragStarted, this, [this] { gesture = document.NewGesture(); });
    connect(editor, &CurveEditor::pointsWanted, this, [this](const std::vector<TonePoint>& points) {
        Edit(
            tr("Curve"), [&](Tone& tone) { tone.points = points; }, gesture);
    });
    connect(gamma, &QDoubleSpinBox::valueChanged, this,
            [this](double value) { Edit(tr("Gamma"), [&](Tone& tone) { tone.gamma = value; }); });
    connect(bend, &QComboBox::currentIndexChanged, this, [this](int index) {
        Edit(tr("Curve"), [&](Tone& tone) { tone.bend = kBends[static_cast<std::size_t>(index)]; });
    });
    connect(invert, &QCheckBox::toggled, this,
            [this](bool on) { Edit(tr("Invert"), [&](Tone& tone) { tone.inverted = on; }); });
    connect(reset, &QPushButton::clicked, this, [this] { Put(tr("Reset Curve"), {{}}, 0); });
    connect(channel, &QComboBox::currentIndexChanged, this, &CurvePanel::ShowCurve);
    for (auto signal : {&Document::opened, &Document::activeChanged, &Document::layersChanged})
        connect(&document, signal, this, &CurvePanel::ShowLayer);
    connect(&document, &Document::layerChanged, this, [this](Comp* comp, int event) {
        if (comp != document.Active()) return;
        if (event == EventRemapper) ShowCurve();
        if (event == EventImage) ShowLayer();
    });
    ShowLayer();
}

void CurvePanel::ShowLayer() {
    Comp* const comp = document.Active();
    const bool has = comp && LevelsOf(document, *comp) != LevelKind::None;
    tools->setVisible(has);
    nothing->setVisible(!has);
    nothing->setText(!comp ? tr("No picture is open.")
                           : tr("This layer has no values that a curve could bend."));
    if (!has) return;
    const auto channels = ChannelsOf(document, *comp);
    const QSignalBlocker still(channel);
    const int before = channel->currentIndex();
    channel->clear();
    channel->addItem(LevelsOf(document, *comp) == LevelKind::Channels ? tr("All channels")
                                                                      : channels[0].name + tr(" alone"));
    if (channels.size() > 1)
        for (const ShownChannel& one : channels) channel->addItem(one.name);
    channel->setVisible(channels.size() > 1);
    // Curves that differ are not shown as one.
    const Tones tones = TonesNow();
    const bool differ =
        std::any_of(tones.begin(), tones.end(), [&](const Tone& t) { return !(t == tones[0]); });
    channel->setCurrentIndex(before >= 0 && before < channel->count() ? before : differ ? 1 : 0);
    ShowCurve();
}

Tones CurvePanel::TonesNow() const {
    Comp* const comp = document.Active();
    return comp ? document.StateOf(*comp).tones : Tones{{}};
}

void CurvePanel::ShowCurve() {
    Comp* const comp = document.Active();
    if (!comp || tools->isHidden()) return;
    const Tones tones = TonesNow();
    const int chosen = channel->currentIndex();
    const std::size_t shown = chosen <= 0 || tones.size() == 1 ? 0 : static_cast<std::size_t>(chosen - 1);
    const auto channels = ChannelsOf(document, *comp);
    const QSignalBlocker stillGamma(gamma), stillBend(bend), stillInvert(invert);
    const Tone& tone = tones[shown];
    editor->SetTone(tone);
    editor->SetColour(chosen > 0 ? channels[static_cast<std::size_t>(chosen - 1)].colour : QColor());
    gamma->setValue(tone.gamma);
    const auto place = std::find(kBends.begin(), kBends.end(), tone.bend) - kBends.begin();
    bend->setCurrentIndex(static_cast<int>(place));
    invert->setChecked(tone.inverted);
    reset->setEnabled(tones != Tones{{}});
}

void CurvePanel::Edit(const QString& what, const std::function<void(Tone&)>& change, int ofGesture) {
    Comp* const comp = document.Active();
    if (!comp) return;
    Tones tones = TonesNow();
    const int chosen = channel->currentIndex();
    const bool isOne = chosen > 0;
    if (isOne && tones.size() == 1) {
        // A single curve of a luminance, or of an intensity, is that of the first channel alone.
        const bool all = LevelsOf(document, *comp) == LevelKind::Channels;
        tones = all ? Tones(3, tones[0]) : Tones{tones[0], {}, {}};
    }
    if (isOne) {
        change(tones[static_cast<std::size_t>(chosen - 1)]);
    } else {
        Tone tone = tones[0];
        change(tone);
        tones = {tone};
    }
    Put(what, tones, ofGesture);
}

void CurvePanel::Put(const QString& what, const Tones& tones, int ofGesture) {
    Comp* const comp = document.Active();
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    state.tones = tones;
    document.Change(*comp, what, state, ofGesture);
    ShowCurve();
}

}  // namespace pzel_view
