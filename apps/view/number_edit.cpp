// What is no number goes back to the one before.
#include "number_edit.h"

#include <QDoubleValidator>
#include <QFocusEvent>

#include "apps/io/picture_info.h"

namespace pzel_view {

namespace {

// Numbers as the command line has them, without commas.
QLocale Plain() {
    QLocale plain = QLocale::c();
    plain.setNumberOptions(QLocale::RejectGroupSeparator);
    return plain;
}

QString TextOf(double number) {
    return QString::fromStdString(pzel_io::NumberText(number));
}

}  // namespace

NumberEdit::NumberEdit(QWidget* parent) : QLineEdit(parent) {
    auto* validator = new QDoubleValidator(this);
    validator->setLocale(Plain());
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
    setText(TextOf(number));
    setCursorPosition(0);
}

// Of what is half a number no line is ever told to be finished.
void NumberEdit::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    if (!hasFocus() && event->reason() != Qt::ActiveWindowFocusReason &&
        event->reason() != Qt::PopupFocusReason)
        Take();
}

void NumberEdit::Take() {
    if (text() == TextOf(number)) return;
    bool isNumber = false;
    const double typed = Plain().toDouble(text(), &isNumber);
    setModified(false);
    if (isNumber && typed != number) emit entered(typed);
    Show(number);
}

}  // namespace pzel_view
