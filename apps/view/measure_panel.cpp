// Statistics come from the library's histograms, whose sums do not depend on how pixels are divided.
#include "measure_panel.h"

#include <QElapsedTimer>
#include <QHeaderView>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <limits>

#include "apps/io/pixel_values.h"

namespace pzel_view {

namespace {

constexpr int kStepMilliseconds = 4;
constexpr int kPixelsAtOnce = 1 << 20;
enum Row { Minimum, Maximum, Mean, Deviation, Pixels, NotNumbers, RowCount };

// The channels of a file's values, whatever is shown of them.
std::vector<std::pair<QString, QColor>> FileChannels(const Image& image) {
    const QColor red(214, 58, 52), green(40, 150, 62), blue(52, 104, 222), none;
    if (image.channels == 3 && GetSubType(&image) == SubYuv)
        return {{Document::tr("Y"), none}, {Document::tr("U"), blue}, {Document::tr("V"), red}};
    if (image.channels == 3)
        return {{Document::tr("Red"), red}, {Document::tr("Green"), green}, {Document::tr("Blue"), blue}};
    if (image.channels == 2) return {{Document::tr("X"), red}, {Document::tr("Y"), blue}};
    return {{Document::tr("Values"), none}};
}

}  // namespace

MeasurePanel::MeasurePanel(Document& shown, QWidget* parent) : QWidget(parent), document(shown) {
    auto* layout = new QVBoxLayout(this);
    place = new QLabel(this);
    place->setObjectName("measure.place");
    place->setWordWrap(true);
    layout->addWidget(place);
    table = new QTableWidget(RowCount, 1, this);
    table->setObjectName("measure.statistics");
    table->setAccessibleName(tr("Statistics"));
    table->setToolTip(tr("Figures of the file's values, of each channel."));
    table->setVerticalHeaderLabels(
        {tr("Minimum"), tr("Maximum"), tr("Mean"), tr("Deviation"), tr("Pixels"), tr("Not finite")});
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layout->addWidget(table);
    layout->addWidget(new QLabel(tr("Line profile"), this));
    profile = new ProfilePlot(this);
    layout->addWidget(profile, 1);
    setMinimumWidth(240);
    connect(&timer, &QTimer::timeout, this, &MeasurePanel::CountSome);
    for (auto signal : {&Document::opened, &Document::activeChanged, &Document::layersChanged})
        connect(&document, signal, this, &MeasurePanel::ShowAll);
    connect(&document, &Document::frameShown, this, &MeasurePanel::ShowAll);
    connect(&document, &Document::selectionChanged, this, &MeasurePanel::CountAnew);
    connect(&document, &Document::profileChanged, this, &MeasurePanel::ShowProfile);
    connect(&document, &Document::layerChanged, this, [this](Comp* comp, int event) {
        if (comp == document.Active() && (event == EventImage || event == EventLocation)) ShowAll();
    });
    ShowAll();
}

void MeasurePanel::showEvent(QShowEvent*) {
    ShowAll();
}

void MeasurePanel::ShowAll() {
    CountAnew();
    ShowProfile();
}

void MeasurePanel::CountAnew() {
    timer.stop();
    histograms.clear();
    counted = document.Active();
    if (!counted || !isVisible()) return ShowStatistics();
    const Image& image = document.ValuesOf(*counted);
    const QRect all(0, 0, image.width, image.height);
    const QRect selected = document.Selection();
    const LayerState state = document.StateOf(*counted);
    part = selected.isEmpty() ? all : selected.translated(-state.x, -state.y) & all;
    if (part.isEmpty()) {
        place->setText(tr("The rectangle lies beside the active layer."));
    } else {
        place->setText((selected.isEmpty() ? tr("Whole layer: %1 × %2 pixels")
                                           : tr("Rectangle: %1 × %2 pixels from %3, %4"))
                           .arg(part.width())
                           .arg(part.height()));
        if (!selected.isEmpty()) place->setText(place->text().arg(part.x()).arg(part.y()));
    }
    nextRow = part.top();
    // Bins are not looked at: one is enough for what is not counted exactly.
    histograms.assign(FileChannels(image).size(), Histogram(1));
    part.isEmpty() ? ShowStatistics() : timer.start(0);
}

void MeasurePanel::CountSome() {
    QElapsedTimer spent;
    spent.start();
    const Image& image = document.ValuesOf(*counted);
    const int rows = std::max(1, kPixelsAtOnce / (part.width() * static_cast<int>(histograms.size())));
    while (nextRow <= part.bottom() && spent.elapsed() < kStepMilliseconds) {
        const int count = std::min(rows, part.bottom() + 1 - nextRow);
        for (int channel = 0; channel < static_cast<int>(histograms.size()); ++channel)
            histograms[static_cast<std::size_t>(channel)].Add(
                &image, {pzel_io::StoredChannel(image, channel), part.left(), nextRow, part.width(), count});
        nextRow += count;
    }
    if (nextRow <= part.bottom()) return;
    timer.stop();
    ShowStatistics();
}

void MeasurePanel::ShowStatistics() {
    if (!counted) {
        place->setText(tr("No picture is open."));
        table->setColumnCount(0);
        return;
    }
    if (histograms.empty()) return;
    const Image& image = document.ValuesOf(*counted);
    const auto channels = FileChannels(image);
    table->setColumnCount(static_cast<int>(channels.size()));
    const ImageDataType type = GetDataType(&image);
    for (int column = 0; column < static_cast<int>(channels.size()); ++column) {
        table->setHorizontalHeaderItem(
            column, new QTableWidgetItem(channels[static_cast<std::size_t>(column)].first));
        const ValueStatistics values = histograms[static_cast<std::size_t>(column)].GetStatistics();
        const auto exact = [&](double value) {
            return std::isnan(value) ? QString("–") : QString::fromStdString(pzel_io::ValueText(value, type));
        };
        const auto rounded = [](double value) {
            return std::isnan(value) ? QString("–") : QString::number(value, 'g', 6);
        };
        const QString texts[] = {
            exact(values.minimum),
            exact(values.maximum),
            rounded(values.mean),
            rounded(values.deviation),
            QString::number(values.count),
            QString::number(values.notNumbers + values.negativeInfinite + values.positiveInfinite)};
        for (int row = 0; row < RowCount; ++row) {
            auto* item = new QTableWidgetItem(texts[row]);
            item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            item->setToolTip(texts[row]);
            table->setItem(row, column, item);
        }
    }
    table->setRowHidden(NotNumbers, type != DataFloat);
    int height = table->horizontalHeader()->sizeHint().height() + 2 * table->frameWidth();
    for (int row = 0; row < RowCount; ++row)
        if (!table->isRowHidden(row)) height += table->rowHeight(row);
    table->setFixedHeight(height);
}

// The nearest pixel for each step of one pixel along the longer side.
void MeasurePanel::ShowProfile() {
    Comp* const comp = document.Active();
    const auto line = document.Profile();
    if (!comp || !line || !isVisible()) return profile->SetLines({});
    const Image& image = document.ValuesOf(*comp);
    const LayerState state = document.StateOf(*comp);
    const QPoint apart = line->to - line->from;
    const int steps = std::max({std::abs(apart.x()), std::abs(apart.y()), 1});
    const auto channels = FileChannels(image);
    std::vector<ProfilePlot::Line> lines;
    for (const auto& [name, colour] : channels) lines.push_back({colour, {}});
    for (int i = 0; i <= steps; ++i) {
        const int x = line->from.x() - state.x + static_cast<int>(std::lround(1.0 * apart.x() * i / steps));
        const int y = line->from.y() - state.y + static_cast<int>(std::lround(1.0 * apart.y() * i / steps));
        const bool isInside = x >= 0 && y >= 0 && x < image.width && y < image.height;
        std::vector<double> values(lines.size(), std::numeric_limits<double>::quiet_NaN());
        if (isInside) values = pzel_io::RowValues(image, y, x, 1);
        for (std::size_t channel = 0; channel < lines.size(); ++channel)
            lines[channel].values.push_back(values[channel]);
    }
    profile->SetLines(lines);
}

}  // namespace pzel_view
