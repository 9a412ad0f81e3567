// The way of a reader's pixels into a record of either layout, and the door through which files are opened.
#include "apps/io/picture.h"

#include <algorithm>
#include <cstdlib>
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

// The rows that are wanted; what lies around them is left as it is.
void StorePixels(const PictureInfo& info, Layout layout, const Rows& rows,
                 std::span<const unsigned char> pixels, unsigned char* data) {
    const bool interleaved = layout == Layout::Interleaved;
    const auto channels = static_cast<std::size_t>(info.channels);
    const bool turned = info.model == SubColour && channels == 3;  // colour is stored blue first
    const auto first = static_cast<std::size_t>(rows.first);
    const auto number = static_cast<std::size_t>(rows.last - rows.first + 1);
    const std::size_t planeRow = PlaneRowBytes(info);
    const unsigned char* const from = pixels.data() + first * planeRow * channels;
    if (channels == 1 || interleaved) data += first * planeRow * channels;
    if (channels == 1 || (interleaved && !turned)) {
        std::memcpy(data, from, number * planeRow * channels);
        return;
    }
    const std::size_t bytes = ElementBytes(info.type);
    const std::size_t count = static_cast<std::size_t>(info.width) * number;
    if (interleaved) {
        const auto turn = bytes == 1   ? TurnColour<std::uint8_t>
                          : bytes == 2 ? TurnColour<std::uint16_t>
                                       : TurnColour<std::uint32_t>;
        turn(from, data, count);
        return;
    }
    const auto store = bytes == 1 ? StoreChannel<1> : bytes == 2 ? StoreChannel<2> : StoreChannel<4>;
    for (std::size_t c = 0; c < channels; ++c) {
        const std::size_t place = turned ? channels - 1 - c : c;
        const std::size_t plane = planeRow * static_cast<std::size_t>(info.height);
        store(from + c * bytes, channels, data + place * plane + first * planeRow, 1, count);
    }
}

// A black record: memory that the system gives is black, and costs nothing until it is used.
OwnedImage BlackRecord(const PictureInfo& info, bool interleaved) {
    OwnedImage image(AllocImage());
    auto* const data = static_cast<unsigned char*>(std::calloc(FrameBytes(info), 1));
    if (!data) throw std::bad_alloc();
    ConstructImage(*image, static_cast<unsigned short>(info.width), static_cast<unsigned short>(info.height),
                   static_cast<unsigned short>(info.channels), data, static_cast<unsigned short>(info.type),
                   interleaved, false);
    return image;
}

}  // namespace

void ImageDeleter::operator()(Image* image) const {
    DeleteImage(image);
}

bool FitsInterleaved(const PictureInfo& info) {
    return PlaneRowBytes(info) * static_cast<std::size_t>(info.channels) <= kLargestRow;
}

OwnedImage MakeRecord(const PictureInfo& info, Layout layout, const Rows& rows,
                      std::span<const unsigned char> pixels) {
    const bool interleaved = layout == Layout::Interleaved && info.channels > 1;
    const bool whole = rows.first == 0 && rows.last == info.height - 1;
    OwnedImage image =
        whole ? OwnedImage(NewImage(static_cast<unsigned short>(info.width),
                                    static_cast<unsigned short>(info.height),
                                    static_cast<unsigned char>(info.channels), info.type, interleaved))
              : BlackRecord(info, interleaved);
    SetImageType(image.get(), static_cast<unsigned short>(info.model));
    StorePixels(info, layout, rows, pixels, image->data);
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
