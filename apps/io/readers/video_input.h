// The bytes of a video file for FFmpeg's demuxers: read from the one file that was named, whatever its
// content or its name suggest to open besides.
#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <filesystem>
#include <memory>
#include <vector>

namespace pzel_io {

class VideoInput {
  public:
    /// @throws FileError where the file cannot be opened
    explicit VideoInput(const std::filesystem::path& file);
    ~VideoInput();
    VideoInput(const VideoInput&) = delete;
    VideoInput& operator=(const VideoInput&) = delete;

    AVIOContext* Context() const { return context.get(); }
    std::int64_t Size() const { return size; }

    /// Bytes of the file.
    struct Range {
        std::int64_t begin, end;
    };
    /// From now on these bytes are not read, but come as zeros: coded pictures, while packets are only
    /// counted.
    void LeaveOut(std::vector<Range> ranges);
    void ReadAll() { leftOut.clear(); }

  private:
    struct Closer {
        void operator()(AVIOContext* io) const;
    };
    static int ReadSome(void* self, std::uint8_t* to, int count);
    static std::int64_t Seek(void* self, std::int64_t offset, int whence);
    int Read(std::uint8_t* to, std::int64_t count);

    int descriptor = -1;
    std::int64_t size = 0;
    std::int64_t at = 0;
    std::vector<Range> leftOut;  // rising, without overlaps
    std::unique_ptr<AVIOContext, Closer> context;
};

}  // namespace pzel_io
