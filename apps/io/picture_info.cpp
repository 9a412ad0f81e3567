// Sizes, limits and names.
#include "apps/io/picture_info.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace pzel_io {

namespace {

constexpr double kPlainNumbers = 1e5;  // beyond, a float in few digits is not the exact number
constexpr int kLargestSide = std::numeric_limits<std::uint16_t>::max();
constexpr std::size_t kLargestRow = std::numeric_limits<std::uint16_t>::max();     // bytes
constexpr std::size_t kLargestRecord = std::numeric_limits<std::uint32_t>::max();  // bytes

}  // namespace

FileError::FileError(const std::filesystem::path& file, const std::string& reason)
    : std::runtime_error(file.string() + ": " + reason), why(reason) {}

std::size_t ElementBytes(ImageDataType type) {
    switch (type) {
        case DataUInt8:
        case DataInt8: return 1;
        case DataUInt16:
        case DataInt16: return 2;
        case DataUInt32:
        case DataInt32:
        case DataFloat: return 4;
        default: return 0;
    }
}

std::size_t PlaneRowBytes(const PictureInfo& info) {
    const auto width = static_cast<std::size_t>(info.width);
    return info.type == DataBit ? (width + 7) / 8 : width * ElementBytes(info.type);
}

std::size_t FrameBytes(const PictureInfo& info) {
    return PlaneRowBytes(info) * static_cast<std::size_t>(info.height) *
           static_cast<std::size_t>(info.channels);
}

void CheckSize(const PictureInfo& info) {
    const auto fail = [&](const std::string& reason) { throw FileError(info.file, reason); };
    if (info.width < 1 || info.height < 1) fail("holds no pixels");
    const std::string size = std::to_string(info.width) + " x " + std::to_string(info.height) + " pixels";
    if (info.width > kLargestSide || info.height > kLargestSide) {
        fail(size + ": a record holds at most 65535 columns and rows");
    }
    if (PlaneRowBytes(info) > kLargestRow) {
        fail(size + ": a row of " + std::to_string(PlaneRowBytes(info)) +
             " bytes is longer than a record can hold (65535)");
    }
    if (FrameBytes(info) > kLargestRecord) fail(size + ": more than 4 GiB in a frame");
}

const char* TypeName(ImageDataType type) {
    switch (type) {
        case DataNone: return "none";
        case DataBit: return "bit";
        case DataUInt8: return "uint8";
        case DataInt8: return "int8";
        case DataUInt16: return "uint16";
        case DataInt16: return "int16";
        case DataUInt32: return "uint32";
        case DataInt32: return "int32";
        case DataFloat: return "float";
    }
    return "unknown";
}

const char* ModelName(ImageSubType model) {
    return model == SubYuv ? "yuv" : model == SubColour ? "colour" : "grey";
}

std::string NumberText(double number) {
    std::array<char, 32> text;
    // Values that came from floats are told as such: 0.795, not 0.795000017.
    const auto narrow = static_cast<float>(number);
    const bool isFloat = static_cast<double>(narrow) == number && std::abs(number) < kPlainNumbers;
    const auto end = isFloat ? std::to_chars(text.begin(), text.end(), narrow)
                             : std::to_chars(text.begin(), text.end(), number);
    return {text.data(), end.ptr};
}

}  // namespace pzel_io
