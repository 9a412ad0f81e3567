// A layer offers the channels that its file has; the others are left out.
#include "channels_panel.h"

#include <QButtonGroup>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>

namespace pzel_view {

namespace {

bool IsYuvChannel(Channel channel) {
    return channel == Channel::Y || channel == Channel::U || channel == Channel::V;
}

bool HasHsi(const pzel_io::PictureInfo& info) {
    return info.type != DataUInt32 && info.type != DataInt32 && info.type != DataBit;
}

bool Offers(const pzel_io::PictureInfo& info, bool isYuv, Channel channel) {
    if (channel == Channel::All) return true;
    if (IsYuvChannel(channel)) return isYuv;
    return !isYuv && (channel < Channel::Intensity || HasHsi(info));
}

}  // namespace

ChannelsPanel::ChannelsPanel(Document& shown, QWidget* parent) : QWidget(parent), document(shown) {
    auto* layout = new QVBoxLayout(this);
    nothing = new QLabel(this);
    nothing->setWordWrap(true);
    layout->addWidget(nothing);
    auto* group = new QButtonGroup(this);
    const auto add = [&](Channel channel, const char* name, const QString& text, const QString& toolTip) {
        auto* button = new QRadioButton(text, this);
        button->setObjectName(QString("channels.") + name);
        button->setToolTip(toolTip);
        group->addButton(button);
        layout->addWidget(button);
        choices.push_back({channel, button});
        connect(button, &QRadioButton::clicked, this, [this, channel] { Choose(channel); });
    };
    add(Channel::All, "all", tr("&All channels"), tr("The picture in its colours."));
    const QString alone = tr("This channel alone, as grey.");
    add(Channel::Red, "red", tr("&Red"), alone);
    add(Channel::Green, "green", tr("&Green"), alone);
    add(Channel::Blue, "blue", tr("&Blue"), alone);
    add(Channel::Y, "y", tr("&Y: luminance"), alone);
    add(Channel::U, "u", tr("&U: blueness"), alone);
    add(Channel::V, "v", tr("&V: redness"), alone);
    add(Channel::Intensity, "intensity", tr("&Intensity"), tr("Computed from all three, as grey."));
    add(Channel::Saturation, "saturation", tr("&Saturation"), tr("Computed from all three, as grey."));
    add(Channel::Hue, "hue", tr("&Hue"), tr("Computed from all three, as grey."));
    add(Channel::Hsi, "hsi", tr("&Colour by levels of these"),
        tr("All colours, with levels of intensity, saturation and hue instead of red, green and blue."));
    luminance = new QCheckBox(tr("As &luminance and differences"), this);
    luminance->setObjectName("channels.yuv");
    luminance->setToolTip(tr("Shows the colours as y, u and v, with levels of these."));
    layout->addWidget(luminance);
    layout->addStretch();
    connect(luminance, &QCheckBox::clicked, this, [this](bool on) {
        Comp* const comp = document.Active();
        if (!comp) return;
        LayerState state = document.StateOf(*comp);
        state.toYuv = on;
        state.channel = Channel::All;
        state.levels.clear();
        document.Change(*comp, tr("Colour Model"), state);
    });
    for (auto signal : {&Document::opened, &Document::activeChanged, &Document::layersChanged})
        connect(&document, signal, this, &ChannelsPanel::ShowLayer);
    connect(&document, &Document::layerChanged, this, [this](Comp* comp, int event) {
        if (comp == document.Active() && event == EventImage) ShowLayer();
    });
    ShowLayer();
}

void ChannelsPanel::ShowLayer() {
    Comp* const comp = document.Active();
    const pzel_io::PictureInfo* const info = comp ? &document.InfoOf(*comp) : nullptr;
    const LayerState state = comp ? document.StateOf(*comp) : LayerState();
    const bool has = info && info->channels == 3 && state.role == Role::Picture;
    nothing->setVisible(!has);
    nothing->setText(!comp ? tr("No picture is open.")
                     : state.role != Role::Picture
                         ? tr("This layer is shown as an overlay, without channels.")
                         : tr("This layer has a single channel."));
    for (const Choice& choice : choices) {
        const bool isOffered = has && Offers(*info, info->model == SubYuv || state.toYuv, choice.channel);
        choice.button->setVisible(isOffered);
        choice.button->setChecked(state.channel == choice.channel);
    }
    luminance->setVisible(has && info->model == SubColour);
    luminance->setChecked(state.toYuv);
}

void ChannelsPanel::Choose(Channel channel) {
    Comp* const comp = document.Active();
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    state.channel = channel;
    document.Change(*comp, tr("Channel"), state);
}

}  // namespace pzel_view
