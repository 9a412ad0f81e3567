// The line below everything: the values under the pointer, the zoom and the size, and how far reading or
// writing has come, with a button that gives it up.
#pragma once

#include <QObject>
#include <QTimer>

#include "document.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QStatusBar;

namespace pzel_view {

class FrameSaver;
class PictureView;

class StatusLine final : public QObject {
    Q_OBJECT

  public:
    StatusLine(Document& document, PictureView& picture, FrameSaver& saver, QStatusBar& bar);

  private:
    void ShowReadOut();
    void ShowZoom();
    void ShowWork();

    Document& document;
    PictureView& picture;
    FrameSaver& saver;
    QLabel* readOut;
    QLabel* zoom;
    QLabel* work;
    QProgressBar* bar;
    QPushButton* cancel;
    QTimer patience;  // short work is not told of
    QString opening;
    int done = 0;
    int total = 0;
};

}  // namespace pzel_view
