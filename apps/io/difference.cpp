// Differences, row by row in doubles, which hold every value of every type.
#include "apps/io/difference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "apps/io/pixel_values.h"
#include "pzel/bounds/black_white.h"

namespace pzel_io {

namespace {

// The largest difference that values of two types can have; infinite with floats.
double LargestOf(const PictureInfo& one, const PictureInfo& other) {
    const auto range = [](const PictureInfo& info) -> Window {
        if (info.type == DataBit) return {0, 1};
        const CompBlackWhite full = FullBlackWhite(SubGrey, info.type, 0);
        return {full.black, full.white};
    };
    if (one.type == DataFloat || other.type == DataFloat) return std::numeric_limits<double>::infinity();
    const Window a = range(one), b = range(other);
    return std::max(a.high - b.low, b.high - a.low);
}

ImageDataType TypeFor(double largest) {
    if (largest <= 1) return DataBit;
    if (largest <= std::numeric_limits<std::uint8_t>::max()) return DataUInt8;
    if (largest <= std::numeric_limits<std::uint16_t>::max()) return DataUInt16;
    if (largest <= std::numeric_limits<std::uint32_t>::max()) return DataUInt32;
    return DataFloat;
}

std::string SizeText(const PictureInfo& info) {
    return std::to_string(info.width) + " x " + std::to_string(info.height) + " pixels of " +
           std::to_string(info.channels) + (info.channels == 1 ? " channel (" : " channels (") +
           ModelName(info.model) + "), " + std::to_string(info.frames) +
           (info.frames == 1 ? " frame" : " frames");
}

bool FitTogether(const PictureInfo& one, const PictureInfo& other) {
    return one.width == other.width && one.height == other.height && one.channels == other.channels &&
           one.model == other.model && (one.frames == other.frames || one.frames == 1 || other.frames == 1);
}

double DifferenceOf(double a, double b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
    return std::abs(a - b);
}

template <class T>
void StoreAs(const std::vector<double>& values, unsigned char* to) {
    for (const double value : values) {
        const auto stored = static_cast<T>(value);
        std::memcpy(to, &stored, sizeof stored);
        to += sizeof stored;
    }
}

void StoreRow(const std::vector<double>& values, ImageDataType type, unsigned char* to) {
    switch (type) {
        case DataUInt8: return StoreAs<std::uint8_t>(values, to);
        case DataUInt16: return StoreAs<std::uint16_t>(values, to);
        case DataUInt32: return StoreAs<std::uint32_t>(values, to);
        case DataFloat: return StoreAs<float>(values, to);
        default: break;
    }
    for (std::size_t x = 0; x < values.size(); ++x)
        if (values[x] != 0) to[x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
}

}  // namespace

double DifferenceFigures::Psnr() const {
    if (peak == 0) return std::numeric_limits<double>::quiet_NaN();
    return 20 * std::log10(peak / rms);
}

DifferenceSource::DifferenceSource(std::unique_ptr<PictureSource> one, std::unique_ptr<PictureSource> other)
    : first(std::move(one)), second(std::move(other)) {
    const PictureInfo &a = first->Info(), &b = second->Info();
    if (!FitTogether(a, b))
        throw FileError(
            b.file, SizeText(b) + ": cannot be subtracted from " + a.file.string() + " of " + SizeText(a));
    info = a;
    info.frames = std::max(a.frames, b.frames);
    const double largest = LargestOf(a, b);
    info.type = a.model == SubYuv ? DataFloat : TypeFor(largest);
    if (a.type == b.type && ElementBytes(a.type) > 0 && ElementBytes(a.type) <= 2) peak = largest;
    info.window.reset();
    info.lowIsWhite = false;
    auto& notes = info.conversions;
    for (const std::string& line : b.conversions)
        if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
    notes.push_back("difference to " + b.file.string() + ", without its sign");
    CheckSize(info);
}

Frame DifferenceSource::Read(std::uint32_t number, Layout layout) {
    const auto read = [=](PictureSource& source) {
        return source.Read(source.Info().frames == 1 ? 0 : number, layout);
    };
    const Frame a = read(*first), b = read(*second);
    std::vector<unsigned char> pixels(FrameBytes(info));
    const std::size_t rowBytes = FrameBytes(info) / static_cast<std::size_t>(info.height);
    const auto channels = static_cast<std::size_t>(info.channels);
    figures = {};
    figures.peak = peak;
    figures.pixels = static_cast<std::uint64_t>(info.width) * static_cast<std::uint64_t>(info.height);
    double sum = 0;
    double squares = 0;
    for (int y = 0; y < info.height; ++y) {
        std::vector<double> row = RowValues(*a.image, y, 0, info.width);
        const std::vector<double> other = RowValues(*b.image, y, 0, info.width);
        bool differs = false;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const double difference = row[i] = DifferenceOf(row[i], other[i]);
            differs |= difference != 0;
            if (std::isnan(difference)) {
                ++figures.notNumbers;
            } else {
                sum += difference;
                squares += difference * difference;
                if (difference > figures.largest) {
                    figures.largest = difference;
                    figures.x = static_cast<int>(i / channels);
                    figures.y = y;
                    figures.channel = static_cast<int>(i % channels);
                }
            }
            if (i % channels == channels - 1) figures.differing += std::exchange(differs, false);
        }
        StoreRow(row, info.type, pixels.data() + static_cast<std::size_t>(y) * rowBytes);
    }
    const auto numbers = static_cast<double>(figures.pixels * channels - figures.notNumbers);
    figures.mean = sum / numbers;
    figures.rms = std::sqrt(squares / numbers);
    std::vector<std::string> notes = a.notes;
    notes.insert(notes.end(), b.notes.begin(), b.notes.end());
    if (layout == Layout::Interleaved && !FitsInterleaved(info))
        notes.push_back("kept planar: its rows are too long to be interleaved");
    return {MakeRecord(info, layout, {0, info.height - 1}, pixels), std::nullopt, std::move(notes)};
}

void DifferenceSource::Expect(std::uint32_t number) {
    for (PictureSource* source : {first.get(), second.get()})
        source->Expect(source->Info().frames == 1 ? 0 : number);
}

}  // namespace pzel_io
