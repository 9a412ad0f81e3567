// Videos: frame N is the N-th picture that the file stores, however long it stays on the screen. The packets
// are counted once on opening; frames are decoded one after another, with a jump to the last key picture
// where the wanted one is not ahead. Sound is left alone.
#include "apps/io/readers/reader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <string_view>

namespace pzel_io {

namespace {

constexpr int kColourChannels = 3;
constexpr std::uint32_t kFarAhead = 64;  // frames that are rather decoded than jumped over

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecCloser {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameCloser {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketCloser {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScalerCloser {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

class VideoReader final : public Reader {
  public:
    explicit VideoReader(const OpenRequest& request) : Reader(request) {
        av_log_set_level(AV_LOG_QUIET);  // what matters is reported in one line
        info.type = DataUInt8;
        info.channels = kColourChannels;
        info.model = SubColour;
        packet.reset(av_packet_alloc());
        frame.reset(av_frame_alloc());
        if (!packet || !frame) Fail("does not fit into memory");
        Open();
        CountFrames();
        CheckSize();
        Restart();
        info.conversions.push_back("video frames decoded to 8-bit colour");
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const RawPixels read = ReadFrame(wanted.frame);
        if (read.size() != pixels.size()) Fail("is cut short");
        std::copy(read.begin(), read.end(), pixels.begin());
        return {};
    }

  private:
    RawPixels ReadFrame(std::uint32_t number) {
        if (number < next || number - next > kFarAhead) JumpTo(number);
        while (next <= number) {
            if (!DecodeNext()) Fail("frame " + std::to_string(number) + " cannot be decoded");
        }
        return Colours();
    }

    void Open() {
        AVFormatContext* opened = nullptr;
        if (avformat_open_input(&opened, info.file.c_str(), nullptr, nullptr) < 0) {
            Fail("cannot be opened as video: damaged, cut short, or of an unknown kind");
        }
        format.reset(opened);
        const AVCodec* decoder = nullptr;
        if (avformat_find_stream_info(opened, nullptr) < 0)
            Fail("cannot be opened as video: damaged or cut short");
        stream = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
        if (stream < 0 || !decoder) Fail("holds no pictures that can be decoded");
        codec.reset(avcodec_alloc_context3(decoder));
        if (!codec || avcodec_parameters_to_context(codec.get(), Stream().codecpar) < 0 ||
            avcodec_open2(codec.get(), decoder, nullptr) < 0) {
            Fail("its pictures cannot be decoded");
        }
        info.width = codec->width;
        info.height = codec->height;
    }

    // What containers tell of their length is often a guess: the packets are the truth.
    void CountFrames() {
        std::int64_t packets = 0;
        while (av_read_frame(format.get(), packet.get()) >= 0) {
            if (packet->stream_index == stream) {
                ++packets;
                if (packet->flags & AV_PKT_FLAG_CORRUPT) Fail("is cut short");
                if (!(packet->flags & AV_PKT_FLAG_DISCARD)) times.push_back(packet->pts);
            }
            av_packet_unref(packet.get());
        }
        // Only this family of containers lists its packets one by one; others may count repeats.
        const bool listed = std::string_view(format->iformat->name).find("mp4") != std::string_view::npos;
        if (listed && packets < Stream().nb_frames) Fail("is cut short");
        if (times.empty()) Fail("holds no pictures");
        std::sort(times.begin(), times.end());
        timesKnown =
            times.front() != AV_NOPTS_VALUE && std::adjacent_find(times.begin(), times.end()) == times.end();
        info.frames = static_cast<std::uint32_t>(times.size());
    }

    const AVStream& Stream() const { return *format->streams[stream]; }

    void Seek(std::int64_t time) {
        if (av_seek_frame(format.get(), stream, time, AVSEEK_FLAG_BACKWARD) < 0) {
            Fail("cannot be read from the start again");
        }
        avcodec_flush_buffers(codec.get());
        drained = false;
    }

    void Restart() {
        Seek(timesKnown ? std::min<std::int64_t>(0, times.front()) : 0);
        next = 0;
    }

    // To the key picture before a frame. Its place is told by its time; where that is not one of the packets'
    // times, decoding starts over.
    void JumpTo(std::uint32_t number) {
        if (timesKnown) {
            Seek(times[number]);
            if (DecodeNext()) {
                const auto found = std::lower_bound(times.begin(), times.end(), frame->best_effort_timestamp);
                const auto place = static_cast<std::uint32_t>(found - times.begin());
                if (found != times.end() && *found == frame->best_effort_timestamp && place <= number) {
                    next = place + 1;
                    return;
                }
            }
        }
        Restart();
    }

    // Decodes the next picture into `frame`; false at the end of the file.
    bool DecodeNext() {
        while (true) {
            const int result = avcodec_receive_frame(codec.get(), frame.get());
            if (result >= 0) {
                ++next;
                return true;
            }
            if (result != AVERROR(EAGAIN) || drained) return false;
            Feed();
        }
    }

    void Feed() {
        while (av_read_frame(format.get(), packet.get()) >= 0) {
            const bool ours = packet->stream_index == stream;
            const int result = ours ? avcodec_send_packet(codec.get(), packet.get()) : 0;
            av_packet_unref(packet.get());
            if (result < 0) Fail("is damaged after frame " + std::to_string(next));
            if (ours) return;
        }
        avcodec_send_packet(codec.get(), nullptr);
        drained = true;
    }

    RawPixels Colours() {
        if (frame->width != info.width || frame->height != info.height) Fail("changes its size on the way");
        scaler.reset(sws_getCachedContext(
            scaler.release(), frame->width, frame->height, static_cast<AVPixelFormat>(frame->format),
            frame->width, frame->height, AV_PIX_FMT_RGB24,
            SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
        if (!scaler) Fail("its colours cannot be decoded");
        const int* table =
            sws_getCoefficients(frame->colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_DEFAULT);
        constexpr int kOne = 1 << 16;
        sws_setColorspaceDetails(scaler.get(), table, frame->color_range == AVCOL_RANGE_JPEG, table, 1, 0,
                                 kOne, kOne);
        RawPixels pixels(static_cast<std::size_t>(info.width) * info.height * kColourChannels);
        std::uint8_t* const to[] = {pixels.data()};
        const int rowBytes[] = {info.width * kColourChannels};
        sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, to, rowBytes);
        return pixels;
    }

    std::unique_ptr<AVFormatContext, FormatCloser> format;
    std::unique_ptr<AVCodecContext, CodecCloser> codec;
    std::unique_ptr<AVPacket, PacketCloser> packet;
    std::unique_ptr<AVFrame, FrameCloser> frame;  // the last one decoded
    std::unique_ptr<SwsContext, ScalerCloser> scaler;
    std::vector<std::int64_t> times;  // of the frames, rising
    bool timesKnown = false;          // each frame has a time of its own
    bool drained = false;             // the decoder was told that there is no more
    int stream = -1;
    std::uint32_t next = 0;  // number of the frame that is decoded next
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<VideoReader>(request);
}

}  // namespace pzel_io
