// Everything goes the same road: a wish becomes a change of the document, the component tells it, and the
// panel reads back what holds.
#include "levels_panel.h"

#include <QGridLayout>
#include <QVBoxLayout>
#include <algorithm>

namespace pzel_view {

LevelsPanel::LevelsPanel(Document& shown, QWidget* parent)
    : QWidget(parent), document(shown), histograms(shown, this), movie(this) {
    auto* layout = new QVBoxLayout(this);
    nothing = new QLabel(this);
    nothing->setWordWrap(true);
    nothing->setAlignment(Qt::AlignTop);
    layout->addWidget(nothing);
    tools = new QWidget(this);
    layout->addWidget(tools, 1);
    auto* inside = new QVBoxLayout(tools);
    inside->setContentsMargins(0, 0, 0, 0);
    auto* switches = new QHBoxLayout;
    const auto addSwitch = [&](const QString& text, const char* name, const QString& toolTip) {
        auto* box = new QCheckBox(text, tools);
        box->setObjectName(name);
        box->setToolTip(toolTip);
        switches->addWidget(box);
        return box;
    };
    together = addSwitch(tr("To&gether"), "levels.together", tr("All channels have the same levels."));
    logarithmic =
        addSwitch(tr("&Log"), "levels.log", tr("Shows counts by their logarithms: few beside many."));
    wholeRange = addSwitch(tr("&Whole range"), "levels.range",
                           tr("Shows all values, also where few are far from the others."));
    switches->addStretch();
    inside->addLayout(switches);
    rowLayout = new QVBoxLayout;
    inside->addLayout(rowLayout, 1);
    AddChoices(*inside);

    connect(logarithmic, &QCheckBox::toggled, this, [this](bool on) {
        for (const Row& row : rows) row.plot->SetLogarithmic(on);
    });
    connect(wholeRange, &QCheckBox::toggled, this, [this](bool on) {
        for (const Row& row : rows) row.plot->SetWholeRange(on);
    });
    connect(&histograms, &ChannelHistograms::done, this, &LevelsPanel::ShowHistograms);
    connect(&movie, &MovieValues::progress, this, [this](int done, int total) {
        bar->setRange(0, total);
        bar->setValue(done);
    });
    connect(&movie, &MovieValues::found, this, [this](const Levels& levels) {
        busy->hide();
        SetLevels(document, *document.Active(), tr("Auto Levels"), levels);
    });
    connect(&movie, &MovieValues::failed, this, [this](const QString& reason) {
        busy->hide();
        emit document.failed(reason);
    });
    for (auto signal : {&Document::opened, &Document::activeChanged, &Document::layersChanged})
        connect(&document, signal, this, &LevelsPanel::ShowLayer);
    connect(&document, &Document::frameShown, this, &LevelsPanel::CountAnew);
    connect(&document, &Document::selectionChanged, this, &LevelsPanel::ShowChoices);
    connect(&document, &Document::layerChanged, this, [this](Comp* comp, int event) {
        if (comp != document.Active()) return;
        if (event == EventBlackWhite) ShowLevels();
        if (event == EventImage) ShowLayer();
    });
    ShowLayer();
}

void LevelsPanel::AddRow() {
    const int channel = static_cast<int>(rows.size());
    Row row{};
    row.box = new QWidget(tools);
    auto* layout = new QVBoxLayout(row.box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    row.name = new QLabel(row.box);
    row.plot = new HistogramPlot(row.box);
    row.plot->setObjectName(QString("levels.plot%1").arg(channel));
    row.plot->SetLogarithmic(logarithmic->isChecked());
    row.plot->SetWholeRange(wholeRange->isChecked());
    layout->addWidget(row.plot, 1);
    auto* numbers = new QHBoxLayout;
    const auto addNumber = [&](const QString& text, const char* name) {
        auto* edit = new NumberEdit(row.box);
        edit->setObjectName(QString("%1%2").arg(name).arg(channel));
        edit->setToolTip(text);
        edit->setAccessibleName(text);
        return edit;
    };
    row.black = addNumber(tr("The value that is shown black"), "levels.black");
    row.white = addNumber(tr("The value that is shown white"), "levels.white");
    row.white->setAlignment(Qt::AlignRight);
    row.name->setAlignment(Qt::AlignCenter);
    numbers->addWidget(row.black);
    numbers->addWidget(row.name, 1);
    numbers->addWidget(row.white);
    layout->addLayout(numbers);
    rowLayout->addWidget(row.box);
    connect(row.plot, &HistogramPlot::dragStarted, this, [this] { gesture = document.NewGesture(); });
    connect(row.plot, &HistogramPlot::dragged, this, [this, channel](const pzel_io::Window& wanted) {
        SetOne(channel, wanted, tr("Levels"), gesture);
    });
    const auto levelsOf = [this, channel] {
        const Levels levels = document.StateOf(*document.Active()).levels;
        return levels.size() > static_cast<std::size_t>(channel) ? levels[static_cast<std::size_t>(channel)]
                                                                 : pzel_io::Window{0, 0};
    };
    connect(row.black, &NumberEdit::entered, this, [this, channel, levelsOf](double number) {
        const pzel_io::Window now = levelsOf();
        SetOne(channel, {number, kind == LevelKind::Yuv && channel > 0 ? -number : now.high},
               tr("Black Level"), 0);
    });
    connect(row.white, &NumberEdit::entered, this, [this, channel, levelsOf](double number) {
        const pzel_io::Window now = levelsOf();
        SetOne(channel, {kind == LevelKind::Yuv && channel > 0 ? -number : now.low, number},
               tr("White Level"), 0);
    });
    rows.push_back(row);
}

QPushButton* LevelsPanel::AddButton(QLayout& layout, const QString& text, const char* name,
                                    const QString& toolTip) {
    auto* button = new QPushButton(text, tools);
    button->setObjectName(name);
    button->setToolTip(toolTip);
    button->setMinimumWidth(48);
    layout.addWidget(button);
    return button;
}

void LevelsPanel::AddChoices(QVBoxLayout& layout) {
    auto* buttons = new QHBoxLayout;
    data = AddButton(*buttons, tr("&Data"), "levels.data",
                     tr("From the least to the greatest value of the frame."));
    full = AddButton(*buttons, tr("F&ull"), "levels.full",
                     tr("Everything that the file's type of value can hold."));
    file = AddButton(*buttons, tr("Fil&e"), "levels.file", tr("The range that the file itself asks for."));
    layout.addLayout(buttons);
    auto* choice = new QHBoxLayout;
    automatic =
        AddButton(*choice, tr("&Auto"), "levels.auto", tr("Clips a percentage of the values at each end."));
    percent = new QDoubleSpinBox(tools);
    percent->setObjectName("levels.percent");
    percent->setDecimals(2);
    percent->setRange(0, 49);
    percent->setSingleStep(0.05);
    percent->setValue(kUsualPercent);
    percent->setSuffix(tr(" %"));
    percent->setToolTip(tr("How many values Auto clips at each end."));
    choice->addWidget(percent);
    source = new QComboBox(tools);
    source->setObjectName("levels.source");
    source->addItems({tr("of frame"), tr("of region"), tr("of movie")});
    source->setToolTip(
        tr("Which values Auto looks at: of this frame, of the dragged rectangle, or of all frames."));
    choice->addWidget(source, 1);
    layout.addLayout(choice);
    busy = new QWidget(tools);
    auto* waiting = new QHBoxLayout(busy);
    waiting->setContentsMargins(0, 0, 0, 0);
    bar = new QProgressBar(busy);
    bar->setToolTip(tr("Frames that are counted"));
    waiting->addWidget(bar, 1);
    auto* cancel = new QPushButton(tr("Cancel"), busy);
    cancel->setToolTip(tr("Stops counting; levels stay."));
    waiting->addWidget(cancel);
    busy->hide();
    layout.addWidget(busy);
    copy = new QToolButton(tools);
    copy->setObjectName("levels.copy");
    copy->setText(tr("Copy Levels To"));
    copy->setToolTip(tr("Gives another layer the levels of this one."));
    copy->setPopupMode(QToolButton::InstantPopup);
    copy->setMenu(new QMenu(copy));
    layout.addWidget(copy);
    connect(copy->menu(), &QMenu::aboutToShow, this, &LevelsPanel::FillCopies);
    const auto offer = [this](QPushButton* button, const QString& what,
                              Levels (*choose)(LevelsPanel&, Comp&)) {
        connect(button, &QPushButton::clicked, this, [this, what, choose] {
            if (Comp* const comp = document.Active()) SetLevels(document, *comp, what, choose(*this, *comp));
        });
    };
    offer(data, tr("Data Levels"),
          [](LevelsPanel& panel, Comp& comp) { return DataLevels(panel.document, comp, panel.Shared()); });
    offer(full, tr("Full Levels"),
          [](LevelsPanel& panel, Comp& comp) { return FullLevels(panel.document, comp); });
    offer(file, tr("File's Levels"),
          [](LevelsPanel& panel, Comp& comp) { return FileLevels(panel.document, comp); });
    connect(automatic, &QPushButton::clicked, this, &LevelsPanel::TakeAuto);
    connect(source, &QComboBox::currentIndexChanged, this, &LevelsPanel::ShowChoices);
    connect(cancel, &QPushButton::clicked, this, [this] {
        movie.Cancel();
        busy->hide();
    });
}

void LevelsPanel::ShowLayer() {
    Comp* const comp = document.Active();
    kind = comp ? LevelsOf(document, *comp) : LevelKind::None;
    movie.Cancel();
    busy->hide();
    tools->setVisible(kind != LevelKind::None);
    nothing->setVisible(kind == LevelKind::None);
    if (kind == LevelKind::None) {
        nothing->setText(!comp ? tr("No picture is open.")
                         : document.StateOf(*comp).role != Role::Picture
                             ? tr("This layer is shown as an overlay, which has no levels.")
                             : tr("A picture of bits has no levels."));
        return histograms.Clear();
    }
    const auto channels = ChannelsOf(document, *comp);
    while (rows.size() < channels.size()) AddRow();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].box->setVisible(i < channels.size());
        if (i >= channels.size()) continue;
        rows[i].name->setText(channels[i].name);
        rows[i].plot->SetColour(channels[i].colour);
        rows[i].plot->SetMirrored(kind == LevelKind::Yuv && i > 0);
        rows[i].plot->setAccessibleName(tr("Levels of %1").arg(channels[i].name));
    }
    together->setVisible(kind == LevelKind::Channels && channels.size() > 1);
    together->setChecked(SharingOf(document, *comp) == Sharing::Together);
    ShowLevels();
    ShowChoices();
    CountAnew();
}

