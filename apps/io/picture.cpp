// The way of a reader's pixels into a record of either layout, and the door through which files are opened.
#include "apps/io/picture.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "apps/io/file_kind.h"
#include "apps/io/reader_process.h"
#include "pzel/image/lifecycle.h"

namespace pzel_io {

namespace {

constexpr std::size_t kLargestRow = std::numeric_limits<std::uint16_t>::max();  // bytes

// One channel of the delivered pixels goes to its place in the record, `step` elements from pixel to pixel.
template <std::size_t Bytes>
void StoreChannel(const unsigned char* from, std::size_t fromStep, unsigned char* to, std::size_t toStep,
                  std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        std::memcpy(to + i * toStep * Bytes, from + i * fromStep * Bytes, Bytes);
    }
}

// The common case in one pass: red, green, blue to blue, green, red.
template <class T>
void TurnColour(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i, from += 3 * sizeof(T), to += 3 * sizeof(T)) {
        T pixel[3];
        std::memcpy(pixel, from, sizeof pixel);
        std::swap(pixel[0], pixel[2]);
        std::memcpy(to, pixel, sizeof pixel);
    }
}

void StorePixels(const PictureInfo& info, Layout layout, std::span<const unsigned char> pixels,
                 unsigned char* data) {
    const bool interleaved = layout == Layout::Interleaved;
    const auto channels = static_cast<std::size_t>(info.channels);
    const bool turned = info.model == SubColour && channels == 3;  // colour is stored blue first
    if (channels == 1 || (interleaved && !turned)) {
        std::memcpy(data, pixels.data(), pixels.size());
        return;
    }
    const std::size_t bytes = ElementBytes(info.type);
    const std::size_t count = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
    if (interleaved) {
        const auto turn = bytes == 1   ? TurnColour<std::uint8_t>
                          : bytes == 2 ? TurnColour<std::uint16_t>
                                       : TurnColour<std::uint32_t>;
        turn(pixels.data(), data, count);
        return;
    }
    const auto store = bytes == 1 ? StoreChannel<1> : bytes == 2 ? StoreChannel<2> : StoreChannel<4>;
    for (std::size_t c = 0; c < channels; ++c) {
        const std::size_t place = turned ? channels - 1 - c : c;
        store(pixels.data() + c * bytes, channels, data + place * bytes * count, 1, count);
    }
}

}  // namespace

void ImageDeleter::operator()(Image* image) const {
    DeleteImage(image);
}

bool FitsInterleaved(const PictureInfo& info) {
    return PlaneRowBytes(info) * static_cast<std::size_t>(info.channels) <= kLargestRow;
}

OwnedImage MakeRecord(const PictureInfo& info, Layout layout, std::span<const unsigned char> pixels) {
    OwnedImage image(NewImage(static_cast<unsigned short>(info.width),
                              static_cast<unsigned short>(info.height),
                              static_cast<unsigned char>(info.channels), info.type,
                              layout == Layout::Interleaved && info.channels > 1));
    SetImageType(image.get(), static_cast<unsigned short>(info.model));
    StorePixels(info, layout, pixels, image->data);
    return image;
}

std::unique_ptr<PictureSource> OpenPicture(const std::filesystem::path& file, const OpenOptions& options,
                                           ReaderPool* pool) {
    const FileKind kind = SniffFile(file);
    try {
        return OpenReaderProcess(file, kind, options, pool);
    } catch (const std::bad_alloc&) {
        throw FileError(file, "does not fit into memory");
    }
}

}  // namespace pzel_io
