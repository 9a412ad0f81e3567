// MapData: element data to bitmap bytes through levels, tables and the colour model.
#include <libyuv/convert_argb.h>

#include <opencv2/imgproc.hpp>

#include "bench/pictures.h"

namespace bench {

namespace {

/// A row for MapData. The bytes moved are those of the picture, read, and those of the bitmap, written.
Row mapping(const Picture& in, const Bitmap& out, std::vector<Peer> peers, double copyGoal,
            const unsigned char* lut = nullptr) {
    Row row;
    row.ours = [=] { MapData(out.pixels(), out.rowBytes, in->width, in->height, in.get(), 0, 0, lut, 0); };
    row.peers = std::move(peers);
    row.result = out.result();
    row.copyBytes = (GetImageTotalBytes(in.get()) + out.bytes()) / 2;
    row.copyGoal = copyGoal;
    return row;
}

Row levels(int size, ImageDataType type, double goal) {
    const Picture in = makePicture(size, size, kGrey, type);
    const Bitmap out(size, size, 8);
    const Levels levels = partOfRange(type);
    setLevels(in, levels);
    const auto convertTo = [from = matOf(in), to = out.mat(), levels] {
        from.convertTo(to, CV_8U, levels.alpha(), levels.beta());
    };
    return mapping(in, out, {{"OpenCV convertTo", goal, convertTo, 1}},
                   type == DataFloat ? kNone : kMemoryBound);
}

/// A smooth curve as 512 bytes.
const unsigned char* curve() {
    static const auto table = [] {
        std::vector<unsigned char> bytes(512);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const double t = double(i) / 511;
            bytes[i] = byteOf(255 * (0.5 * t + 0.5 * t * t));
        }
        return bytes;
    }();
    return table.data();
}

/// 256 entries do all of a table's work for 8 bits, levels included; other types lose half of the table's
/// steps on their way.
Row table(int size, ImageDataType type) {
    const Picture in = makePicture(size, size, kGrey, type);
    const Bitmap out(size, size, 8);
    const Levels levels = partOfRange(type);
    setLevels(in, levels);
    const double goal = 0.85;
    const cv::Mat from = matOf(in), to = out.mat();
    if (type == DataUInt8) {
        const cv::Mat entries = tableOf(1, [&](int, int v) {
            return curve()[int(std::clamp(v * levels.alpha(511) + levels.beta(511), 0.0, 511.0))];
        });
        return mapping(in, out, {{"OpenCV LUT", goal, [=] { cv::LUT(from, entries, to); }, 1}}, kNone,
                       curve());
    }
    const cv::Mat entries = tableOf(1, [&](int, int v) { return curve()[v * 511 / 255]; });
    const auto twoSteps = [=] {
        from.convertTo(to, CV_8U, levels.alpha(), levels.beta());
        cv::LUT(to, entries, to);
    };
    return mapping(in, out, {{"OpenCV convertTo, LUT", goal, twoSteps, 2}}, kNone, curve());
}

Row equalLevels(int size) {
    const Picture in = makePicture(size, size, kColour, DataUInt8);
    const Bitmap out(size, size, 24);
    const Levels levels = partOfRange(DataUInt8);
    setLevels(in, levels);
    const auto convertTo = [from = matOf(in), to = out.mat(), levels] {
        from.convertTo(to, CV_8U, levels.alpha(), levels.beta());
    };
    return mapping(in, out, {{"OpenCV convertTo", 0.55, convertTo, 1}}, kMemoryBound);
}

Row threeLevels(int size) {
    const Picture in = makePicture(size, size, kColour, DataUInt8);
    const Bitmap out(size, size, 24);
    const std::vector<Levels> levels = {{10, 200}, {20, 220}, {5, 180}};
    for (int c = 0; c < 3; ++c) setLevels(in, c, levels[std::size_t(c)]);
    const cv::Mat from = matOf(in), to = out.mat();
    const auto threeSteps = [=, parts = scratchPlanes(size)] {
        cv::split(from, parts);
        for (std::size_t c = 0; c < 3; ++c)
            parts[c].convertTo(parts[c], CV_8U, levels[c].alpha(), levels[c].beta());
        cv::merge(parts, to);
    };
    return mapping(in, out, {{"OpenCV split, convertTo, merge", 0.28, threeSteps, 1}}, kMemoryBound);
}

Row planar16(int size) {
    const Picture in = makePicture(size, size, kColour, DataUInt16, Layout::Planar);
    const Bitmap out(size, size, 24);
    const Levels levels = partOfRange(DataUInt16);
    setLevels(in, levels);
    const auto steps = [from = planesOf(in), parts = scratchPlanes(size), to = out.mat(), levels] {
        for (std::size_t c = 0; c < 3; ++c) from[c].convertTo(parts[c], CV_8U, levels.alpha(), levels.beta());
        cv::merge(parts, to);
    };
    return mapping(in, out, {{"OpenCV convertTo, merge", 0.90, steps, 1}}, kMemoryBound);
}

/// Every peer reads the layout that it is made for: libyuv planes, OpenCV pixels, both with unsigned colour
/// differences, OpenCV with red first.
Row yuv(int size, Layout layout) {
    const Picture in = makePicture(size, size, kColour, DataUInt8, layout);
    SetSubType(in.get(), SubYuv);
    SetDefaultBound(in.get());
    const Bitmap out(size, size, 24);
    const Picture planar = makePicture(size, size, kColour, DataUInt8, Layout::Planar);
    SetSubType(planar.get(), SubYuv);
    CopyImage(in.get(), planar.get(), 0, 0, 0, 0, size, size, CopyBorderNone);
    std::vector<cv::Mat> planes;
    for (const cv::Mat& plane : planesOf(planar)) planes.push_back(plane.clone());
    for (std::size_t c = 1; c < 3; ++c) cv::bitwise_xor(planes[c], cv::Scalar(128), planes[c]);
    cv::Mat pixels;
    cv::merge(std::vector<cv::Mat>{planes[0], planes[2], planes[1]}, pixels);
    const auto fromPlanes = [=] {
        const auto &y = planes[0], &u = planes[1], &v = planes[2];
        libyuv::I444ToRGB24Matrix(y.data, int(y.step), u.data, int(u.step), v.data, int(v.step), out.pixels(),
                                  out.rowBytes, &libyuv::kYuvJPEGConstants, size, size);
    };
    const auto fromPixels = [=, to = out.mat()] { cv::cvtColor(pixels, to, cv::COLOR_YCrCb2BGR); };
    return mapping(in, out,
                   {{"libyuv I444ToRGB24 (planes)", 1.2, fromPlanes, 4},
                    {"OpenCV cvtColor (pixels)", 0.6, fromPixels, 4}},
                   kNone);
}

}  // namespace