void LevelsPanel::ShowLevels() {
    Comp* const comp = document.Active();
    if (!comp) return;
    const Levels levels = document.StateOf(*comp).levels;
    for (std::size_t i = 0; i < std::min(levels.size(), rows.size()); ++i) {
        rows[i].plot->SetLevels(levels[i]);
        rows[i].black->Show(levels[i].low);
        rows[i].white->Show(levels[i].high);
    }
}

void LevelsPanel::ShowChoices() {
    Comp* const comp = document.Active();
    if (!comp || kind == LevelKind::None) return;
    full->setEnabled(!FullLevels(document, *comp).empty());
    file->setEnabled(!FileLevels(document, *comp).empty());
    const bool hasRegion = SelectedPart(document, *comp).width > 0;
    const bool isMovie = document.InfoOf(*comp).frames > 1 && kind != LevelKind::Joint;
    automatic->setEnabled(source->currentIndex() == Frame ||
                          (source->currentIndex() == Region && hasRegion) ||
                          (source->currentIndex() == WholeMovie && isMovie));
    automatic->setToolTip(automatic->isEnabled() ? tr("Clips a percentage of the values at each end.")
                          : source->currentIndex() == Region
                              ? tr("Drag a rectangle in the picture first.")
                              : tr("This layer has no further frames to look at."));
    copy->setEnabled(document.Layers().size() > 1);
}

