// Bitmaps over bitmaps: blending, and a movie of three components.
#include <libyuv/planar_functions.h>

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "bench/components.h"
#include "bench/pictures.h"

namespace bench {

namespace {

/// The source shows with 80 of 128 parts; half and half would be a special case in the peers.
constexpr int kTransparency = 48;
constexpr double kShown = (128 - kTransparency) / 128.0;

Row blend(int size) {
    const Picture in = makePicture(size, size, kColour, DataUInt8);
    const Bitmap out(size, size, 24);
    const BitmapDestination destination{out.pixels(), out.rowBytes, size, size};
    const BitmapSource source{in->data, in->rowBytes, size, size};
    Row row;
    row.ours = [=, keep = in] { AddTransparentBitmap(destination, source, 1, 1, 24, kTransparency); };
    const auto interpolate = [=] {
        libyuv::InterpolatePlane(out.pixels(), out.rowBytes, in->data, in->rowBytes, out.pixels(),
                                 out.rowBytes, 3 * size, size, int(256 * kShown));
    };
    const auto addWeighted = [from = matOf(in), to = out.mat()] {
        cv::addWeighted(from, kShown, to, 1 - kShown, 0, to);
    };
    row.peers = {{"libyuv InterpolatePlane", {kNone, 1.0}, interpolate, 1},
                 {"OpenCV addWeighted", 0.4, addWeighted, 1}};
    row.result = out.result();
    row.copyBytes = 3 * out.bytes() / 2;
    row.restore = [out] {
        for (std::size_t i = 0; i < out.bytes(); ++i)
            out.pixels()[i] = static_cast<unsigned char>(i * 31 >> 3);
    };
    return row;
}

/// A full picture, a smaller one that is blended over it, and a mask of discs that tints part of both.
Row composed(int) {
    constexpr int width = 1920, height = 1080;
    const Picture base = makePicture(width, height, kColour, DataUInt8);
    const Picture layer = makePicture(1280, 720, kColour, DataUInt8);
    cv::Mat discs = cv::Mat::zeros(540, 960, CV_8U);
    for (int i = 0; i < 12; ++i)
        cv::circle(discs, {80 + 160 * (i % 6), 135 + 270 * (i / 6)}, 70, cv::Scalar(255), cv::FILLED);
    const MoviePtr movie = makeMovie();
    addPicture(movie, base, 0, 0);
    addPicture(movie, layer, 320, 180)->transparency = kTransparency;
    Comp* const mask = addMask(movie, discs, 480, 270);
    mask->transparency = 64;
    mask->overlayColour = 1;  // red
    const Bitmap out(width, height, 24);
    Row row;
    row.ours = [=] {
        ComposeMovie(movie.get(), {out.pixels(), out.rowBytes, width, height}, {0, width - 1, 0, height - 1},
                     1, nullptr);
    };
    const cv::Mat to = out.mat(), place = to(cv::Rect(320, 180, 1280, 720));
    const cv::Mat tinted = to(cv::Rect(480, 270, 960, 540));
    const cv::Mat red(540, 960, CV_8UC3, cv::Scalar(0, 0, 255)), mixed(540, 960, CV_8UC3);
    const auto steps = [=, below = matOf(base), above = matOf(layer), keep = std::vector{base, layer}] {
        below.copyTo(to);
        cv::addWeighted(above, kShown, place, 1 - kShown, 0, place);
        cv::addWeighted(red, 0.5, tinted, 0.5, 0, mixed);
        mixed.copyTo(tinted, discs);
    };
    row.peers = {{"OpenCV copyTo, addWeighted, masked tint", 0.8, steps, 2}};
    row.result = out.result();
    return row;
}

}  // namespace

void addOverlayRows(Catalogue& rows) {
    rows.push_back({"blend with constant opacity, 24 bits", blend});
    rows.push_back({"ComposeMovie, three layers, 1920 × 1080", composed, {0}});
}

}  // namespace bench
