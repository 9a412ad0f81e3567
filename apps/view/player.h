// Playing a document's movie: at its rate, in one of the library's ways through the selected frames. Which
// frames come is planned by a movie without layers that runs ahead, and told to the document, so that they
// are read before they are due.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "apps/io/file_movie.h"
#include "pzel/component/movie.h"

namespace pzel_view {

class Document;

/// What happens to frames that are not read in time.
enum class Pace {
    EveryFrame,  ///< they are waited for
    KeepRate     ///< they are left out
};

class Player final : public QObject {
    Q_OBJECT

  public:
    explicit Player(Document& document);

    bool IsPlaying() const { return isPlaying; }
    void Start();
    void Stop();
    void Toggle() { IsPlaying() ? Stop() : Start(); }

    /// One frame further through the selected ones, or back; that stops it.
    void Step(int by);
    void GoToFirst();
    void GoToLast();

    /// Frames a second: those of the file unless another number was set.
    double Rate() const;
    void SetRate(double framesPerSecond);
    /// Whether the rate is the file's own.
    bool HasOwnRate() const { return rate == 0; }
    MovieStatus Way() const { return way; }
    void SetWay(MovieStatus to);
    Pace GetPace() const { return pace; }
    void SetPace(Pace to);

    /// Frames that were left out since it was started.
    std::uint64_t LeftOut() const { return leftOut; }

  signals:
    void playingChanged(bool playing);
    /// Another rate, way or pace.
    void settingsChanged();

  private:
    void Plan();
    void PlanFrom(std::uint32_t frame);
    void Tick();
    void ShowDue();
    void Wait();
    void Follow(std::uint32_t frame);
    void ExpectPlanned(std::size_t from);

    Document& document;
    std::unique_ptr<Movie, pzel_io::Releaser> planner;
    std::deque<std::uint32_t> planned;  // the frames to come
    QTimer timer;
    QElapsedTimer clock;
    double due = 0;  // when the next frame is due, seconds of the clock
    bool isPlaying = false;
    bool isLate = false;                   // the frame that is due is not read yet
    std::optional<std::uint32_t> showing;  // the frame that is being shown by this
    double rate = 0;
    MovieStatus way = MoviePlayForward;
    Pace pace = Pace::EveryFrame;
    std::uint64_t leftOut = 0;
};

}  // namespace pzel_view
