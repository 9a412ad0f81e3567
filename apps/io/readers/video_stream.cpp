// Opening, counting, jumping and decoding.
#include "apps/io/readers/video_stream.h"

#include <algorithm>
#include <string_view>
#include <thread>

namespace pzel_io {

namespace {

constexpr unsigned kMostDecoders = 16;
constexpr std::uint32_t kNear = 8;  // frames that are rather decoded than jumped over

// No file names another one to be opened.
int OpenNothing(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

}  // namespace

VideoStream::VideoStream(const std::filesystem::path& file, Damage damage)
    : name(file), onDamage(damage), input(file), packet(av_packet_alloc()), frame(av_frame_alloc()) {
    if (!packet || !frame) throw std::bad_alloc();
    av_log_set_level(AV_LOG_QUIET);  // what matters is reported in one line
    const VideoEnd end = FindVideoEnd(name);
    if (end == VideoEnd::Cut && onDamage == Damage::Refuse) Fail("is cut short");
    if (end == VideoEnd::Unknown) notes.push_back("has no end mark: it may be cut short");
    OpenContainer();
    CountFrames(end);
    SkipBrokenStart();
}

void VideoStream::OpenContainer() {
    AVFormatContext* opened = avformat_alloc_context();
    if (!opened) throw std::bad_alloc();
    opened->pb = input.Context();
    opened->io_open = OpenNothing;
    if (avformat_open_input(&opened, "", nullptr, nullptr) < 0)
        Fail("cannot be opened as video: damaged, cut short, or of an unknown kind");
    format.reset(opened);
    if (avformat_find_stream_info(opened, nullptr) < 0)
        Fail("cannot be opened as video: damaged or cut short");
    const AVCodec* decoder = nullptr;
    stream = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (stream < 0 || !decoder) Fail("holds no pictures that can be decoded");
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        if (static_cast<int>(i) != stream) format->streams[i]->discard = AVDISCARD_ALL;
    }
    OpenDecoder(*decoder);
}

void VideoStream::OpenDecoder(const AVCodec& decoder) {
    codec.reset(avcodec_alloc_context3(&decoder));
    if (!codec) throw std::bad_alloc();
    codec->thread_count =
        static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMostDecoders));
    codec->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    codec->pkt_timebase = Stream()->time_base;
    if (avcodec_parameters_to_context(codec.get(), Stream()->codecpar) < 0 ||
        avcodec_open2(codec.get(), &decoder, nullptr) < 0) {
        Fail("its pictures cannot be decoded");
    }
}

// Where the container lists its packets, their bytes need not be read to be counted.
void VideoStream::LeaveOutPictures() {
    std::vector<VideoInput::Range> pictures;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        AVStream* const listed = format->streams[i];
        const int count = avformat_index_get_entries_count(listed);
        for (int n = 0; n < count; ++n) {
            const AVIndexEntry* const entry = avformat_index_get_entry(listed, n);
            pictures.push_back({entry->pos, entry->pos + entry->size});
        }
    }
    input.LeaveOut(std::move(pictures));
}

// Some packets are there for the decoder alone, or say that nothing has changed.
bool VideoStream::IsPicture(const AVPacket& of) const {
    if (of.flags & AV_PKT_FLAG_DISCARD || of.size == 0) return false;
    constexpr int kVp8Shown = 0x10;
    return codec->codec_id != AV_CODEC_ID_VP8 || of.data[0] & kVp8Shown;
}

// What containers tell of their length is often a guess: the packets are the truth.
void VideoStream::CountFrames(VideoEnd end) {
    // Only this family of containers lists its packets one by one; others may count repeats.
    const bool listed = std::string_view(format->iformat->name).find("mp4") != std::string_view::npos;
    if (listed) LeaveOutPictures();
    std::int64_t packets = 0;
    bool whole = end != VideoEnd::Cut;
    while (av_read_frame(format.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream) {
            ++packets;
            if (packet->flags & AV_PKT_FLAG_CORRUPT) {
                whole = false;
            } else if (IsPicture(*packet)) {
                times.push_back(packet->pts);
                if (packet->flags & AV_PKT_FLAG_KEY) keys.push_back({packet->pts, packet->pos});
            }
        }
        av_packet_unref(packet.get());
    }
    input.ReadAll();
    if (listed && packets < Stream()->nb_frames) whole = false;
    if (!whole && onDamage == Damage::Refuse) Fail("is cut short");
    if (times.empty()) Fail("holds no pictures");
    if (!whole) notes.push_back("is cut short: " + std::to_string(times.size()) + " frames are there");
    std::sort(times.begin(), times.end());
    timesKnown =
        times.front() != AV_NOPTS_VALUE && std::adjacent_find(times.begin(), times.end()) == times.end();
    if (!timesKnown) keys.clear();
    for (Key& key : keys) {
        const auto found = std::lower_bound(times.begin(), times.end(), key.time);
        key.frame = static_cast<std::uint32_t>(found - times.begin());
    }
    std::sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) { return a.frame < b.frame; });
}

