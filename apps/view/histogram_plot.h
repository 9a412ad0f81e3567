// The histogram of one channel with a handle for black and one for white. It shows what it is given and says
// where somebody wants the handles; they move when it is given other levels.
#pragma once

#include <QColor>
#include <QWidget>
#include <optional>
#include <vector>

#include "apps/io/picture_info.h"
#include "pzel/bounds/histogram.h"

namespace pzel_view {

class HistogramPlot final : public QWidget {
    Q_OBJECT

  public:
    explicit HistogramPlot(QWidget* parent);

    /// Values and what to take off them for those of the picture; null for none. Not kept.
    void SetValues(const Histogram* histogram, double offset);
    void SetLevels(const pzel_io::Window& levels);
    /// Of the values; not valid: that of text.
    void SetColour(const QColor& colour);
    /// Counts by their logarithms, so that few are seen beside many.
    void SetLogarithmic(bool on);
    /// Levels that are the same both ways from 0: both handles move.
    void SetMirrored(bool on);
    /// All values, also where few are far from the others.
    void SetWholeRange(bool on);

    /// Where a value is painted.
    int PlaceOf(double value) const;

    QSize sizeHint() const override { return {260, 92}; }
    QSize minimumSizeHint() const override { return {160, 72}; }

  signals:
    /// A handle is taken, wanted elsewhere, and let go.
    void dragStarted();
    void dragged(const pzel_io::Window& levels);
    void dragEnded();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    enum class Grip { None, Black, White, Both };

    void SetAxis();
    void SetHeights();
    double ValueAt(double x) const;
    Grip GripAt(double x) const;
    QRect Plot() const;
    void PaintRamp(QPainter& painter, const QRect& ramp) const;
    void PaintHandle(QPainter& painter, double value, const QColor& colour) const;

    Histogram values;
    double offset = 0;
    QColor colour;
    bool logarithmic = false;
    bool mirrored = false;
    bool wholeRange = false;
    pzel_io::Window levels{0, 1};
    pzel_io::Window axis{0, 1};   // in the picture's values
    std::vector<double> heights;  // of the plot's columns, 0 … 1
    Grip grip = Grip::None;
    double grabbed = 0;            // the value under the pointer when a handle was taken
    pzel_io::Window before{0, 1};  // levels then
};

}  // namespace pzel_view
