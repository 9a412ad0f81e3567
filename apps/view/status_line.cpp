// Reading shows itself only where it takes longer than a moment.
#include "status_line.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>

#include "frame_saver.h"
#include "picture_view.h"
#include "read_out.h"

namespace pzel_view {

namespace {

constexpr int kMoment = 150;  // milliseconds

}  // namespace

StatusLine::StatusLine(Document& shown, PictureView& view, FrameSaver& frameSaver, QStatusBar& line)
    : QObject(&line), document(shown), picture(view), saver(frameSaver) {
    readOut = new QLabel(&line);
    readOut->setObjectName("readOut");
    readOut->setTextInteractionFlags(Qt::NoTextInteraction);
    readOut->setMinimumWidth(40);
    readOut->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    zoom = new QLabel(&line);
    zoom->setObjectName("zoom");
    work = new QLabel(&line);
    bar = new QProgressBar(&line);
    bar->setObjectName("progress");
    bar->setMaximumWidth(160);
    cancel = new QPushButton(tr("Cancel"), &line);
    cancel->setObjectName("cancel");
    cancel->setToolTip(tr("Gives up what is being read or written"));
    line.addWidget(readOut, 1);
    for (QWidget* widget : std::initializer_list<QWidget*>{work, bar, cancel, zoom})
        line.addPermanentWidget(widget);
    line.setMinimumHeight(cancel->sizeHint().height() + 4);  // the picture stays where it is
    patience.setSingleShot(true);
    patience.setInterval(kMoment);
    connect(&patience, &QTimer::timeout, this, &StatusLine::ShowWork);
    connect(cancel, &QPushButton::clicked, this, [this] {
        saver.Cancel();
        document.Cancel();
    });
    connect(&document, &Document::progress, this, [this](int isDone, int ofAll, const QString& what) {
        opening = tr("Opening %1").arg(what);
        done = isDone;
        total = ofAll;
    });
    connect(&document, &Document::readingChanged, this, [this](bool reading) {
        if (reading) {
            patience.start();
        } else {
            opening.clear();
            total = 0;
            patience.stop();
            ShowWork();
        }
    });
    connect(&saver, &FrameSaver::progress, this, &StatusLine::ShowWork);
    connect(&picture, &PictureView::hoveredChanged, this, &StatusLine::ShowReadOut);
    connect(&document, &Document::frameShown, this, &StatusLine::ShowReadOut);
    connect(&document, &Document::layerChanged, this, &StatusLine::ShowReadOut);
    connect(&picture, &PictureView::partChanged, this, &StatusLine::ShowZoom);
    ShowWork();
    ShowZoom();
}

void StatusLine::ShowReadOut() {
    const std::optional<QPoint> pixel = picture.Hovered();
    readOut->setText(pixel && !document.IsEmpty() ? ReadOut(document, *pixel) : QString());
}

void StatusLine::ShowZoom() {
    const QRect extent = document.Extent();
    const int now = picture.Zoom();
    const QString ratio = now > 0 ? QString("%1 : 1").arg(now) : QString("1 : %1").arg(-now);
    zoom->setText(extent.isEmpty()
                      ? QString()
                      : tr("%1 × %2 pixels, %3").arg(extent.width()).arg(extent.height()).arg(ratio));
}

void StatusLine::ShowWork() {
    const bool isSaving = saver.IsSaving();
    const bool isReading = document.IsReading() && !patience.isActive();
    for (QWidget* widget : std::initializer_list<QWidget*>{work, bar, cancel})
        widget->setVisible(isSaving || isReading);
    if (isSaving) {
        work->setText(tr("Saving frames"));
        bar->setRange(0, saver.Total());
        bar->setValue(saver.Done());
    } else if (isReading) {
        work->setText(opening.isEmpty() ? tr("Reading") : opening);
        bar->setRange(0, total > 1 ? total : 0);  // nobody knows how far a single file is
        bar->setValue(done);
    }
}

}  // namespace pzel_view
