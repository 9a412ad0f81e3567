// Bits, greys and colours are written as the library drew them, through the same encoders as those of the
// command line.
#include "frame_saver.h"

#include <QFileInfo>
#include <utility>

#include "apps/io/picture_writer.h"
#include "picture_view.h"

namespace pzel_view {

namespace {

constexpr int kFewestDigits = 4;

// The bytes of an image as the encoders take them.
pzel_io::FilePicture AsFilePicture(const QImage& image) {
    const auto kind = image.format() == QImage::Format_Mono         ? pzel_io::PixelKind::Bits
                      : image.format() == QImage::Format_Grayscale8 ? pzel_io::PixelKind::Grey8
                                                                    : pzel_io::PixelKind::Bgr24;
    return {image.constBits(), image.width(), image.height(), image.bytesPerLine(), kind};
}

QString NumberedName(const QString& file, std::uint32_t frame) {
    const QFileInfo info(file);
    const QString number = QString::number(frame).rightJustified(kFewestDigits, '0');
    return info.path() + "/" + info.completeBaseName() + "_" + number + "." + info.suffix();
}

}  // namespace

FrameSaver::FrameSaver(Document& shown, PictureView& view) : QObject(&view), document(shown), picture(view) {
    connect(&document, &Document::frameShown, this, &FrameSaver::Shown);
    connect(&document, &Document::failed, this, [this] {
        if (IsSaving()) End();
    });
    connect(&document, &Document::opened, this, [this] {
        if (IsSaving()) End();
    });
}

FrameSaver::~FrameSaver() {
    if (writer.joinable()) writer.join();
}

void FrameSaver::SavePicture(const QString& name) {
    Write(picture.Picture(document.Extent(), 1), name,
          [this, name] { emit finished(tr("Saved %1").arg(name)); });
}

void FrameSaver::SaveView(const QString& name) {
    Write(picture.Picture(picture.VisibleArea(), picture.Zoom()), name,
          [this, name] { emit finished(tr("Saved %1").arg(name)); });
}

void FrameSaver::SaveFrames(const QString& name) {
    if (IsSaving() || document.IsEmpty()) return;
    document.GetPlayer().Stop();
    file = name;
    before = document.CurrentFrame();
    done = 0;
    for (FrameIterator frame = document.GetMovie().GetFrameIterator(); !frame.Done(); ++frame)
        frames.push_back(static_cast<std::uint32_t>(*frame));
    if (frames.empty())
        for (std::uint32_t frame = 0; frame < document.Frames(); ++frame) frames.push_back(frame);
    document.Expect(frames);
    emit progress();
    Next();
}

void FrameSaver::Next() {
    if (!IsSaving()) return;
    if (done == Total()) {
        const QString what = tr("Saved %n frame(s)", nullptr, Total());
        End();
        emit finished(what);
        return;
    }
    isWaiting = true;
    document.GoTo(frames[static_cast<std::size_t>(done)]);
}

void FrameSaver::Shown() {
    if (!isWaiting || document.CurrentFrame() != frames[static_cast<std::size_t>(done)]) return;
    isWaiting = false;
    Write(picture.Picture(document.Extent(), 1), NumberedName(file, document.CurrentFrame()), [this] {
        ++done;
        emit progress();
        Next();
    });
}

void FrameSaver::Write(const QImage& image, const QString& name, const std::function<void()>& then) {
    const std::filesystem::path path = name.toStdString();
    const std::optional<pzel_io::FileFormat> format = pzel_io::FormatOfName(path);
    if (!format) {
        if (IsSaving()) End();
        emit failed(tr("%1: the name ends in none of .png, .jpg and .tif").arg(name));
        return;
    }
    if (writer.joinable()) writer.join();
    writer = std::thread([this, image, path, how = *format, then] {
        QString reason;
        try {
            pzel_io::EncodeOptions options;
            options.threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
            pzel_io::WrittenPicture(path, AsFilePicture(image), how, options).Commit();
        } catch (const std::exception& error) {
            reason = QString::fromStdString(error.what());
        }
        QMetaObject::invokeMethod(
            this,
            [this, reason, then] {
                if (reason.isEmpty()) return then();
                if (IsSaving()) End();
                emit failed(reason);
            },
            Qt::QueuedConnection);
    });
}

void FrameSaver::Cancel() {
    if (IsSaving()) End();
}

void FrameSaver::End() {
    frames.clear();
    done = 0;
    isWaiting = false;
    document.GoTo(before);
    emit progress();
}

}  // namespace pzel_view
