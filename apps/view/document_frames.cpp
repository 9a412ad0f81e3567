// Frames on their way to the screen: asked for, read, kept in rings, and shown by all layers at once.
#include <algorithm>
#include <limits>
#include <utility>

#include "document.h"

namespace pzel_view {

namespace {

// Layers of fewer frames than the movie stay at their last one.
std::uint32_t OwnFrame(const pzel_io::PictureInfo& info, std::uint32_t frame) {
    return std::min(frame, info.frames - 1);
}

}  // namespace

std::vector<Document::FileLayer*> Document::Shown() {
    std::vector<FileLayer*> shown;
    for (Comp* comp : Layers()) shown.push_back(&FileOf(*comp));
    return shown;
}

bool Document::HasFrame(std::uint32_t frame) {
    const std::vector<FileLayer*> shown = Shown();
    return std::all_of(shown.begin(), shown.end(), [&](const FileLayer* file) {
        const std::uint32_t own = OwnFrame(file->info, frame);
        return file->frame == own || file->ring.Has(own);
    });
}

void Document::GoTo(std::uint32_t frame) {
    if (IsEmpty()) return;
    frame = std::min(frame, Frames() - 1);
    if (ShowNow(frame)) return;
    wanted = frame;
    ReadWanted();
}

bool Document::ShowNow(std::uint32_t frame) {
    if (IsEmpty() || frame >= Frames() || !HasFrame(frame)) return false;
    wanted.reset();
    ShowFrame(frame);
    return true;
}

void Document::ShowFrame(std::uint32_t frame) {
    for (FileLayer* file : Shown()) {
        const std::uint32_t own = OwnFrame(file->info, frame);
        if (file->frame == own || file->asked) continue;
        Install(*file, std::move(*file->ring.Take(own)), false);
        file->comp->NotifyObserver(EventImage, 0);
    }
    if (!movie->SetCurrentFrame(frame)) movie->NotifyObserver(EventCurrentFrame, 0);
    emit ringChanged();
}

// A layer whose image was being made stood still meanwhile, and frames of it that came were of no use.
void Document::CatchUp() {
    if (asking && !wanted) wanted = asking;
    asking.reset();
    GoTo(wanted.value_or(CurrentFrame()));
}

void Document::ReadWanted() {
    if (!wanted || asking) return;
    asking = wanted;
    reader.ForgetAhead();
    for (const auto& file : files) file->ahead.clear();
    for (FileLayer* file : Shown()) {
        const std::uint32_t own = OwnFrame(file->info, *wanted);
        if (file->frame != own && !file->ring.Has(own)) Read(*file, own, Haste::Now);
    }
}

void Document::Expect(const std::vector<std::uint32_t>& frames) {
    expected = frames;
    ReadAhead();
}

// A few frames are asked for at a time, so that what is wanted meanwhile need not wait for long.
void Document::ReadAhead() {
    constexpr std::size_t kAtATime = 8;
    if (wanted || asking) return;
    for (FileLayer* file : Shown()) {
        if (file->info.frames < 2 || file->ahead.size() > kAtATime / 2) continue;
        const std::size_t room = FrameRing::Room(GetImageTotalBytes(file->comp->GetCurrentImage()));
        std::vector<std::uint32_t> missing;
        for (std::size_t i = 0; i + 1 < std::min(room, expected.size()) && missing.size() < kAtATime; ++i) {
            const std::uint32_t own = OwnFrame(file->info, expected[i]);
            const bool isRead = file->frame == own || file->ring.Has(own) ||
                                std::find(file->ahead.begin(), file->ahead.end(), own) != file->ahead.end() ||
                                std::find(missing.begin(), missing.end(), own) != missing.end();
            if (!isRead) missing.push_back(own);
        }
        // Files are read forward, also where they are shown backward.
        std::sort(missing.begin(), missing.end());
        for (const std::uint32_t frame : missing) Read(*file, frame, Haste::Ahead);
    }
}

void Document::Read(FileLayer& file, std::uint32_t frame, Haste haste) {
    const int source = file.source;
    file.ahead.push_back(frame);
    reader.Make(
        source, frame, haste, [this, source](MadeFrame made) { Arrived(source, std::move(made)); },
        [this, source, frame, haste](const QString& reason) { NotArrived(source, frame, haste, reason); });
}

void Document::Arrived(int source, MadeFrame made) {
    FileLayer* const file = FileOfSource(source);
    if (!file) return;
    std::erase(file->ahead, made.number);
    // An image by other wishes is on its way: frames of these are none of the layer's any more.
    if (!file->remaking && made.number != file->frame)
        file->ring.Put(std::move(made), [this](std::uint32_t frame) { return RankOf(frame); });
    if (asking && HasFrame(*asking)) {
        const std::uint32_t frame = *std::exchange(asking, std::nullopt);
        if (wanted == frame) wanted.reset();
        ShowFrame(frame);
        ReadWanted();
    } else {
        emit ringChanged();
    }
    ReadAhead();
}

void Document::NotArrived(int source, std::uint32_t frame, Haste haste, const QString& reason) {
    if (FileLayer* const file = FileOfSource(source)) std::erase(file->ahead, frame);
    if (haste == Haste::Ahead) return;
    asking.reset();
    wanted.reset();
    emit failed(reason);
}

std::vector<std::uint32_t> Document::ReadFrames() const {
    std::vector<std::uint32_t> frames;
    for (const auto& file : files) {
        if (file->info.frames < 2 || file->comp->GetParent() != movie.get()) continue;
        frames = file->ring.Frames();
        frames.push_back(file->frame);
        break;
    }
    return frames;
}

// How soon a frame is needed: by its place among those expected, else by how far it is.
std::size_t Document::RankOf(std::uint32_t frame) const {
    if (wanted == frame || asking == frame) return 0;
    const auto found = std::find(expected.begin(), expected.end(), frame);
    if (found != expected.end()) return static_cast<std::size_t>(found - expected.begin()) + 1;
    const auto current = static_cast<std::int64_t>(movie->GetCurrentFrame());
    return expected.size() + 1 +
           static_cast<std::size_t>(std::abs(current - static_cast<std::int64_t>(frame)));
}

}  // namespace pzel_view