// The first picture is decoded before any jump: some decoders learn from it what wrote the file. Pictures
// before it depend on others that are not in the file.
void VideoStream::SkipBrokenStart() {
    if (!Restart() || !DecodeNext()) {
        if (onDamage == Damage::Refuse) Fail("its first picture cannot be decoded");
        return;
    }
    const auto first = timesKnown ? NumberOfFrame() : std::nullopt;
    current = 0;
    if (!first || *first == 0) return;
    notes.push_back(std::to_string(*first) + " frames before the first key picture left out");
    times.erase(times.begin(), times.begin() + *first);
    std::erase_if(keys, [&](const Key& key) { return key.frame < *first; });
    for (Key& key : keys) key.frame -= *first;
}

const AVFrame* VideoStream::Read(std::uint32_t number) {
    if (current == number && IsIntact()) return frame.get();
    if (IsAhead(number) && DecodeTo(number)) return frame.get();
    std::size_t step = 1;
    for (std::size_t i = KeyBefore(number); i > 0 && i < keys.size(); i -= std::min(i, step), step *= 2) {
        if (JumpTo(keys[i]) && DecodeTo(number)) return frame.get();
    }
    if (Restart() && DecodeTo(number)) return frame.get();
    const bool there = current == number;
    if (onDamage == Damage::Refuse) {
        Fail("frame " + std::to_string(number) + (there ? " is damaged" : " cannot be decoded"));
    }
    return there ? frame.get() : nullptr;
}

bool VideoStream::IsIntact() const {
    return frame->decode_error_flags == 0 && !(frame->flags & AV_FRAME_FLAG_CORRUPT);
}

// The last key picture that is not after a frame; none where that is the number of keys.
std::size_t VideoStream::KeyBefore(std::uint32_t number) const {
    const auto after =
        std::upper_bound(keys.begin(), keys.end(), number,
                         [](std::uint32_t wanted, const Key& key) { return wanted < key.frame; });
    return after == keys.begin() ? keys.size() : static_cast<std::size_t>(after - keys.begin()) - 1;
}

// Whether the decoder comes to a frame without a jump, and none would be nearer.
bool VideoStream::IsAhead(std::uint32_t number) const {
    if (!current || number <= *current) return false;
    const std::size_t key = KeyBefore(number);
    return key >= keys.size() || keys[key].frame <= *current + kNear;
}

bool VideoStream::Seek(std::int64_t target, int flags) {
    current.reset();
    avcodec_flush_buffers(codec.get());
    drained = false;
    return av_seek_frame(format.get(), stream, target, flags) >= 0;
}

// Containers made for broadcasting know no times but by reading on; the place in the file is exact.
bool VideoStream::JumpTo(const Key& key) {
    counting = false;
    const bool byPlace = format->iformat->flags & AVFMT_TS_DISCONT && key.position >= 0;
    return byPlace ? Seek(key.position, AVSEEK_FLAG_BYTE) : Seek(key.time, AVSEEK_FLAG_BACKWARD);
}

bool VideoStream::Restart() {
    counting = true;
    if (format->iformat->flags & AVFMT_TS_DISCONT) return Seek(0, AVSEEK_FLAG_BYTE);
    return Seek(timesKnown ? std::min<std::int64_t>(0, times.front()) : 0, AVSEEK_FLAG_BACKWARD);
}

// Decodes up to a frame. False where it does not come, or is not whole.
bool VideoStream::DecodeTo(std::uint32_t number) {
    while (current < number) {
        const auto before = current;
        if (!DecodeNext()) {
            current.reset();
            return false;
        }
        current = NumberOfFrame();
        if (!current && counting) current = before ? *before + 1 : 0;
        if (!current) return false;
    }
    return current == number && IsIntact();
}

std::optional<std::uint32_t> VideoStream::NumberOfFrame() const {
    if (!timesKnown) return {};
    for (const std::int64_t time : {frame->pts, frame->best_effort_timestamp}) {
        const auto found = std::lower_bound(times.begin(), times.end(), time);
        if (found != times.end() && *found == time) return static_cast<std::uint32_t>(found - times.begin());
    }
    return {};
}

// Decodes the next picture into `frame`; false at the end of the file. What cannot be decoded in front of the
// first picture depends on others that were not read.
bool VideoStream::DecodeNext() {
    while (true) {
        const int result = avcodec_receive_frame(codec.get(), frame.get());
        if (result >= 0) return true;
        if (result == AVERROR_EOF || (result == AVERROR(EAGAIN) && drained)) return false;
        if (result != AVERROR(EAGAIN) && current && onDamage == Damage::Refuse) return false;
        Feed();
    }
}

void VideoStream::Feed() {
    while (!drained && av_read_frame(format.get(), packet.get()) >= 0) {
        const bool ours = packet->stream_index == stream;
        const int result = ours ? avcodec_send_packet(codec.get(), packet.get()) : 0;
        av_packet_unref(packet.get());
        if (result < 0 && current && onDamage == Damage::Refuse)
            Fail("is damaged after frame " + std::to_string(*current));
        if (ours) return;
    }
    avcodec_send_packet(codec.get(), nullptr);
    drained = true;
}

}  // namespace pzel_io
