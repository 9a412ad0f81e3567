// Random pictures and bitmaps for the rows, and views of them for the peers. Ownership is shared by whoever
// uses them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

#include "bench/row.h"
#include "pzel/pzel.h"

namespace bench {

constexpr double kMemoryBound = 1.6;  // the copyGoal of work that only moves memory

constexpr unsigned char kGrey = 1, kColour = 3;
enum class Layout { Interleaved, Planar };

struct Levels {
    double black, white;
    /// Factor and offset that take black to 0 and white to `top`.
    double alpha(double top = 255) const { return top / (white - black); }
    double beta(double top = 255) const { return -black * alpha(top); }
};

using Picture = std::shared_ptr<Image>;

/// Random pixels over the full range of the type; floats lie in 0 … 65535. Default levels.
Picture makePicture(int width, int height, unsigned char channels, ImageDataType type,
                    Layout layout = Layout::Interleaved);

/// Levels that take part of the range of a type, so that nothing is a plain copy.
Levels partOfRange(ImageDataType type);
void setLevels(const Picture& picture, int channel, Levels levels);
void setLevels(const Picture& picture, Levels levels);

/// Display rows of 8 or 24 bits; all bytes are touched.
struct Bitmap {
    Bitmap(int width, int height, int bits);
    unsigned char* pixels() const { return block->data(); }
    Result result() const { return resultOf(block->data(), block->size()); }
    std::size_t bytes() const { return block->size(); }
    cv::Mat mat() const;

    int width, height, bits;
    unsigned short rowBytes;
    std::shared_ptr<std::vector<unsigned char>> block;
};

/// The pixels of an interleaved picture, or one plane of a planar one. They stay the picture's.
cv::Mat matOf(const Picture& picture);
cv::Mat planeOf(const Picture& picture, int channel);
std::vector<cv::Mat> planesOf(const Picture& picture);
/// Three planes of bytes between two steps of a peer.
std::vector<cv::Mat> scratchPlanes(int size);

/// A row of a 256-entry table for each channel, filled by entry(channel, index).
template <class F>
cv::Mat tableOf(int channels, F&& entry) {
    cv::Mat table(1, 256, CV_8UC(channels));
    for (int i = 0; i < 256; ++i)
        for (int c = 0; c < channels; ++c)
            table.data[i * channels + c] = static_cast<unsigned char>(entry(c, i));
    return table;
}

/// A byte from a number in its range, rounded.
inline unsigned char byteOf(double v) {
    return static_cast<unsigned char>(v + 0.5);
}

}  // namespace bench
