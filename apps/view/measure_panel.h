// Figures of the file's values: statistics of the dragged rectangle, or of the whole layer, and the profile
// along a line.
#pragma once

#include <QLabel>
#include <QTableWidget>
#include <QTimer>
#include <QWidget>
#include <vector>

#include "document.h"
#include "profile_plot.h"
#include "pzel/bounds/histogram.h"

namespace pzel_view {

class MeasurePanel final : public QWidget {
    Q_OBJECT

  public:
    MeasurePanel(Document& document, QWidget* parent);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    void ShowAll();
    void ShowProfile();
    void CountAnew();
    void CountSome();
    void ShowStatistics();

    Document& document;
    QLabel* place;
    QTableWidget* table;
    ProfilePlot* profile;
    QTimer timer;  // counts between other events
    Comp* counted = nullptr;
    QRect part;  // of the layer, that is counted
    int nextRow = 0;
    std::vector<Histogram> histograms;  // of the channels in a user's order
};

}  // namespace pzel_view
