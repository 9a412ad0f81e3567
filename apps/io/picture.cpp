// What all readers share: limits of a record, and the way of a reader's pixels into a record of either
// layout. Which reader opens a file is decided here too; how it reads is left to the sources.
#include "apps/io/picture.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <span>

#include "apps/io/dicom_source.h"
#include "apps/io/file_kind.h"
#include "apps/io/fits_source.h"
#include "apps/io/oiio_source.h"
#include "apps/io/video_source.h"
#include "pzel/image/lifecycle.h"

namespace pzel_io {

namespace {

constexpr double kPlainNumbers = 1e5;  // beyond, a float in few digits is not the exact number
constexpr int kLargestSide = std::numeric_limits<std::uint16_t>::max();
constexpr std::size_t kLargestRow = std::numeric_limits<std::uint16_t>::max();     // bytes
constexpr std::size_t kLargestRecord = std::numeric_limits<std::uint32_t>::max();  // bytes

std::size_t PlaneRowBytes(const PictureInfo& info) {
    const auto width = static_cast<std::size_t>(info.width);
    return info.type == DataBit ? (width + 7) / 8 : width * ElementBytes(info.type);
}

// The place of a channel, as a user counts, in a record: colour is stored blue first.
std::size_t StoredChannel(const PictureInfo& info, std::size_t channel) {
    const bool reversed = info.model == SubColour && info.channels == 3;
    return reversed ? 2 - channel : channel;
}

// One channel of the delivered pixels goes to its place in the record, `step` elements from pixel to pixel.
template <std::size_t Bytes>
void StoreChannel(const unsigned char* from, std::size_t fromStep, unsigned char* to, std::size_t toStep,
                  std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        std::memcpy(to + i * toStep * Bytes, from + i * fromStep * Bytes, Bytes);
    }
}

void StorePixels(const PictureInfo& info, Layout layout, std::span<const unsigned char> pixels,
                 unsigned char* data) {
    if (info.channels == 1) {
        std::memcpy(data, pixels.data(), pixels.size());
        return;
    }
    const auto channels = static_cast<std::size_t>(info.channels);
    const std::size_t bytes = ElementBytes(info.type);
    const std::size_t count = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
    const auto store = bytes == 1 ? StoreChannel<1> : bytes == 2 ? StoreChannel<2> : StoreChannel<4>;
    for (std::size_t c = 0; c < channels; ++c) {
        const std::size_t place = StoredChannel(info, c) * bytes;
        const bool interleaved = layout == Layout::Interleaved;
        store(pixels.data() + c * bytes, channels, data + (interleaved ? place : place * count),
              interleaved ? channels : 1, count);
    }
}

}  // namespace

FileError::FileError(const std::filesystem::path& file, const std::string& reason)
    : std::runtime_error(file.string() + ": " + reason) {}

void ImageDeleter::operator()(Image* image) const {
    DeleteImage(image);
}

void PictureSource::Fail(const std::string& reason) const {
    throw FileError(info.file, reason);
}

void FileSource::CheckSize() const {
    if (info.width < 1 || info.height < 1) Fail("holds no pixels");
    const std::string size = std::to_string(info.width) + " x " + std::to_string(info.height) + " pixels";
    if (info.width > kLargestSide || info.height > kLargestSide) {
        Fail(size + ": a record holds at most 65535 columns and rows");
    }
    if (PlaneRowBytes(info) > kLargestRow) {
        Fail(size + ": a row of " + std::to_string(PlaneRowBytes(info)) +
             " bytes is longer than a record can hold (65535)");
    }
    if (PlaneRowBytes(info) * info.height * info.channels > kLargestRecord) {
        Fail(size + ": more than 4 GiB in a frame");
    }
}

OwnedImage FileSource::Read(std::uint32_t frame, Layout layout) {
    if (frame >= info.frames) {
        Fail("has no frame " + std::to_string(frame) + "; its frames are 0 to " +
             std::to_string(info.frames - 1));
    }
    CheckSize();
    const std::size_t planeRow = PlaneRowBytes(info);
    const bool interleaved = layout == Layout::Interleaved && info.channels > 1;
    if (interleaved && planeRow * info.channels > kLargestRow) {
        Fail("an interleaved row of " + std::to_string(planeRow * info.channels) +
             " bytes is longer than a record can hold (65535); the planar layout would hold it");
    }
    const RawPixels pixels = ReadPixels(frame);
    if (pixels.size() != planeRow * info.height * info.channels) Fail("is cut short");
    OwnedImage image(NewImage(static_cast<unsigned short>(info.width),
                              static_cast<unsigned short>(info.height),
                              static_cast<unsigned char>(info.channels), info.type, interleaved));
    SetImageType(image.get(), static_cast<unsigned short>(info.model));
    StorePixels(info, layout, pixels, image->data);
    return image;
}

std::unique_ptr<PictureSource> OpenPicture(const std::filesystem::path& file, Purpose purpose) {
    const FileKind kind = SniffFile(file);
    try {
        switch (kind.reader) {
            case Reader::Dicom: return OpenDicom(file);
            case Reader::Fits: return OpenFits(file);
            case Reader::Video: return OpenVideo(file);
            case Reader::Oiio: break;
        }
        return OpenOiio(file, kind.format, purpose);
    } catch (const std::bad_alloc&) {
        throw FileError(file, "does not fit into memory");
    }
}

std::size_t ElementBytes(ImageDataType type) {
    return static_cast<std::size_t>(DataBytes(type));
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
