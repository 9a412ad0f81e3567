// Both copies go by way of floats, through the library's own conversions.
#include "apps/io/colour_copy.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "apps/io/display_copy.h"
#include "pzel/bounds/black_white.h"
#include "pzel/bounds/bounds.h"
#include "pzel/colour/rgb_to_hsi.h"
#include "pzel/pixels/yuv.h"

namespace pzel_io {

namespace {

constexpr int kBlue = 0;
constexpr int kGreen = 1;
constexpr int kRed = 2;

// Bytes from pixel to pixel.
std::size_t PixelStep(const Image& image) {
    return ElementBytes(GetDataType(&image)) * (IsInterleaved(&image) ? image.channels : 1u);
}

float FloatAt(const Image& image, int channel, std::size_t pixel) {
    float value;
    std::memcpy(&value, GetImageData(&image, channel) + pixel * PixelStep(image), sizeof value);
    return value;
}

void SetBounds(Image& image, const Window& window, int channel) {
    SetSpatialBounds(&image, {window.low, window.high}, channel);
    AnyType low{};
    AnyType high{};
    low.float32 = static_cast<float>(window.low);
    high.float32 = static_cast<float>(window.high);
    SetBound(&image, low, high, channel);
}

// Red, green and blue to one value of 0 to `width`.
class HsiFunction {
  public:
    HsiFunction(HsiValue which, const Window& range, float width)
        : value(which),
          model(Lowest(range), Lowest(range), Lowest(range), Highest(range), Highest(range), Highest(range)) {
        model.SetScale_I(width);
        model.SetScale_S(width);
        model.SetScale_H(width);
    }
    float operator()(float red, float green, float blue) const {
        float result = 0;
        switch (value) {
            case HsiValue::Intensity: model.ComputeI_RD(red, green, blue, result); break;
            case HsiValue::Saturation: model.ComputeS_RD(red, green, blue, result); break;
            case HsiValue::Hue: model.ComputeH_RD(red, green, blue, result); break;
        }
        return result;
    }

  private:
    static float Lowest(const Window& range) { return static_cast<float>(range.low); }
    static float Highest(const Window& range) { return static_cast<float>(range.high); }

    HsiValue value;
    RGBtoHSI model;
};

void Store(unsigned char* to, ImageDataType type, double value, const Window& range) {
    if (type == DataFloat) {
        const auto real = static_cast<float>(value);
        std::memcpy(to, &real, sizeof real);
        return;
    }
    // The low bytes of a number are the same with and without a sign.
    const auto number = static_cast<std::int32_t>(std::lround(std::clamp(value, range.low, range.high)));
    std::memcpy(to, &number, ElementBytes(type));
}

}  // namespace

void SwapRedAndBlue(Image& image) {
    const std::size_t bytes = ElementBytes(GetDataType(static_cast<const Image*>(&image)));
    const std::size_t step = PixelStep(image);
    unsigned char* blue = GetImageData(&image, kBlue);
    unsigned char* red = GetImageData(&image, kRed);
    for (std::size_t i = 0; i < GetImageSize(&image); ++i, blue += step, red += step) {
        std::swap_ranges(blue, blue + bytes, red);
    }
}

OwnedImage ToYuv(const Image& colour, const Window& range) {
    const OwnedImage redFirst = ToFloat(colour);
    SwapRedAndBlue(*redFirst);
    OwnedImage yuv(NewImage(redFirst.get()));
    Conversion(yuv.get(), redFirst.get(), ConversionToYuv);
    SetSubType(yuv.get(), SubYuv);
    const double half = (range.high - range.low) / 2;
    SetBounds(*yuv, range, 0);
    for (const int difference : {1, 2}) SetBounds(*yuv, {-half, half}, difference);
    return yuv;
}

Window HsiPlaneRange(ImageDataType type, HsiValue value, const Window& range) {
    if (type != DataFloat || value == HsiValue::Intensity) return range;
    return {0, value == HsiValue::Saturation ? 1 : 2 * std::numbers::pi};
}

OwnedImage HsiPlane(const Image& colour, HsiValue value, const Window& range) {
    const ImageDataType type = GetDataType(&colour);
    const OwnedImage floats = ToFloat(colour);
    OwnedImage plane(NewImage(colour.width, colour.height, 1, type, false));
    SetImageType(plane.get(), static_cast<unsigned short>(SubGrey));
    const Window scale = HsiPlaneRange(type, value, range);
    const HsiFunction function(value, range, static_cast<float>(scale.high - scale.low));
    for (std::size_t i = 0; i < GetImageSize(&colour); ++i) {
        const float shown =
            function(FloatAt(*floats, kRed, i), FloatAt(*floats, kGreen, i), FloatAt(*floats, kBlue, i));
        Store(plane->data + i * ElementBytes(type), type, scale.low + static_cast<double>(shown), scale);
    }
    return plane;
}

}  // namespace pzel_io
