// Minimum and maximum, histograms, and arithmetic on floats. The memcpy beside work that only reads copies
// what is read.
#include <cstring>
#include <opencv2/imgproc.hpp>

#include "bench/pictures.h"

namespace bench {

namespace {

/// What a row for numbers compares.
using Numbers = std::shared_ptr<std::vector<double>>;
Numbers makeNumbers(std::size_t count) {
    return std::make_shared<std::vector<double>>(count);
}

template <class T>
Row minMax(int size, ImageDataType type) {
    const Picture in = makePicture(size, size, kGrey, type);
    const Numbers found = makeNumbers(2);
    double* const out = found->data();
    Row row;
    row.ours = [=, keep = found] {
        T low, high;
        MinMaxBound(in.get(), &low, &high);
        out[0] = double(low);
        out[1] = double(high);
    };
    row.peers = {
        {"OpenCV minMaxLoc", {0.2, 0.4}, [=, from = matOf(in)] { cv::minMaxLoc(from, out, out + 1); }}};
    row.result = resultOf(out, 2);
    row.copyBytes = GetImageTotalBytes(in.get());
    row.copyGoal = kMemoryBound;
    return row;
}

/// Ours tells minimum, maximum, mean and deviation besides.
Row histogram(int size, ImageDataType type, int bins, Goal goal) {
    const Picture in = makePicture(size, size, kGrey, type);
    const auto counts = std::make_shared<std::vector<float>>(bins);
    const float end = type == DataUInt8 ? 256 : 65536;
    Row row;
    row.ours = [=] {
        Histogram counted = type == DataFloat ? Histogram(0, double(end), bins) : Histogram();
        counted.Add(in.get());
        for (int i = 0; i < bins; ++i) (*counts)[std::size_t(i)] = float(counted.GetCount(i));
    };
    const auto calcHist = [=, from = matOf(in)] {
        const int channel = 0;
        const float range[] = {0, end};
        const float* ranges = range;
        cv::Mat found(bins, 1, CV_32F, counts->data());
        cv::calcHist(&from, 1, &channel, cv::noArray(), found, 1, &bins, &ranges);
    };
    row.peers = {{"OpenCV calcHist", goal, calcHist}};
    row.result = resultOf(counts->data(), counts->size());
    row.copyBytes = GetImageTotalBytes(in.get());
    return row;
}

Row scaleAdd(int size) {
    const Picture sum = makePicture(size, size, kGrey, DataFloat);
    const Picture added = makePicture(size, size, kGrey, DataFloat);
    const std::size_t bytes = GetImageTotalBytes(sum.get());
    constexpr float k = 0.25f;
    Row row;
    row.ours = [=] { AddImage(sum.get(), added.get(), k); };
    const cv::Mat a = matOf(sum), b = matOf(added);
    row.peers = {{"OpenCV scaleAdd", 1.0, [=] { cv::scaleAdd(b, double(k), a, a); }, 1e-6}};
    row.result = resultOf(reinterpret_cast<float*>(sum->data), GetImageVolume(sum.get()));
    row.copyBytes = 3 * bytes / 2;
    row.restore = [=] { std::memcpy(sum->data, added->data, bytes); };
    return row;
}

Row squareSum(int size) {
    const Picture a = makePicture(size, size, kGrey, DataFloat);
    const Numbers sum = makeNumbers(1);
    Row row;
    row.ours = [=] { (*sum)[0] = SqureSum(a.get()); };
    row.peers = {{"OpenCV norm", 0.45, [=, m = matOf(a)] { (*sum)[0] = cv::norm(m, cv::NORM_L2SQR); }, 1e-6}};
    row.result = resultOf(sum->data(), 1);
    row.copyBytes = GetImageTotalBytes(a.get());
    return row;
}

Row squaredDifference(int size) {
    const Picture a = makePicture(size, size, kGrey, DataFloat);
    const Picture b = makePicture(size, size, kGrey, DataFloat);
    MultiplyConstant(b.get(), 0.75f);
    const Numbers sum = makeNumbers(1);
    Row row;
    row.ours = [=] { (*sum)[0] = DifferenceSqureSum(a.get(), b.get()); };
    row.peers = {{"OpenCV norm of difference", 0.55,
                  [=, m = matOf(a), n = matOf(b)] { (*sum)[0] = cv::norm(m, n, cv::NORM_L2SQR); }, 1e-6}};
    row.result = resultOf(sum->data(), 1);
    row.copyBytes = 2 * GetImageTotalBytes(a.get());
    return row;
}

}  // namespace

void addArithmeticRows(Catalogue& rows) {
    rows.push_back(
        {"minimum and maximum, unsigned 16", [](int s) { return minMax<std::uint16_t>(s, DataUInt16); }});
    rows.push_back({"minimum and maximum, float", [](int s) { return minMax<float>(s, DataFloat); }});
    rows.push_back({"histogram, unsigned 8", [](int s) { return histogram(s, DataUInt8, 256, 1.15); }});
    rows.push_back({"histogram, unsigned 16", [](int s) {
                        return histogram(s, DataUInt16, 65536, {0.95, 0.7});
                    }});
    rows.push_back({"histogram of 256 bins, float", [](int s) { return histogram(s, DataFloat, 256, 0.7); }});
    rows.push_back({"a += k·b, float", scaleAdd});
    rows.push_back({"sum of squares, float", squareSum});
    rows.push_back({"sum of squared differences, float", squaredDifference});
}

}  // namespace bench
