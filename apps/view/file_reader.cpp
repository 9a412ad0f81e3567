// The reading thread: one job after the other, the waited-for ones first.
#include "file_reader.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "apps/render/opened_layer.h"
#include "pzel/display/boundary.h"

namespace pzel_view {

namespace {

constexpr int kMostChannels = 3;

// A file of two channels has no colours: its arrows are what can be seen of it.
void TakeForVectors(Layer& wishes, const pzel_io::PictureInfo& info) {
    if (wishes.role == Role::Picture && info.channels == 2) wishes.role = Role::Vectors;
}

std::unique_ptr<OpenedLayer> OpenPrepared(const Layer& asked, const std::atomic<bool>& stop) {
    Layer wishes = asked;
    auto opened = std::make_unique<OpenedLayer>(wishes, &stop);
    TakeForVectors(wishes, opened->Info());
    if (opened->Info().channels > kMostChannels)
        throw pzel_io::FileError(opened->Info().file, "has more channels than can be shown");
    opened->layer = wishes;
    // Thresholds are dragged.
    if (wishes.role == Role::Mask || wishes.role == Role::Boundary) opened->KeepLastFrame();
    opened->Prepare();
    return opened;
}

// Files are read differently as pictures, as masks and as vectors.
bool IsReadAlike(const Layer& one, const Layer& other) {
    const auto kind = [](const Layer& layer) {
        return layer.role == Role::Picture ? 0 : layer.role == Role::Vectors ? 1 : 2;
    };
    const bool byColour = one.maskValue && one.maskValue->rgb;
    const bool otherByColour = other.maskValue && other.maskValue->rgb;
    return kind(one) == kind(other) && byColour == otherByColour;
}

}  // namespace

FileReader::FileReader() : thread([this] { Run(); }) {}

FileReader::~FileReader() {
    {
        const std::lock_guard lock(guard);
        ending = true;
        waiting.clear();
        stop = true;
    }
    changed.notify_all();
    thread.join();
}

void FileReader::Open(const Layer& wishes, std::uint32_t frame, Opened opened, Failed failed) {
    Post({Haste::Now,
          [this, wishes, frame, told = std::move(opened)] {
              auto source = OpenPrepared(wishes, stop);
              auto file = std::make_shared<OpenedFile>();
              file->wishes = source->layer;
              file->info = source->Info();
              file->first = MakeFrame(*source, std::min(frame, source->Info().frames - 1));
              file->source = ++lastSource;
              sources[lastSource] = {file->wishes, std::move(source)};
              Deliver([file, told] { told(std::move(*file)); });
          },
          std::move(failed)});
}

void FileReader::Make(int source, std::uint32_t frame, Haste haste, Made made, Failed failed) {
    Post({haste,
          [this, source, frame, told = std::move(made)] {
              auto result = std::make_shared<MadeFrame>(MakeOf(source, frame));
              Deliver([result, told] { told(std::move(*result)); });
          },
          std::move(failed)});
}

void FileReader::MakeBy(int source, const Layer& wishes, std::uint32_t frame, Made made, Failed failed) {
    Post({Haste::Now,
          [this, source, wishes, frame, told = std::move(made)] {
              Source& place = sources.at(source);
              std::shared_ptr<MadeFrame> result;
              if (place.opened && IsReadAlike(place.wishes, wishes)) {
                  try {
                      place.opened->layer = wishes;
                      place.opened->Prepare();
                      result = std::make_shared<MadeFrame>(MakeFrame(*place.opened, frame));
                  } catch (...) {
                      place.opened.reset();
                      throw;
                  }
              } else {
                  auto other = OpenPrepared(wishes, stop);
                  result = std::make_shared<MadeFrame>(MakeFrame(*other, frame));
                  place.opened = std::move(other);
              }
              place.wishes = wishes;
              Deliver([result, told] { told(std::move(*result)); });
          },
          std::move(failed)});
}

void FileReader::Follow(int source, const Layer& wishes) {
    Post({Haste::Now,
          [this, source, wishes] {
              Source& place = sources.at(source);
              place.wishes = wishes;
              if (place.opened) place.opened->layer = wishes;
          },
          {}});
}

void FileReader::Close(int source) {
    Post({Haste::Now, [this, source] { sources.erase(source); }, {}});
}

void FileReader::ForgetAhead() {
    const std::lock_guard lock(guard);
    std::erase_if(waiting, [](const Job& job) { return job.haste == Haste::Ahead; });
}

void FileReader::Cancel() {
    std::deque<Job> given;
    int awaitedOfThem = 0;
    {
        const std::lock_guard lock(guard);
        // Those that nobody waits for close files, and stay.
        for (auto job = waiting.begin(); job != waiting.end();) {
            if (!job->failed) {
                ++job;
                continue;
            }
            awaitedOfThem += job->IsAwaited();
            given.push_back(std::move(*job));
            job = waiting.erase(job);
        }
        if (isWorking) stop = true;
    }
    for (const Job& job : given) job.failed(tr("Cancelled"));
    CountAwaited(-awaitedOfThem);
}

void FileReader::Post(Job job) {
    CountAwaited(job.IsAwaited());
    {
        const std::lock_guard lock(guard);
        const auto behind = std::find_if(waiting.begin(), waiting.end(), [&](const Job& other) {
            return job.haste == Haste::Now && other.haste == Haste::Ahead;
        });
        waiting.insert(behind, std::move(job));
    }
    changed.notify_all();
}

void FileReader::CountAwaited(int more) {
    const bool wasBusy = std::exchange(awaited, awaited + more) > 0;
    if (wasBusy != (awaited > 0)) emit busyChanged(awaited > 0);
}

void FileReader::Run() {
    for (;;) {
        Job job;
        {
            std::unique_lock lock(guard);
            changed.wait(lock, [this] { return ending || !waiting.empty(); });
            if (ending) break;
            job = std::move(waiting.front());
            waiting.pop_front();
            isWorking = job.IsAwaited();
        }
        Do(job);
        if (job.IsAwaited()) Deliver([this] { CountAwaited(-1); });
        const std::lock_guard lock(guard);
        isWorking = false;
        if (!ending) stop = false;
    }
    sources.clear();
}

void FileReader::Do(const Job& job) {
    const auto fail = [&](const QString& reason) {
        if (job.failed) Deliver([reason, told = job.failed] { told(reason); });
    };
    try {
        job.work();
    } catch (const std::bad_alloc&) {
        fail(tr("There is not enough memory for it"));
    } catch (const std::exception& error) {
        fail(stop ? tr("Cancelled") : QString::fromStdString(error.what()));
    }
}

void FileReader::Deliver(std::function<void()> answer) {
    QMetaObject::invokeMethod(this, std::move(answer), Qt::QueuedConnection);
}

MadeFrame FileReader::MakeOf(int source, std::uint32_t frame) {
    Source& place = sources.at(source);
    if (!place.opened) place.opened = OpenPrepared(place.wishes, stop);
    try {
        return MakeFrame(*place.opened, frame);
    } catch (...) {
        if (stop) place.opened.reset();
        throw;
    }
}

MadeFrame FileReader::MakeFrame(OpenedLayer& opened, std::uint32_t frame) {
    MadeFrame made;
    made.number = frame;
    made.image = opened.Make(frame);
    made.values = opened.Maker().TakeValues();
    made.levels = opened.Maker().WantedLevels();
    made.offset = opened.Maker().Offset();
    made.window = opened.Maker().FileWindow();
    made.notes = opened.Maker().Conversions();
    if (opened.layer.role == Role::Boundary) made.image.reset(MaskToBoundary(made.image.get()));
    return made;
}

}  // namespace pzel_view
