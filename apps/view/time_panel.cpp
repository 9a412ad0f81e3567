// Buttons and fields around the time line; they show what the player and the movie say.
#include "time_panel.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include "time_line.h"

namespace pzel_view {

TimePanel::TimePanel(Document& shown, QWidget* parent) : QWidget(parent), document(shown) {
    auto* line = new TimeLine(document, this);
    auto* controls = new QHBoxLayout;
    controls->addWidget(MakeButtons());
    controls->addStretch();
    controls->addWidget(MakeSettings());
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(6, 2, 6, 4);
    all->setSpacing(2);
    all->addWidget(line);
    all->addLayout(controls);
    connect(&document, &Document::opened, this, &TimePanel::ShowFrame);
    connect(&document, &Document::layersChanged, this, &TimePanel::ShowFrame);
    connect(&document, &Document::frameShown, this, &TimePanel::ShowFrame);
    connect(&document, &Document::timeChanged, this, &TimePanel::ShowFrame);
    connect(&document.GetPlayer(), &Player::settingsChanged, this, &TimePanel::ShowSettings);
    connect(&document.GetPlayer(), &Player::playingChanged, this, &TimePanel::ShowSettings);
    ShowFrame();
    ShowSettings();
}

QToolButton* TimePanel::AddButton(const char* name, int icon, const QString& tip,
                                  const std::function<void()>& slot) {
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setIcon(style()->standardIcon(static_cast<QStyle::StandardPixmap>(icon)));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setAutoRaise(true);
    connect(button, &QToolButton::clicked, this, [slot] { slot(); });
    return button;
}

QWidget* TimePanel::MakeButtons() {
    Player& player = document.GetPlayer();
    auto* box = new QWidget(this);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(AddButton("first", QStyle::SP_MediaSkipBackward, tr("First selected frame (Home)"),
                             [&player] { player.GoToFirst(); }));
    row->addWidget(AddButton("back", QStyle::SP_MediaSeekBackward, tr("Back by one frame (,)"),
                             [&player] { player.Step(-1); }));
    play =
        AddButton("play", QStyle::SP_MediaPlay, tr("Play or pause (Space)"), [&player] { player.Toggle(); });
    row->addWidget(play);
    row->addWidget(AddButton("on", QStyle::SP_MediaSeekForward, tr("On by one frame (.)"),
                             [&player] { player.Step(1); }));
    row->addWidget(AddButton("last", QStyle::SP_MediaSkipForward, tr("Last selected frame (End)"),
                             [&player] { player.GoToLast(); }));
    frame = new QSpinBox(this);
    frame->setObjectName("frame");
    frame->setPrefix(tr("Frame "));
    frame->setKeyboardTracking(false);
    frame->setToolTip(tr("The frame that is shown, counted from 0"));
    connect(frame, &QSpinBox::valueChanged, this, [this, &player](int number) {
        player.Stop();
        document.GoTo(static_cast<std::uint32_t>(number));
    });
    row->addWidget(frame);
    total = new QLabel(this);
    row->addWidget(total);
    return box;
}

QWidget* TimePanel::MakeSettings() {
    Player& player = document.GetPlayer();
    auto* box = new QWidget(this);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    rate = new QDoubleSpinBox(this);
    rate->setObjectName("rate");
    rate->setRange(0, 1000);
    rate->setDecimals(2);
    rate->setSuffix(tr(" frames/s"));
    rate->setKeyboardTracking(false);
    rate->setToolTip(tr("Frames a second; 0 takes the file's own rate"));
    connect(rate, &QDoubleSpinBox::valueChanged, this, [&player](double value) { player.SetRate(value); });
    row->addWidget(rate);
    way = new QComboBox(this);
    way->setObjectName("way");
    way->addItem(tr("Forward"), MoviePlayForward);
    way->addItem(tr("Backward"), MoviePlayBackward);
    way->addItem(tr("Forth and back"), MoviePlayForthAndBack);
    way->addItem(tr("Once"), MoviePlayToEnd);
    way->setToolTip(tr("The way through the selected frames"));
    connect(way, &QComboBox::currentIndexChanged, this,
            [this, &player] { player.SetWay(static_cast<MovieStatus>(way->currentData().toInt())); });
    row->addWidget(way);
    pace = new QComboBox(this);
    pace->setObjectName("pace");
    pace->addItem(tr("Every frame"), static_cast<int>(Pace::EveryFrame));
    pace->addItem(tr("Keep the rate"), static_cast<int>(Pace::KeepRate));
    pace->setToolTip(tr("Whether frames that are not read in time are waited for or left out"));
    connect(pace, &QComboBox::currentIndexChanged, this,
            [this, &player] { player.SetPace(static_cast<Pace>(pace->currentData().toInt())); });
    row->addWidget(pace);
    return box;
}

void TimePanel::ShowFrame() {
    const QSignalBlocker quiet(frame);
    const std::uint32_t frames = document.Frames();
    frame->setRange(0, frames == 0 ? 0 : static_cast<int>(frames - 1));
    frame->setValue(static_cast<int>(document.CurrentFrame()));
    const unsigned long selected = frames == 0 ? 0 : document.GetMovie().GetRangesLength();
    total->setText(selected == frames ? tr("of %1").arg(frames)
                                      : tr("of %1, %2 selected").arg(frames).arg(selected));
    for (QWidget* widget : findChildren<QWidget*>(QString(), Qt::FindChildrenRecursively))
        if (qobject_cast<QToolButton*>(widget) || widget == frame || widget == rate || widget == way ||
            widget == pace)
            widget->setEnabled(frames > 1);
}

void TimePanel::ShowSettings() {
    Player& player = document.GetPlayer();
    const QSignalBlocker quietRate(rate), quietWay(way), quietPace(pace);
    if (!rate->hasFocus() || rate->value() != player.Rate()) rate->setValue(player.Rate());
    way->setCurrentIndex(way->findData(player.Way()));
    pace->setCurrentIndex(pace->findData(static_cast<int>(player.GetPace())));
    play->setIcon(style()->standardIcon(player.IsPlaying() ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
}

}  // namespace pzel_view
