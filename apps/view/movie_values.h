// The levels that clip so many percent of the values of a whole movie, gathered on a thread of its own, which
// opens the file once more: the frames that are shown and those that are counted do not wait for each other.
#pragma once

#include <QObject>
#include <QString>
#include <stop_token>
#include <thread>

#include "apps/render/layer.h"
#include "apps/render/levels.h"
#include "level_choices.h"

namespace pzel_view {

class MovieValues final : public QObject {
    Q_OBJECT

  public:
    explicit MovieValues(QObject* parent) : QObject(parent) {}
    ~MovieValues() override { Cancel(); }

    /// Begins to look at all frames of a layer as it is made by these wishes, instead of what was begun.
    void Gather(const Layer& wishes, double percent, Sharing channels);
    /// Stops; nobody is told.
    void Cancel();
    bool IsBusy() const { return thread.joinable(); }

  signals:
    void progress(int done, int total);
    /// In the picture's values, one pair for each channel; not called after Cancel.
    void found(const Levels& levels);
    void failed(const QString& reason);

  private:
    int number = 0;  // of the last gathering: what earlier ones still say is dropped
    std::jthread thread;
};

}  // namespace pzel_view
