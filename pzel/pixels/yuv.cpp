// RGB to YUV and back. The forward and the inverse coefficients are no exact inverses of each other.
#include "pzel/pixels/yuv.h"

#include <cassert>
#include <cstdint>

#include "pzel/image/lifecycle.h"
#include "pzel/image/plane.h"
#include "pzel/loops/ranges.h"
#include "pzel/platform/show_message.h"

namespace {

struct Triple {
    float c0, c1, c2;
};

Triple ToYuv(double c0, double c1, double c2) {
    return {float(0.299 * c0 + 0.587 * c1 + 0.114 * c2), float(0.4997 * c2 - (0.3311 * c1 + 0.1686 * c0)),
            float((0.4998 * c0 - 0.4185 * c1) - 0.0813 * c2)};
}

Triple ToRgb(double c0, double c1, double c2) {
    return {float(c0 + 1.402581 * c2), float((c0 - 0.34437 * c1) - 0.714407 * c2), float(c0 + 1.77304 * c1)};
}

/// A row of three channels into floats. All three are read before anything is written: both may be the same.
template <class Row, class Transform>
void ConvertRow(const Row& in0, const Row& in1, const Row& in2, float* const (&out)[3], std::ptrdiff_t step,
                std::size_t count, Transform transform) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::ptrdiff_t x = std::ptrdiff_t(i);
        const Triple t = transform(double(in0[x]), double(in1[x]), double(in2[x]));
        out[0][x * step] = t.c0;
        out[1][x * step] = t.c1;
        out[2][x * step] = t.c2;
    }
}

/// Whether the channels of a float image and its pixels share no byte.
bool ChannelsStandApart(const Image* image) {
    if (image->channels != 3) return false;
    return IsInterleaved(image) || GetImageBytes(image) >= sizeof(float) * std::size_t(GetImageSize(image));
}

/// All pixels of an image, by rows: convert(first, count). One range where results depend on the order.
template <class F>
void ForPixels(const Image* image, bool standApart, F&& convert) {
    const std::size_t width = image->width;
    const auto range = [&](int first, int end) {
        convert(width * std::size_t(first), width * std::size_t(end - first));
    };
    if (standApart)
        pzel::forRanges(image->height, 3 * std::int64_t(GetImageSize(image)), pzel::Effort::Computing, range);
    else
        range(0, image->height);
}

/// Calls f with the transform of a direction; not at all for unknown ones.
template <class F>
void WithTransform(int direction, F&& f) {
    if (direction == ConversionToYuv) f([](double c0, double c1, double c2) { return ToYuv(c0, c1, c2); });
    if (direction == ConversionToRgb) f([](double c0, double c1, double c2) { return ToRgb(c0, c1, c2); });
}

/// One run over all pixels; elements are read as T from the start of each channel on, and both images are
/// walked with the pixel step of the source.
template <class T>
int ConvertElements(Image* dst, Image* src, int direction) {
    if (!dst || !src->data) return 0;  // nobody would see the result
    assert(dst->data && GetDataType(dst) == DataFloat && GetImageVolume(dst) >= GetImageVolume(src));
    using Row = typename pzel::StridedRows<const T>::Row;
    const std::ptrdiff_t step = pzel::planeSteps(*src).pixelStep;
    Row in[3];
    float* out[3];
    for (int c = 0; c < 3; ++c) {
        in[c] = {reinterpret_cast<const T*>(GetImageData(src, c)), step};
        out[c] = reinterpret_cast<float*>(GetImageData(dst, c));
    }
    const bool standApart = IsInterleaved(src) == IsInterleaved(dst) && ChannelsStandApart(dst);
    WithTransform(direction, [&](auto transform) {
        ForPixels(src, standApart, [&](std::size_t first, std::size_t count) {
            const auto at = std::ptrdiff_t(first);
            float* const start[] = {out[0] + at * step, out[1] + at * step, out[2] + at * step};
            ConvertRow(in[0] + at, in[1] + at, in[2] + at, start, step, count, transform);
        });
    });
    return 0;
}

/// Bits, row by row.
int ConvertBits(Image* dst, Image* src, int direction) {
    if (!dst || !src->data) return 0;
    assert(dst->data && GetDataType(dst) == DataFloat && GetImageVolume(dst) >= GetImageVolume(src));
    const std::ptrdiff_t step = pzel::planeSteps(*src).pixelStep;
    WithTransform(direction, [&](auto transform) {
        pzel::withThreePlanes<const bool, const bool>(
            *src, 0, 0, [&](const auto& a, const auto& b, const auto& c) {
                for (int y = 0; y < src->height; ++y) {
                    float* out[3];
                    for (int k = 0; k < 3; ++k)
                        out[k] = reinterpret_cast<float*>(GetImageData(dst, k)) +
                                 std::ptrdiff_t(y) * src->width * step;
                    ConvertRow(a.row(y), b.row(y), c.row(y), out, step, src->width, transform);
                }
            });
    });
    return 0;
}

bool HasThreeChannels(const Image* image) {
    if (image->channels == 3) return true;
    pzel::ShowMessage("Image doesnot have 3 channels. Cannot do YUV --- RGB conversion.");
    return false;
}

int Refuse() {
    pzel::ShowMessage("Don't support this datatype");
    return 1;
}

}  // namespace

int Conversion(Image* dst, Image* src, int direction) {
    if (!HasThreeChannels(src)) return 1;
    // By bits of the type code, deliberately: codes 4 to 7 are all read as unsigned 16-bit elements.
    const int type = GetDataType(src);
    if (type == DataFloat) return ConvertElements<float>(dst, src, direction);
    if (type > DataFloat) return Refuse();
    if (type & 4) return ConvertElements<std::uint16_t>(dst, src, direction);
    if (type == DataInt8) return ConvertElements<std::int8_t>(dst, src, direction);
    if (type == DataBit) return ConvertBits(dst, src, direction);
    return Refuse();
}

int Conversion(Image* image, int direction) {
    if (!HasThreeChannels(image)) return 1;
    constexpr int room = sizeof(float);
    if (!image->data || DataBytes(image->dataType) != room) return 0;
    float* planes[3];
    for (int c = 0; c < 3; ++c) planes[c] = reinterpret_cast<float*>(GetImageData(image, c));
    // Interleaved channels are walked like planes, each over the next one.
    const bool standApart = !IsInterleaved(image) && ChannelsStandApart(image);
    WithTransform(direction, [&](auto transform) {
        ForPixels(image, standApart, [&](std::size_t first, std::size_t count) {
            float* const start[] = {planes[0] + first, planes[1] + first, planes[2] + first};
            ConvertRow(start[0], start[1], start[2], start, 1, count, transform);
        });
    });
    return 0;
}
