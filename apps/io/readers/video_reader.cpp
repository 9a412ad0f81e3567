// Videos, by FFmpeg's libraries: every picture that the file stores, as 8-bit colour or as grey, turned
// upright where the file asks for it. Sound is left alone.
#include "apps/io/readers/reader.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>

#include "apps/io/readers/orientation.h"
#include "apps/io/readers/video_colours.h"
#include "apps/io/readers/video_stream.h"

namespace pzel_io {

namespace {

// The mark for a display matrix, whose first four numbers tell where a step to the right and a step down go;
// 0 where it is none of the eight.
int OrientationMark(const std::int32_t* matrix) {
    const auto sign = [](std::int32_t v) { return (v > 0) - (v < 0); };
    const int right[] = {sign(matrix[0]), sign(matrix[1])};
    const int down[] = {sign(matrix[3]), sign(matrix[4])};
    struct Known {
        int right[2], down[2], mark;
    };
    constexpr Known kKnown[] = {{{1, 0}, {0, 1}, 1},   {{-1, 0}, {0, 1}, 2}, {{-1, 0}, {0, -1}, 3},
                                {{1, 0}, {0, -1}, 4},  {{0, 1}, {1, 0}, 5},  {{0, 1}, {-1, 0}, 6},
                                {{0, -1}, {-1, 0}, 7}, {{0, -1}, {1, 0}, 8}};
    for (const Known& known : kKnown) {
        if (std::equal(right, right + 2, known.right) && std::equal(down, down + 2, known.down))
            return known.mark;
    }
    return 0;
}

class VideoReader final : public Reader {
  public:
    explicit VideoReader(const OpenRequest& request)
        : Reader(request),
          video(info.file, options.partial ? VideoStream::Damage::Show : VideoStream::Damage::Refuse) {
        info.frames = video.Frames();
        const AVFrame* const first = video.Read(0);
        if (!first) Fail("holds no pictures that can be decoded");
        width = info.width = first->width;
        height = info.height = first->height;
        colours.Choose(*first, info);
        CheckSize();
        for (const std::string& line : video.Notes()) Note(line);
        const AVRational rate = av_guess_frame_rate(video.Container(), video.Stream(), nullptr);
        if (rate.num > 0 && rate.den > 0) info.frameRate = av_q2d(rate);
        FollowAspect(*first);
        FollowOrientation(*first);
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const AVFrame* const frame = video.Read(wanted.frame);
        if (!frame) {
            std::fill(pixels.begin(), pixels.end(), static_cast<unsigned char>(0));
            return {{}, {"frame " + std::to_string(wanted.frame) + " cannot be decoded"}};
        }
        if (frame->width != width || frame->height != height) Fail("changes its size on the way");
        const Rows all{0, info.height - 1};
        orientation.Read(info, all, pixels, [&](const Rows&, std::span<unsigned char> stored) {
            colours.Convert(*frame, info, stored);
        });
        if (video.IsIntact()) return {};
        return {{}, {"frame " + std::to_string(wanted.frame) + " is damaged"}};
    }

    // A jump decodes from the last key picture on.
    std::size_t FramesForOne() const override { return kFramesFromKey; }

  private:
    static constexpr std::size_t kFramesFromKey = 64;  // of most recordings, and of large pictures

    void FollowAspect(const AVFrame& first) {
        AVFrame asked = first;
        const AVRational aspect = av_guess_sample_aspect_ratio(video.Container(), video.Stream(), &asked);
        if (aspect.num <= 0 || aspect.den <= 0 || aspect.num == aspect.den) return;
        info.pixelAspect = av_q2d(aspect);
        Note("pixels are " + std::to_string(aspect.num) + ":" + std::to_string(aspect.den) +
             " wide to high, shown square");
    }

    void FollowOrientation(const AVFrame& first) {
        constexpr std::size_t kMatrixBytes = 9 * sizeof(std::int32_t);
        std::size_t bytes = 0;
        const std::uint8_t* matrix =
            av_stream_get_side_data(video.Stream(), AV_PKT_DATA_DISPLAYMATRIX, &bytes);
        if (!matrix) {
            const AVFrameSideData* const data = av_frame_get_side_data(&first, AV_FRAME_DATA_DISPLAYMATRIX);
            if (data) matrix = data->data, bytes = data->size;
        }
        if (!matrix || bytes < kMatrixBytes) return;
        const int mark = OrientationMark(reinterpret_cast<const std::int32_t*>(matrix));
        if (mark == 0) return Note("a turn by no right angle not followed");
        orientation.Follow(mark, options, info);
    }

    VideoStream video;
    VideoColours colours;
    Orientation orientation;
    int width = 0;  // of the stored frames
    int height = 0;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<VideoReader>(request);
}

}  // namespace pzel_io
