// Making random pictures, and what peers and levels call their element types.
#include "bench/pictures.h"

#include <cstring>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

AnyType elementOf(double value, ImageDataType type) {
    AnyType any{};
    switch (type) {
        case DataUInt8: any.uint8 = static_cast<std::uint8_t>(value); break;
        case DataUInt16: any.uint16 = static_cast<std::uint16_t>(value); break;
        case DataInt16: any.int16 = static_cast<std::int16_t>(value); break;
        case DataFloat: any.float32 = static_cast<float>(value); break;
        default: throw std::logic_error("no levels for this type");
    }
    return any;
}

int depthOf(const Image* image) {
    switch (GetDataType(image)) {
        case DataUInt8: return CV_8U;
        case DataUInt16: return CV_16U;
        case DataInt16: return CV_16S;
        case DataFloat: return CV_32F;
        default: throw std::logic_error("no matrix of this type");
    }
}

}  // namespace

Picture makePicture(int width, int height, unsigned char channels, ImageDataType type, Layout layout) {
    Picture picture(NewImage(static_cast<unsigned short>(width), static_cast<unsigned short>(height),
                             channels, type, layout == Layout::Interleaved),
                    [](Image* image) { DeleteImage(image); });
    std::mt19937_64 random(1);
    unsigned char* const data = picture->data;
    const std::size_t bytes = GetImageTotalBytes(picture.get());
    if (type == DataFloat) {
        const std::size_t count = bytes / sizeof(float);
        std::generate_n(reinterpret_cast<float*>(data), count, [&] { return float(random() & 0xFFFF); });
    } else {
        for (std::size_t i = 0; i < bytes; i += sizeof(std::uint64_t)) {
            const std::uint64_t word = random();
            std::memcpy(data + i, &word, std::min(bytes - i, sizeof word));
        }
    }
    SetDefaultBound(picture.get());
    return picture;
}

Levels partOfRange(ImageDataType type) {
    switch (type) {
        case DataUInt8: return {10, 200};
        case DataInt16: return {-20000, 20000};
        default: return {1000, 50000};
    }
}

void setLevels(const Picture& picture, int channel, Levels levels) {
    const ImageDataType type = GetDataType(static_cast<const Image*>(picture.get()));
    SetBound(picture.get(), elementOf(levels.black, type), elementOf(levels.white, type), channel);
}

void setLevels(const Picture& picture, Levels levels) {
    for (int c = 0; c < picture->channels; ++c) setLevels(picture, c, levels);
}

Bitmap::Bitmap(int w, int h, int depth)
    : width(w),
      height(h),
      bits(depth),
      rowBytes(ComputeBmpLineBytes(w, depth)),
      block(std::make_shared<std::vector<unsigned char>>(std::size_t(rowBytes) * std::size_t(h))) {}

cv::Mat Bitmap::mat() const {
    return {height, width, CV_8UC(bits / 8), pixels(), rowBytes};
}

cv::Mat matOf(const Picture& picture) {
    return {picture->height, picture->width, CV_MAKETYPE(depthOf(picture.get()), picture->channels),
            picture->data, picture->rowBytes};
}

cv::Mat planeOf(const Picture& picture, int channel) {
    return {picture->height, picture->width, depthOf(picture.get()), GetImageData(picture.get(), channel),
            picture->rowBytes};
}

std::vector<cv::Mat> planesOf(const Picture& picture) {
    std::vector<cv::Mat> planes;
    for (int c = 0; c < picture->channels; ++c) planes.push_back(planeOf(picture, c));
    return planes;
}

std::vector<cv::Mat> scratchPlanes(int size) {
    std::vector<cv::Mat> planes;
    for (int c = 0; c < 3; ++c) planes.emplace_back(size, size, CV_8U);
    return planes;
}

}  // namespace bench
