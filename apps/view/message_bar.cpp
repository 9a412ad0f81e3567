// The next message takes the place of the last one; the button hides it.
#include "message_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

namespace pzel_view {

MessageBar::MessageBar(QWidget* parent) : QFrame(parent), text(new QLabel(this)) {
    setObjectName("message");
    setStyleSheet(
        "#message { background: #8f2d2d; } #message QLabel, #message QToolButton { color: white; }");
    text->setWordWrap(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* close = new QToolButton(this);
    close->setText(tr("Dismiss"));
    close->setToolTip(tr("Hides this message"));
    close->setAutoRaise(true);
    connect(close, &QToolButton::clicked, this, &QWidget::hide);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 4, 6, 4);
    row->addWidget(text, 1);
    row->addWidget(close);
    hide();
}

void MessageBar::Show(const QString& message) {
    text->setText(message);
    show();
}

QString MessageBar::Text() const {
    return isVisibleTo(parentWidget()) ? text->text() : QString();
}

}  // namespace pzel_view