void LevelsPanel::CountAnew() {
    Comp* const comp = document.Active();
    if (comp && kind != LevelKind::None && isVisible()) histograms.Count(*comp);
}

void LevelsPanel::showEvent(QShowEvent*) {
    CountAnew();
}

void LevelsPanel::ShowHistograms() {
    const auto& counted = histograms.Get();
    for (std::size_t i = 0; i < std::min(counted.size(), rows.size()); ++i)
        rows[i].plot->SetValues(&counted[i], histograms.Offset(static_cast<int>(i)));
}

Sharing LevelsPanel::Shared() const {
    return kind == LevelKind::Channels && together->isChecked() ? Sharing::Together : Sharing::Each;
}

void LevelsPanel::SetOne(int channel, const pzel_io::Window& window, const QString& what, int ofGesture) {
    Comp* const comp = document.Active();
    if (!comp) return;
    LayerState state = document.StateOf(*comp);
    for (std::size_t i = 0; i < state.levels.size(); ++i)
        if (Shared() == Sharing::Together || static_cast<int>(i) == channel) state.levels[i] = window;
    document.Change(*comp, what, state, ofGesture);
    ShowLevels();  // a wish that was none leaves the handles where they are
}

void LevelsPanel::TakeAuto() {
    Comp* const comp = document.Active();
    if (!comp) return;
    if (source->currentIndex() == WholeMovie) {
        Layer wishes = document.WishesOf(*comp);
        wishes.look.levels.clear();
        busy->show();
        bar->setRange(0, 0);
        movie.Gather(wishes, percent->value(), Shared());
        return;
    }
    const ImagePart part = source->currentIndex() == Region ? SelectedPart(document, *comp) : ImagePart();
    SetLevels(document, *comp, tr("Auto Levels"),
              PercentLevels(document, *comp, Shared(), percent->value(), part));
}

void LevelsPanel::FillCopies() {
    copy->menu()->clear();
    for (Comp* other : document.Layers()) {
        if (other == document.Active()) continue;
        QAction* const action = copy->menu()->addAction(QString(other->GetName()).replace("&", "&&"));
        action->setEnabled(LevelsOf(document, *other) != LevelKind::None);
        connect(action, &QAction::triggered, this, [this, other] { CopyTo(*other); });
    }
}

void LevelsPanel::CopyTo(Comp& other) {
    const auto layers = document.Layers();
    if (!document.Active() || std::find(layers.begin(), layers.end(), &other) == layers.end()) return;
    const Levels levels = document.StateOf(*document.Active()).levels;
    LayerState state = document.StateOf(other);
    for (std::size_t i = 0; i < state.levels.size(); ++i)
        state.levels[i] = levels[state.levels.size() == levels.size() ? i : 0];
    document.Change(other, tr("Copy Levels"), state);
}

}  // namespace pzel_view
