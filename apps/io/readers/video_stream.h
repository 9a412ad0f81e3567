// The pictures of a video file, by number: frame N is the N-th that the file stores, however long it stays on
// the screen. The packets are counted once on opening; frames are decoded one after another, with a jump to a
// key picture where that is nearer. What is decoded must be whole: else decoding starts further back.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/picture_info.h"
#include "apps/io/readers/video_end.h"
#include "apps/io/readers/video_input.h"

namespace pzel_io {

class VideoStream {
  public:
    /// What is done about pictures that are not whole.
    enum class Damage { Refuse, Show };

    /// Opens a file and decodes its first picture.
    /// @throws FileError
    VideoStream(const std::filesystem::path& file, Damage damage);

    /// The number of frames, 1 or more.
    std::uint32_t Frames() const { return static_cast<std::uint32_t>(times.size()); }
    /// A frame, until the next call. Nothing where it is lost and damage is to be shown.
    /// @throws FileError where it cannot be decoded whole
    const AVFrame* Read(std::uint32_t number);
    /// Whether the frame that was read last was decoded without fault.
    bool IsIntact() const;
    /// What is left out, or missing.
    const std::vector<std::string>& Notes() const { return notes; }
    AVFormatContext* Container() const { return format.get(); }
    AVStream* Stream() const { return format->streams[stream]; }

  private:
    struct FormatCloser {
        void operator()(AVFormatContext* held) const { avformat_close_input(&held); }
    };
    struct CodecCloser {
        void operator()(AVCodecContext* held) const { avcodec_free_context(&held); }
    };
    struct FrameCloser {
        void operator()(AVFrame* held) const { av_frame_free(&held); }
    };
    struct PacketCloser {
        void operator()(AVPacket* held) const { av_packet_free(&held); }
    };
    // A picture that can be decoded by itself.
    struct Key {
        std::int64_t time;      // as packets tell it
        std::int64_t position;  // in the file
        std::uint32_t frame = 0;
    };

    [[noreturn]] void Fail(const std::string& reason) const { throw FileError(name, reason); }
    void OpenContainer();
    void OpenDecoder(const AVCodec& decoder);
    void CountFrames(VideoEnd end);
    bool IsPicture(const AVPacket& packet) const;
    void LeaveOutPictures();
    void SkipBrokenStart();

    std::size_t KeyBefore(std::uint32_t number) const;
    bool IsAhead(std::uint32_t number) const;
    bool Seek(std::int64_t target, int flags);
    bool JumpTo(const Key& key);
    bool Restart();
    bool DecodeTo(std::uint32_t number);
    bool DecodeNext();
    void Feed();
    std::optional<std::uint32_t> NumberOfFrame() const;

    std::filesystem::path name;
    Damage onDamage;
    VideoInput input;
    std::unique_ptr<AVFormatContext, FormatCloser> format;
    std::unique_ptr<AVCodecContext, CodecCloser> codec;
    std::unique_ptr<AVPacket, PacketCloser> packet;
    std::unique_ptr<AVFrame, FrameCloser> frame;  // the last one decoded
    std::vector<std::int64_t> times;              // of the frames, rising
    std::vector<Key> keys;                        // by rising frame
    std::vector<std::string> notes;
    int stream = -1;
    bool timesKnown = false;               // each frame has a time of its own
    bool drained = false;                  // the decoder was told that there is no more
    std::optional<std::uint32_t> current;  // number of the frame that was decoded last
    bool counting = false;                 // decoding goes on from the start, without a jump
};

}  // namespace pzel_io
