// The time panel: playing and stepping, the time line, and how it is played.
#pragma once

#include <QWidget>

#include "document.h"

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;
class QToolButton;

namespace pzel_view {

class TimePanel final : public QWidget {
    Q_OBJECT

  public:
    TimePanel(Document& document, QWidget* parent);

  private:
    QToolButton* AddButton(const char* name, int icon, const QString& tip, const std::function<void()>& slot);
    QWidget* MakeButtons();
    QWidget* MakeSettings();
    void ShowFrame();
    void ShowSettings();

    Document& document;
    QToolButton* play;
    QSpinBox* frame;
    QLabel* total;
    QDoubleSpinBox* rate;
    QComboBox* way;
    QComboBox* pace;
};

}  // namespace pzel_view
