// Reading, seeking, and passing over what need not be read.
#include "apps/io/readers/video_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "apps/io/picture_info.h"

namespace pzel_io {

namespace {

constexpr int kBufferBytes = 1 << 16;

}  // namespace

void VideoInput::Closer::operator()(AVIOContext* io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
}

VideoInput::VideoInput(const std::filesystem::path& file)
    : descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat found {};
    if (descriptor < 0 || fstat(descriptor, &found) != 0) throw FileError(file, std::strerror(errno));
    size = found.st_size;
    auto* const buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    context.reset(avio_alloc_context(buffer, kBufferBytes, 0, this, ReadSome, nullptr, Seek));
    if (!buffer || !context) throw std::bad_alloc();
}

VideoInput::~VideoInput() {
    if (descriptor >= 0) close(descriptor);
}

void VideoInput::LeaveOut(std::vector<Range> ranges) {
    std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) { return a.begin < b.begin; });
    leftOut.clear();
    for (const Range& range : ranges) {
        if (range.begin < 0 || range.end <= range.begin) continue;
        if (!leftOut.empty() && range.begin <= leftOut.back().end) {
            leftOut.back().end = std::max(leftOut.back().end, range.end);
        } else {
            leftOut.push_back(range);
        }
    }
}

int VideoInput::Read(std::uint8_t* to, std::int64_t count) {
    count = std::min(count, size - at);
    if (count <= 0) return AVERROR_EOF;
    const auto next =
        std::upper_bound(leftOut.begin(), leftOut.end(), at,
                         [](std::int64_t place, const Range& range) { return place < range.end; });
    if (next != leftOut.end() && next->begin <= at) {
        count = std::min(count, next->end - at);
        std::memset(to, 0, static_cast<std::size_t>(count));
        at += count;
        return static_cast<int>(count);
    }
    if (next != leftOut.end()) count = std::min(count, next->begin - at);
    const ssize_t read = pread(descriptor, to, static_cast<std::size_t>(count), at);
    if (read <= 0) return read < 0 ? AVERROR(errno) : AVERROR_EOF;
    at += read;
    return static_cast<int>(read);
}

int VideoInput::ReadSome(void* self, std::uint8_t* to, int count) {
    return static_cast<VideoInput*>(self)->Read(to, count);
}

std::int64_t VideoInput::Seek(void* self, std::int64_t offset, int whence) {
    auto& input = *static_cast<VideoInput*>(self);
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE: return input.size;
        case SEEK_SET: break;
        case SEEK_CUR: offset += input.at; break;
        case SEEK_END: offset += input.size; break;
        default: return AVERROR(EINVAL);
    }
    if (offset < 0) return AVERROR(EINVAL);
    return input.at = offset;
}

}  // namespace pzel_io
