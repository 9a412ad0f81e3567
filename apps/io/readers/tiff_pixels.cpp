// Samples that lie in the file as they lie in a frame are read straight into it. What is compressed is
// decoded straight into it where the rows agree, and through one strip or tile elsewhere.
#include "apps/io/readers/tiff_pixels.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace pzel_io {

// A strip or tile, and the part of the page that it covers.
struct TiffPixels::Chunk {
    std::uint32_t index;
    int plane;
    int left, top;
    int width, height;  // within the page
};

TiffFile::TiffFile(const std::filesystem::path& path)
    // Without strips that the library makes up.
    : tiff(TIFFOpen(path.c_str(), "rc")), descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    std::error_code unknown;
    bytes = std::filesystem::file_size(path, unknown);
    if (unknown) bytes = 0;
}

TiffFile::~TiffFile() {
    if (tiff) TIFFClose(tiff);
    if (descriptor >= 0) close(descriptor);
}

TiffPixels::TiffPixels(const TiffFile& of, const TiffPage& described, std::uint64_t shift, TiffDamage damage)
    : file(of),
      page(described),
      layout(described.layout),
      offset(shift),
      onDamage(damage),
      rowBytes(layout.ChunkRowBytes()) {}

std::uint64_t TiffPixels::End() const {
    std::uint64_t end = 1;
    if (layout.compression == COMPRESSION_OJPEG) return end;  // has its data elsewhere
    const std::size_t count =
        layout.ChunksInPlane() * static_cast<std::size_t>(layout.isSeparate ? layout.samples : 1);
    for (std::size_t i = 0; i < count; ++i) {
        const auto index = static_cast<std::uint32_t>(i);
        const std::uint64_t start = TIFFGetStrileOffset(file.tiff, index);
        const std::uint64_t length = TIFFGetStrileByteCount(file.tiff, index);
        if (length == 0 || start == 0 || start + length < start) return 0;
        end = std::max(end, start + length);
    }
    return end;
}

bool TiffPixels::IsOneBlock() const {
    if (layout.compression != COMPRESSION_NONE || layout.isTiled) return false;
    const std::uint64_t start = TIFFGetStrileOffset(file.tiff, 0);
    const std::size_t count =
        layout.ChunksInPlane() * static_cast<std::size_t>(layout.isSeparate ? layout.samples : 1);
    const auto last = static_cast<std::uint32_t>(count - 1);
    return TIFFGetStrileOffset(file.tiff, last) + TIFFGetStrileByteCount(file.tiff, last) ==
           start + RawBytes();
}

std::uint64_t TiffPixels::RawBytes() const {
    return std::uint64_t{rowBytes} * static_cast<std::uint64_t>(layout.height) *
           static_cast<std::uint64_t>(layout.isSeparate ? layout.samples : 1);
}

void TiffPixels::Read(const Rows& rows, std::span<unsigned char> frame) {
    if (page.byLibrary) {
        ReadByLibrary(rows, frame.data());
        return;
    }
    if (page.colour.conversion == TiffConversion::None) {
        ReadStored(rows, frame.data());
        return;
    }
    const auto width = static_cast<std::size_t>(layout.width);
    const std::size_t storedRow = page.StoredRowBytes(),
                      shownRow = FrameBytes(page.shown) / static_cast<std::size_t>(layout.height);
    const std::unique_ptr<unsigned char[]> stored(
        new unsigned char[storedRow * static_cast<std::size_t>(layout.height)]);
    ReadStored(rows, stored.get());
    for (auto y = static_cast<std::size_t>(rows.first); y <= static_cast<std::size_t>(rows.last); ++y)
        ConvertPixels(page.colour, stored.get() + y * storedRow, frame.data() + y * shownRow, width);
}

void TiffPixels::ReadStored(const Rows& rows, unsigned char* stored) {
    const int planes = layout.isSeparate ? layout.samples : 1;
    for (int plane = 0; plane < planes; ++plane) {
        if (layout.isSeparate && std::find(page.kept.begin(), page.kept.end(), plane) == page.kept.end())
            continue;
        for (int down = rows.first / layout.chunkHeight; down <= rows.last / layout.chunkHeight; ++down) {
            for (int across = 0; across < layout.ChunksAcross(); ++across) {
                const std::size_t index =
                    static_cast<std::size_t>(plane) * layout.ChunksInPlane() +
                    static_cast<std::size_t>(down) * static_cast<std::size_t>(layout.ChunksAcross()) +
                    static_cast<std::size_t>(across);
                Chunk chunk{};
                chunk.index = static_cast<std::uint32_t>(index);
                chunk.plane = plane;
                chunk.left = across * layout.chunkWidth;
                chunk.top = down * layout.chunkHeight;
                chunk.width = std::min(layout.chunkWidth, layout.width - chunk.left);
                chunk.height = std::min(layout.chunkHeight, layout.height - chunk.top);
                ReadChunk(
                    chunk,
                    {std::max(rows.first - chunk.top, 0), std::min(rows.last - chunk.top, chunk.height - 1)},
                    stored);
            }
        }
    }
}

