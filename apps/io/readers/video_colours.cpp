// Choosing what video pictures become, and converting them by libswscale's most exact means.
#include "apps/io/readers/video_colours.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <thread>

namespace pzel_io {

namespace {

constexpr int kByteBits = 8;
constexpr unsigned kMostThreads = 8;

std::string Name(const char* name) {
    return name ? name : "unknown";
}

bool IsGrey(const AVPixFmtDescriptor& pixels) {
    return pixels.nb_components == 1 &&
           !(pixels.flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_FLOAT |
                             AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_HWACCEL));
}

bool IsYuv(const AVPixFmtDescriptor& pixels) {
    return pixels.nb_components >= 3 && !(pixels.flags & AV_PIX_FMT_FLAG_RGB);
}

bool IsFullRange(const AVFrame& frame) {
    switch (frame.format) {
        case AV_PIX_FMT_YUVJ420P:
        case AV_PIX_FMT_YUVJ411P:
        case AV_PIX_FMT_YUVJ422P:
        case AV_PIX_FMT_YUVJ444P:
        case AV_PIX_FMT_YUVJ440P: return true;
        default: return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

// The matrices that libswscale has numbers for; the others are shown by those of BT.601.
bool IsKnownMatrix(AVColorSpace matrix) {
    switch (matrix) {
        case AVCOL_SPC_BT709:
        case AVCOL_SPC_UNSPECIFIED:
        case AVCOL_SPC_FCC:
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_SMPTE240M:
        case AVCOL_SPC_BT2020_NCL: return true;
        default: return false;
    }
}

bool IsHighDynamic(AVColorTransferCharacteristic transfer) {
    return transfer == AVCOL_TRC_SMPTE2084 || transfer == AVCOL_TRC_ARIB_STD_B67;
}

}  // namespace

void VideoColours::Choose(const AVFrame& frame, PictureInfo& info) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor* const pixels = av_pix_fmt_desc_get(format);
    if (!pixels || !sws_isSupportedInput(format))
        throw FileError(info.file, "its colours cannot be decoded: " + Name(av_get_pix_fmt_name(format)));
    const auto note = [&](const std::string& line) { info.conversions.push_back(line); };
    const int bits = pixels->comp[0].depth;
    if (IsGrey(*pixels)) {
        info.model = SubGrey;
        info.channels = 1;
        info.type = bits > kByteBits ? DataUInt16 : DataUInt8;
        target = bits > kByteBits ? AV_PIX_FMT_GRAY16 : AV_PIX_FMT_GRAY8;
        if (bits > kByteBits && bits < 2 * kByteBits)
            info.window = Window{0, static_cast<double>((1 << bits) - 1)};
    } else {
        info.model = SubColour;
        info.channels = 3;
        info.type = DataUInt8;
        note("video frames decoded to 8-bit colour");
        if (bits > kByteBits) note(std::to_string(bits) + "-bit samples to 8 bits");
    }
    if (pixels->flags & AV_PIX_FMT_FLAG_ALPHA) note("alpha left out");
    if (IsYuv(*pixels) && !IsKnownMatrix(frame.colorspace)) {
        note("luminance and differences by " + Name(av_color_space_name(frame.colorspace)) +
             ", shown as by BT.601");
    }
    if (IsHighDynamic(frame.color_trc)) {
        note("high dynamic range (" + Name(av_color_transfer_name(frame.color_trc)) +
             "): shown as coded, not mapped to the screen");
    }
    if (frame.interlaced_frame) note("interlaced: each frame holds the rows of two fields");
}

void VideoColours::Prepare(const AVFrame& frame, const PictureInfo& info) {
    const auto fail = [&] { throw FileError(info.file, "its colours cannot be decoded"); };
    const Kind wanted{frame.width, frame.height, frame.format, frame.colorspace, frame.color_range};
    if (scaler && wanted == prepared) return;
    scaler.reset(sws_alloc_context());
    rows.reset(av_frame_alloc());
    if (!scaler || !rows) throw std::bad_alloc();
    rows->width = frame.width;
    rows->height = frame.height;
    rows->format = target;
    const auto set = [&](const char* option, std::int64_t value) {
        if (av_opt_set_int(scaler.get(), option, value, 0) < 0) fail();
    };
    set("srcw", frame.width);
    set("srch", frame.height);
    set("src_format", frame.format);
    set("src_range", IsFullRange(frame));
    set("dstw", frame.width);
    set("dsth", frame.height);
    set("dst_format", target);
    set("dst_range", 1);
    set("sws_flags", SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT);
    set("threads", std::clamp(std::thread::hardware_concurrency(), 1u, kMostThreads));
    if (sws_init_context(scaler.get(), nullptr, nullptr) < 0) fail();
    const int* const matrix = sws_getCoefficients(frame.colorspace);
    constexpr int kOne = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), matrix, IsFullRange(frame), matrix, 1, 0, kOne, kOne);
    prepared = wanted;
}

void VideoColours::Convert(const AVFrame& frame, const PictureInfo& info, std::span<unsigned char> pixels) {
    const auto* const format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const auto rowBytes = static_cast<std::size_t>(frame.width) * ElementBytes(info.type) *
                          static_cast<std::size_t>(info.channels);
    if (info.model == SubGrey) {
        // The stored numbers: libswscale would stretch them over the range of the type.
        const bool isSame = format && IsGrey(*format) && !(format->flags & AV_PIX_FMT_FLAG_BE) &&
                            (format->comp[0].depth > kByteBits) == (info.type == DataUInt16);
        if (!isSame) throw FileError(info.file, "changes its colours on the way");
        for (int y = 0; y < frame.height; ++y) {
            std::copy_n(frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0], rowBytes,
                        pixels.data() + static_cast<std::size_t>(y) * rowBytes);
        }
        return;
    }
    Prepare(frame, info);
    rows->data[0] = pixels.data();
    rows->linesize[0] = static_cast<int>(rowBytes);
    // sws_scale_frame wants buffers that it may hold on to.
    rows->buf[0] = av_buffer_create(
        pixels.data(), pixels.size(), [](void*, std::uint8_t*) {}, nullptr, 0);
    if (!rows->buf[0]) throw std::bad_alloc();
    const int result = sws_scale_frame(scaler.get(), rows.get(), &frame);
    av_buffer_unref(&rows->buf[0]);
    if (result < 0) throw FileError(info.file, "its colours cannot be decoded");
}

}  // namespace pzel_io
