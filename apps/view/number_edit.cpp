// What is no number goes back to the one before.
#include "number_edit.h"

#include <QDoubleValidator>

#include "apps/io/picture_info.h"

namespace pzel_view {

NumberEdit::NumberEdit(QWidget* parent) : QLineEdit(parent) {
    auto* validator = new QDoubleValidator(this);
    validator->setLocale(QLocale::c());
    setValidator(validator);
    setMinimumWidth(fontMetrics().horizontalAdvance("-00000.0"));
    connect(this, &QLineEdit::editingFinished, this, &NumberEdit::Take);
}

QSize NumberEdit::sizeHint() const {
    return {fontMetrics().horizontalAdvance("-000000.000"), QLineEdit::sizeHint().height()};
}

void NumberEdit::Show(double to) {
    number = to;
    if (isModified() && hasFocus()) return;
    setText(QString::fromStdString(pzel_io::NumberText(number)));
    setCursorPosition(0);
}

void NumberEdit::Take() {
    if (!isModified()) return;
    bool isNumber = false;
    const double typed = QLocale::c().toDouble(text(), &isNumber);
    setModified(false);
    if (isNumber && typed != number) emit entered(typed);
    Show(number);
}

}  // namespace pzel_view