void addMappingRows(Catalogue& rows) {
    rows.push_back({"unsigned 8 → 8, levels", [](int s) { return levels(s, DataUInt8, 0.50); }});
    rows.push_back({"unsigned 16 → 8, levels", [](int s) { return levels(s, DataUInt16, 0.95); }});
    rows.push_back({"signed 16 → 8, levels", [](int s) { return levels(s, DataInt16, 0.95); }});
    rows.push_back({"float → 8, levels", [](int s) { return levels(s, DataFloat, 1.0); }});
    rows.push_back({"unsigned 8 → 8, table", [](int s) { return table(s, DataUInt8); }});
    rows.push_back({"unsigned 16 → 8, table", [](int s) { return table(s, DataUInt16); }});
    rows.push_back({"float → 8, table", [](int s) { return table(s, DataFloat); }});
    rows.push_back({"colour 8 interleaved → BGR24, equal levels", equalLevels});
    rows.push_back({"colour 8 interleaved → BGR24, three level pairs", threeLevels});
    rows.push_back({"colour 16 planar → BGR24, levels", planar16});
    rows.push_back({"YUV 8 interleaved → BGR24", [](int s) { return yuv(s, Layout::Interleaved); }});
    rows.push_back({"YUV 8 planar → BGR24", [](int s) { return yuv(s, Layout::Planar); }});
}

}  // namespace bench