// Old codings of luminance and colour differences.
void TiffPixels::ReadByLibrary(const Rows& rows, unsigned char* frame) {
    const auto width = static_cast<std::size_t>(layout.width);
    const auto height = static_cast<std::size_t>(rows.last) + 1;
    std::vector<std::uint32_t> raster(width * height);
    TIFFRGBAImage image;
    char why[1024] = "";
    TiffReports::Clear();
    bool isWhole = TIFFRGBAImageBegin(&image, file.tiff, onDamage == TiffDamage::Throw, why) != 0;
    if (isWhole) {
        image.req_orientation = image.orientation;  // as it is stored
        isWhole = TIFFRGBAImageGet(&image, raster.data(), static_cast<std::uint32_t>(width),
                                   static_cast<std::uint32_t>(height)) != 0;
        TIFFRGBAImageEnd(&image);
    }
    if (!isWhole || !TiffReports::Damage().empty()) Miss(*why ? why : TiffReports::Damage());
    const std::size_t first = static_cast<std::size_t>(rows.first) * width;
    unsigned char* to = frame + first * 3;
    for (auto pixel = raster.begin() + static_cast<std::ptrdiff_t>(first); pixel != raster.end(); ++pixel) {
        *to++ = static_cast<unsigned char>(TIFFGetR(*pixel));
        *to++ = static_cast<unsigned char>(TIFFGetG(*pixel));
        *to++ = static_cast<unsigned char>(TIFFGetB(*pixel));
    }
}

bool TiffPixels::IsDirect() const {
    if (layout.isTiled || (page.shown.type != DataBit && !IsElement(layout))) return false;
    return page.kept.size() == static_cast<std::size_t>(layout.SamplesInChunk());
}

// `rows` count from the top of the chunk.
void TiffPixels::ReadChunk(const Chunk& chunk, const Rows& rows, unsigned char* stored) {
    if (IsDirect()) {
        Decode(chunk, rows, stored + static_cast<std::size_t>(chunk.top) * rowBytes);
        return;
    }
    const std::unique_ptr<unsigned char[]> decoded(
        new unsigned char[rowBytes * static_cast<std::size_t>(layout.chunkHeight)]);
    Decode(chunk, rows, decoded.get());
    Place(chunk, rows, decoded.get(), stored);
}

void TiffPixels::Place(const Chunk& chunk, const Rows& rows, const unsigned char* decoded,
                       unsigned char* stored) const {
    const auto width = static_cast<std::size_t>(chunk.width), left = static_cast<std::size_t>(chunk.left);
    const auto samples = static_cast<std::size_t>(layout.SamplesInChunk());
    const std::size_t elementBytes = ElementBytes(page.StoredType());
    const std::size_t pixelBytes = page.kept.size() * elementBytes;
    for (int y = rows.first; y <= rows.last; ++y) {
        const unsigned char* from = decoded + static_cast<std::size_t>(y) * rowBytes;
        unsigned char* row = stored + static_cast<std::size_t>(chunk.top + y) * page.StoredRowBytes();
        if (page.shown.type == DataBit) {
            std::memcpy(row + left / 8, from, (width + 7) / 8);
            continue;
        }
        row += left * pixelBytes;
        if (page.kept.size() == samples && !layout.isSeparate) {
            UnpackSamples(layout, {from, 0, 1, width * samples}, row, elementBytes);
            continue;
        }
        for (const int& sample : page.kept) {
            if (layout.isSeparate && sample != chunk.plane) continue;
            const auto channel = static_cast<std::size_t>(&sample - page.kept.data());
            const std::size_t first = layout.isSeparate ? 0 : static_cast<std::size_t>(sample);
            UnpackSamples(layout, {from, first, samples, width}, row + channel * elementBytes, pixelBytes);
        }
    }
}

