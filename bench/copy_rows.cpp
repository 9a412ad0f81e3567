// CopyImage: rectangles, layouts, element types.
#include "bench/pictures.h"

namespace bench {

namespace {

/// A row for the whole of two pictures of one size.
Row copying(const Picture& from, const Picture& to, std::vector<Peer> peers, double copyGoal) {
    Row row;
    row.ours = [=] {
        CopyImage(from.get(), to.get(), 0, 0, 0, 0, from->width, from->height, CopyBorderNone);
    };
    row.peers = std::move(peers);
    row.copyBytes = (GetImageTotalBytes(from.get()) + GetImageTotalBytes(to.get())) / 2;
    row.copyGoal = copyGoal;
    return row;
}

Row rectangle(int size) {
    const Picture from = makePicture(size + 16, size + 16, kGrey, DataUInt16);
    const Picture to = makePicture(size + 16, size + 16, kGrey, DataUInt16);
    Row row;
    row.ours = [=] { CopyImage(from.get(), to.get(), 5, 7, 9, 3, size, size, CopyBorderNone); };
    const cv::Mat part = matOf(from)(cv::Rect(5, 7, size, size));
    const cv::Mat place = matOf(to)(cv::Rect(9, 3, size, size));
    row.peers = {{"OpenCV copyTo", 1.05, [=] { part.copyTo(place); }}};
    row.result = resultOf(to->data, GetImageTotalBytes(to.get()));
    row.copyBytes = std::size_t(size) * std::size_t(size) * 2;
    row.copyGoal = kMemoryBound;
    return row;
}

Row interleave(int size) {
    const Picture from = makePicture(size, size, kColour, DataUInt8, Layout::Planar);
    const Picture to = makePicture(size, size, kColour, DataUInt8);
    const auto merge = [planes = planesOf(from), pixels = matOf(to)] { cv::merge(planes, pixels); };
    Row row = copying(from, to, {{"OpenCV merge", 1.1, merge}}, kMemoryBound);
    row.result = resultOf(to->data, GetImageTotalBytes(to.get()));
    return row;
}

/// Equal bounds: the values are carried over.
Row toFloat(int size, unsigned char channels) {
    const Picture from = makePicture(size, size, channels, DataUInt16);
    const Picture to = makePicture(size, size, channels, DataFloat);
    setLevels(from, partOfRange(DataUInt16));
    setLevels(to, partOfRange(DataUInt16));
    const auto convertTo = [in = matOf(from), out = matOf(to)] { in.convertTo(out, CV_32F); };
    Row row = copying(from, to, {{"OpenCV convertTo", 1.0, convertTo}}, kNone);
    row.result = resultOf(reinterpret_cast<float*>(to->data), GetImageVolume(to.get()));
    return row;
}

Row greyToFloat(int size) {
    return toFloat(size, kGrey);
}

Row colourToFloat(int size) {
    return toFloat(size, kColour);
}

/// Part of the source's range becomes all of the destination's, where the peer clamps too.
Row fromFloat(int size) {
    const Picture from = makePicture(size, size, kGrey, DataFloat);
    const Picture to = makePicture(size, size, kGrey, DataUInt16);
    const Levels levels = partOfRange(DataFloat);
    setLevels(from, levels);
    setLevels(to, {0, 65535});
    const auto convertTo = [=, in = matOf(from), out = matOf(to)] {
        in.convertTo(out, CV_16U, levels.alpha(65535), levels.beta(65535));
    };
    Row row = copying(from, to, {{"OpenCV convertTo", 1.05, convertTo, 1}}, kNone);
    row.result = resultOf(reinterpret_cast<std::uint16_t*>(to->data), GetImageVolume(to.get()));
    return row;
}

/// The same of three planes, into pixels of bytes.
Row fromPlanes(int size) {
    const Picture from = makePicture(size, size, kColour, DataUInt16, Layout::Planar);
    const Picture to = makePicture(size, size, kColour, DataUInt8);
    const Levels levels = partOfRange(DataUInt16);
    setLevels(from, levels);
    setLevels(to, {0, 255});
    const auto convertTo = [=, in = planesOf(from), bytes = scratchPlanes(size), out = matOf(to)]() mutable {
        for (std::size_t c = 0; c < kColour; ++c)
            in[c].convertTo(bytes[c], CV_8U, levels.alpha(), levels.beta());
        cv::merge(bytes, out);
    };
    Row row = copying(from, to, {{"OpenCV convertTo, merge", 1.0, convertTo, 1}}, kNone);
    row.result = resultOf(to->data, GetImageTotalBytes(to.get()));
    return row;
}

}  // namespace

void addCopyRows(Catalogue& rows) {
    rows.push_back({"rectangle copy, 16", rectangle});
    rows.push_back({"colour 8 planar → interleaved", interleave});
    rows.push_back({"unsigned 16 → float", greyToFloat});
    rows.push_back({"colour 16 interleaved → float", colourToFloat});
    rows.push_back({"float → unsigned 16, clamped and scaled", fromFloat});
    rows.push_back({"colour 16 planar → 8 interleaved, scaled", fromPlanes});
}

}  // namespace bench
