// Decoded video pictures as the pixels that readers deliver: grey as it is stored, all else as 8-bit colour.
#pragma once

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <span>

#include "apps/io/picture_info.h"

namespace pzel_io {

class VideoColours {
  public:
    /// Fills in type, channels and model for pictures like this one, and tells what is changed.
    /// @throws FileError for pictures that cannot be converted
    void Choose(const AVFrame& frame, PictureInfo& info);
    /// Converts a picture of the size of the first one into FrameBytes bytes.
    /// @throws FileError
    void Convert(const AVFrame& frame, const PictureInfo& info, std::span<unsigned char> pixels);

  private:
    struct ScalerCloser {
        void operator()(SwsContext* held) const { sws_freeContext(held); }
    };
    void Prepare(const AVFrame& frame, const PictureInfo& info);

    // What the scaler was made for.
    struct Kind {
        int width = 0, height = 0, format = -1, matrix = -1, range = -1;
        bool operator==(const Kind&) const = default;
    };
    Kind prepared;
    AVPixelFormat target = AV_PIX_FMT_RGB24;
    std::unique_ptr<SwsContext, ScalerCloser> scaler;
    std::unique_ptr<AVFrame, void (*)(AVFrame*)> rows{nullptr, [](AVFrame* frame) { av_frame_free(&frame); }};
};

}  // namespace pzel_io
