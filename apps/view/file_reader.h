// Files on a thread of their own. Frames are read, decoded and prepared for display there, and handed over as
// finished records; whoever asked is told on the thread of the reader's owner, in the order of the answers.
#pragma once

#include <QObject>
#include <QString>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "apps/io/picture.h"
#include "apps/render/layer.h"

class OpenedLayer;

namespace pzel_view {

/// A frame ready to be shown, which nobody else has.
struct MadeFrame {
    std::uint32_t number = 0;
    pzel_io::OwnedImage image;
    pzel_io::OwnedImage values;  ///< the frame before its conversion for the display; null: the image itself
    ::Levels levels;             ///< what it is to be shown with at first, as stored; empty: none
    double offset = 0;           ///< to take off stored levels for the picture's values
    std::optional<pzel_io::Window> window;  ///< the range that the file asks to be shown, of this frame
    std::vector<std::string> notes;         ///< every conversion up to now
};

/// A file and its first frame.
struct OpenedFile {
    int source = 0;  ///< its number at the reader
    Layer wishes;
    pzel_io::PictureInfo info;
    MadeFrame first;
};

/// What somebody waits for comes before what will be needed soon.
enum class Haste { Now, Ahead };

class FileReader final : public QObject {
    Q_OBJECT

  public:
    using Failed = std::function<void(const QString& reason)>;
    using Opened = std::function<void(OpenedFile)>;
    using Made = std::function<void(MadeFrame)>;

    FileReader();
    /// Gives up what is being read.
    ~FileReader() override;

    /// Opens a layer's file and makes one of its frames, the last one where it has not so many.
    void Open(const Layer& wishes, std::uint32_t frame, Opened opened, Failed failed);
    /// Makes a frame of an open file.
    void Make(int source, std::uint32_t frame, Haste haste, Made made, Failed failed);
    /// Makes a frame by other wishes, which hold for later frames, too; where it fails those before stay.
    void MakeBy(int source, const Layer& wishes, std::uint32_t frame, Made made, Failed failed);
    /// Later frames are made by these wishes.
    void Follow(int source, const Layer& wishes);
    void Close(int source);

    /// Leaves out frames ahead that are not begun yet; nobody is told of them.
    void ForgetAhead();
    /// Gives up whatever is being opened or read or waits for it. Those who wait are told that it failed.
    void Cancel();

  signals:
    /// Something is asked for by somebody who waits; or all of it was answered.
    void busyChanged(bool busy);

  private:
    struct Job {
        Haste haste;
        std::function<void()> work;
        Failed failed;
        bool IsAwaited() const { return haste == Haste::Now && failed; }
    };

    void Post(Job job);
    void CountAwaited(int more);
    void Run();
    void Do(const Job& job);
    void Deliver(std::function<void()> answer);
    struct Source {
        Layer wishes;
        std::unique_ptr<OpenedLayer> opened;  // null where reading it was given up
    };
    MadeFrame MakeOf(int source, std::uint32_t frame);
    MadeFrame MakeFrame(OpenedLayer& opened, std::uint32_t frame);

    int awaited = 0;  // jobs whose ends somebody waits for; the asking thread's own
    std::mutex guard;
    std::condition_variable changed;
    std::deque<Job> waiting;
    bool ending = false;
    bool isWorking = false;  // at a job that somebody waits for
    std::atomic<bool> stop = false;
    int lastSource = 0;  // the thread's own, like what follows
    std::map<int, Source> sources;
    std::thread thread;  // last: it ends before what it uses
};

}  // namespace pzel_view
