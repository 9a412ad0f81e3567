// A number that can be typed: shown in as few digits as tell it from its neighbours, taken when the line is
// finished.
#pragma once

#include <QLineEdit>

namespace pzel_view {

class NumberEdit final : public QLineEdit {
    Q_OBJECT

  public:
    explicit NumberEdit(QWidget* parent);

    /// Another number is shown, unless one is being typed.
    void Show(double number);
    double Number() const { return number; }

    QSize sizeHint() const override;

  signals:
    /// Somebody typed another number.
    void entered(double number);

  protected:
    void focusOutEvent(QFocusEvent* event) override;

  private:
    void Take();

    double number = 0;
};

}  // namespace pzel_view
