// A line above the picture that says what went wrong. It waits there without being in the way.
#pragma once

#include <QFrame>

class QLabel;

namespace pzel_view {

class MessageBar final : public QFrame {
    Q_OBJECT

  public:
    explicit MessageBar(QWidget* parent);

    void Show(const QString& message);
    QString Text() const;

  private:
    QLabel* text;
};

}  // namespace pzel_view
