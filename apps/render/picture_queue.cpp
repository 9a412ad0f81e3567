// Threads take pictures as they come, encode and write them, and wait for their turn to show them.
#include "picture_queue.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include "apps/io/all_processors.h"
#include "apps/io/parallel.h"

namespace {

using pzel_io::FilePicture;
using pzel_io::WrittenPicture;

constexpr std::size_t kMostWaiting = 2;

// The same picture with pixels of its own.
FilePicture CopyTo(std::vector<unsigned char>& pixels, const FilePicture& picture) {
    const std::size_t rowBytes = RowBytes(picture);
    pixels.resize(rowBytes * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y)
        std::memcpy(pixels.data() + static_cast<std::size_t>(y) * rowBytes, picture.Row(y), rowBytes);
    FilePicture copy = picture;
    copy.pixels = pixels.data();
    copy.rowBytes = static_cast<std::ptrdiff_t>(rowBytes);
    return copy;
}

}  // namespace

PictureQueue::PictureQueue(const WriteSettings& common, std::uint64_t expected, Tell teller)
    : settings(common), tell(std::move(teller)) {
    const int processors = pzel_io::Processors();
    settings.encode.threads = expected > 1 ? 1 : processors;
    // Of several pictures each has a processor for its file, and the next one is composed beside them.
    if (expected < 2) {
        pzel_io::UseAllProcessors();
        return;
    }
    const auto count = std::min(expected, static_cast<std::uint64_t>(processors));
    try {
        while (workers.size() < count) workers.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
        // Fewer threads take longer, and that is all.
    }
}

PictureQueue::~PictureQueue() {
    Close();
}

void PictureQueue::Put(const std::filesystem::path& file, const FilePicture& picture, std::string line) {
    Job job{next++, file, picture, {}, std::move(line)};
    if (workers.empty()) return Write(job);
    if (!file.empty()) job.picture = CopyTo(job.pixels, picture);
    std::unique_lock lock(guard);
    changed.wait(lock, [this] { return failure || waiting.size() < kMostWaiting; });
    if (failure) std::rethrow_exception(failure);
    waiting.push_back(std::move(job));
    changed.notify_all();
}

void PictureQueue::Finish() {
    Close();
    if (failure) std::rethrow_exception(failure);
}

void PictureQueue::Close() {
    {
        const std::lock_guard lock(guard);
        closed = true;
    }
    changed.notify_all();
    workers.clear();
}

void PictureQueue::Work() {
    std::unique_lock lock(guard);
    for (;;) {
        changed.wait(lock, [this] { return closed || failure || !waiting.empty(); });
        if (failure || waiting.empty()) return;
        const Job job = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        changed.notify_all();
        std::optional<std::exception_ptr> failed;
        try {
            Write(job);
        } catch (...) {
            failed = std::current_exception();
        }
        lock.lock();
        // Later pictures wait for their turn, and find that there is none.
        if (failed && !failure) failure = *failed;
        changed.notify_all();
    }
}

void PictureQueue::Write(const Job& job) {
    std::optional<WrittenPicture> written;
    std::exception_ptr failed;
    try {
        if (!job.file.empty()) written.emplace(job.file, job.picture, settings.format, settings.encode);
    } catch (...) {
        failed = std::current_exception();
    }
    std::unique_lock lock(guard);
    changed.wait(lock, [&] { return failure || turn == job.number; });
    if (failure) return;
    if (failed) std::rethrow_exception(failed);
    if (written) written->Commit();
    tell(job.line);
    ++turn;
    changed.notify_all();
}