// Leaves at least the wanted rows at their places in the chunk, which starts at `to`.
void TiffPixels::Decode(const Chunk& chunk, const Rows& rows, unsigned char* to) {
    TiffReports::Clear();
    const int whole = layout.compression == COMPRESSION_NONE ? DecodeRaw(chunk, rows, to)
                                                             : DecodeCompressed(chunk, rows.last + 1, to);
    if (whole > rows.last) return;
    const std::string& report = TiffReports::Damage();
    Miss((layout.isTiled ? "tile " : "strip ") + std::to_string(chunk.index) + " lacks rows" +
         (report.empty() ? "" : " (" + report + ")"));
    const int from = std::max(whole, rows.first);
    std::memset(to + static_cast<std::size_t>(from) * rowBytes, 0,
                static_cast<std::size_t>(rows.last + 1 - from) * rowBytes);
}

// The rows up to the one that is returned are whole.
int TiffPixels::DecodeRaw(const Chunk& chunk, const Rows& rows, unsigned char* to) {
    const std::uint64_t start = TIFFGetStrileOffset(file.tiff, chunk.index);
    const std::uint64_t length = TIFFGetStrileByteCount(file.tiff, chunk.index);
    if (start == 0) return 0;
    const std::size_t skipped = static_cast<std::size_t>(rows.first) * rowBytes;
    const std::size_t end = static_cast<std::size_t>(rows.last + 1) * rowBytes;
    const std::size_t there = std::min<std::uint64_t>(length, end);
    if (there <= skipped) return 0;
    const std::size_t count = ReadBytes(start + offset + skipped, there - skipped, to + skipped);
    Arrange(to + skipped, count / rowBytes * rowBytes);
    return static_cast<int>((skipped + count) / rowBytes);
}

void TiffPixels::Arrange(unsigned char* bytes, std::size_t count) const {
    std::uint16_t order = FILLORDER_MSB2LSB;
    TIFFGetFieldDefaulted(file.tiff, TIFFTAG_FILLORDER, &order);
    if (order == FILLORDER_LSB2MSB) TIFFReverseBits(bytes, static_cast<tmsize_t>(count));
    if (!TIFFIsByteSwapped(file.tiff)) return;
    const auto words = static_cast<tmsize_t>(count * 8 / static_cast<std::size_t>(layout.bits));
    switch (layout.bits) {
        case 16: TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t*>(bytes), words); break;
        case 24: TIFFSwabArrayOfTriples(bytes, words); break;
        case 32: TIFFSwabArrayOfLong(reinterpret_cast<std::uint32_t*>(bytes), words); break;
        case 64: TIFFSwabArrayOfLong8(reinterpret_cast<std::uint64_t*>(bytes), words); break;
        default: break;
    }
}

std::size_t TiffPixels::ReadBytes(std::uint64_t from, std::size_t count, unsigned char* to) const {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t read = pread(file.descriptor, to + done, count - done, static_cast<off_t>(from + done));
        if (read < 0 && errno == EINTR) continue;
        if (read <= 0) break;
        done += static_cast<std::size_t>(read);
    }
    return done;
}

// Where not all rows can be decoded: as many as can, which halving finds.
int TiffPixels::DecodeCompressed(const Chunk& chunk, int count, unsigned char* to) {
    const std::uint64_t start = TIFFGetStrileOffset(file.tiff, chunk.index);
    const std::uint64_t length = TIFFGetStrileByteCount(file.tiff, chunk.index);
    if (start == 0 || start >= file.bytes) return 0;
    packed.resize(std::min(length, file.bytes - start));
    packed.resize(ReadBytes(start, packed.size(), packed.data()));
    if (packed.empty()) return 0;
    const bool isCut = packed.size() < length;
    if ((!isCut || onDamage == TiffDamage::LeaveBlack) && DecodesTo(chunk, count, to)) return count;
    if (onDamage == TiffDamage::Throw) return 0;
    const std::string report = TiffReports::Damage();
    int good = 0, bad = count;
    while (bad - good > 1) {
        const int middle = good + (bad - good) / 2;
        (DecodesTo(chunk, middle, to) ? good : bad) = middle;
    }
    return good > 0 && DecodesTo(chunk, good, to) ? good : 0;
}

bool TiffPixels::DecodesTo(const Chunk& chunk, int count, unsigned char* to) {
    TiffReports::Clear();
    // The library turns the bits of what it is given round, where the page asks for it, and back.
    const auto bytes = static_cast<tmsize_t>(static_cast<std::size_t>(count) * rowBytes);
    return TIFFReadFromUserBuffer(file.tiff, chunk.index, packed.data(), static_cast<tmsize_t>(packed.size()),
                                  to, bytes) == 1 &&
           TiffReports::Damage().empty();
}

void TiffPixels::Miss(const std::string& reason) {
    if (onDamage == TiffDamage::Throw) throw std::runtime_error("is damaged or cut short: " + reason);
    if (missing.empty()) missing = "is damaged or cut short, and black where nothing is left: " + reason;
}

}  // namespace pzel_io
