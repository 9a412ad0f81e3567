// The values along a line, a curve for each channel.
#pragma once

#include <QColor>
#include <QWidget>
#include <vector>

namespace pzel_view {

class ProfilePlot final : public QWidget {
    Q_OBJECT

  public:
    explicit ProfilePlot(QWidget* parent);

    struct Line {
        QColor colour;  ///< not valid: that of text
        std::vector<double> values;
    };
    /// Pixels in their order along the line; values that are no numbers leave gaps.
    void SetLines(const std::vector<Line>& lines);

    QSize sizeHint() const override { return {260, 120}; }
    QSize minimumSizeHint() const override { return {120, 80}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::vector<Line> lines;
};

}  // namespace pzel_view
