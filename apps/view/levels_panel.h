// Black and white of the active layer: a histogram with handles and two numbers for each channel, and the
// ways to have them chosen.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QWidget>
#include <vector>

#include "document.h"
#include "histogram_plot.h"
#include "level_choices.h"
#include "movie_values.h"
#include "number_edit.h"
#include "shown_channels.h"

class QVBoxLayout;

namespace pzel_view {

class LevelsPanel final : public QWidget {
    Q_OBJECT

  public:
    LevelsPanel(Document& document, QWidget* parent);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    struct Row {
        QWidget* box;
        QLabel* name;
        HistogramPlot* plot;
        NumberEdit* black;
        NumberEdit* white;
    };
    /// What values levels are chosen from.
    enum Source { Frame, Region, WholeMovie };

    void AddRow();
    void AddChoices(QVBoxLayout& layout);
    QPushButton* AddButton(QLayout& layout, const QString& text, const char* name, const QString& toolTip);
    void FillCopies();

    void ShowLayer();
    void ShowLevels();
    void ShowChoices();
    void CountAnew();
    void ShowHistograms();

    void SetOne(int channel, const pzel_io::Window& window, const QString& what, int gesture);
    Sharing Shared() const;
    void TakeAuto();
    void CopyTo(Comp& other);

    Document& document;
    ChannelHistograms histograms;
    MovieValues movie;
    std::vector<Row> rows;
    LevelKind kind = LevelKind::None;
    int gesture = 0;

    QLabel* nothing;
    QWidget* tools;
    QVBoxLayout* rowLayout;
    QCheckBox* together;
    QCheckBox* logarithmic;
    QCheckBox* wholeRange;
    QPushButton* data;
    QPushButton* full;
    QPushButton* file;
    QPushButton* automatic;
    QDoubleSpinBox* percent;
    QComboBox* source;
    QToolButton* copy;
    QWidget* busy;
    QProgressBar* bar;
};

}  // namespace pzel_view
