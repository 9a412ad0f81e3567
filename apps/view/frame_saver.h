// Pictures on their way to files: the movie as it is shown, at its own size, for one frame or for all
// selected ones. Frames are shown one after the other while they are written by a thread.
#pragma once

#include <QImage>
#include <QObject>
#include <QString>
#include <cstdint>
#include <thread>
#include <vector>

#include "document.h"

namespace pzel_view {

class PictureView;

class FrameSaver final : public QObject {
    Q_OBJECT

  public:
    FrameSaver(Document& document, PictureView& picture);
    /// Waits for the file that is being written.
    ~FrameSaver() override;

    /// Writes the picture as PNG, JPEG or TIFF by the ending of the name.
    void SavePicture(const QString& file);
    /// Writes what is seen in the window.
    void SaveView(const QString& file);
    /// Writes NAME_0007.png and so on, for all selected frames.
    void SaveFrames(const QString& file);
    void Cancel();

    bool IsSaving() const { return !frames.empty(); }
    int Done() const { return done; }
    int Total() const { return static_cast<int>(frames.size()); }

  signals:
    void progress();
    void failed(const QString& reason);
    /// All is written.
    void finished(const QString& what);

  private:
    void Next();
    void Write(const QImage& image, const QString& name, const std::function<void()>& then);
    void Shown();
    void End();

    Document& document;
    PictureView& picture;
    QString file;
    std::vector<std::uint32_t> frames;
    int done = 0;
    std::uint32_t before = 0;  // the frame that was shown before
    bool isWaiting = false;    // for a frame
    std::thread writer;
};

}  // namespace pzel_view
