// TIFF files of one page, packed in strips; made in memory, since the library goes back to write what it left
// open.
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "apps/io/encoders/encoder.h"

namespace {

using pzel_io::FileBytes;
using pzel_io::FilePicture;
using pzel_io::PixelKind;

// What the library takes for a file.
struct Memory {
    std::vector<unsigned char> bytes;
    std::size_t at = 0;

    static Memory& Of(thandle_t handle) { return *static_cast<Memory*>(handle); }
    static tmsize_t Read(thandle_t handle, void* to, tmsize_t size) {
        Memory& memory = Of(handle);
        const std::size_t left = memory.bytes.size() - std::min(memory.at, memory.bytes.size());
        const std::size_t count = std::min(left, static_cast<std::size_t>(size));
        std::memcpy(to, memory.bytes.data() + memory.at, count);
        memory.at += count;
        return static_cast<tmsize_t>(count);
    }
    // The library has no use for exceptions.
    static tmsize_t Write(thandle_t handle, void* from, tmsize_t size) try {
        Memory& memory = Of(handle);
        const std::size_t end = memory.at + static_cast<std::size_t>(size);
        if (memory.bytes.size() < end) memory.bytes.resize(end);
        std::memcpy(memory.bytes.data() + memory.at, from, static_cast<std::size_t>(size));
        memory.at = end;
        return size;
    } catch (const std::bad_alloc&) {
        return 0;
    }
    static toff_t Seek(thandle_t handle, toff_t to, int from) {
        Memory& memory = Of(handle);
        const std::size_t start = from == SEEK_CUR ? memory.at : from == SEEK_END ? memory.bytes.size() : 0;
        return memory.at = start + to;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }
};

thread_local std::string firstError;

void KeepError(const char*, const char* format, va_list values) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, values);
    if (firstError.empty()) firstError = text;
}

void Check(bool done) {
    if (!done) throw std::runtime_error(firstError.empty() ? "its TIFF cannot be made" : firstError);
}

void SetTags(TIFF* file, const FilePicture& picture, int compression) {
    constexpr int kPredictHorizontally = 2;
    const int channels = Channels(picture.kind);
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(picture.width));
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(picture.height));
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, SampleBits(picture.kind));
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    constexpr std::size_t kStripBytes = 256 << 10;
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP,
                 static_cast<std::uint32_t>(std::max<std::size_t>(1, kStripBytes / RowBytes(picture))));
    TIFFSetField(file, TIFFTAG_COMPRESSION, compression == 0 ? COMPRESSION_NONE : COMPRESSION_ADOBE_DEFLATE);
    if (compression == 0) return;
    TIFFSetField(file, TIFFTAG_ZIPQUALITY, compression);
    if (picture.kind != PixelKind::Bits) TIFFSetField(file, TIFFTAG_PREDICTOR, kPredictHorizontally);
}

}  // namespace

FileBytes pzelEncode(const FilePicture& picture, const pzel_io::EncodeOptions& options) {
    constexpr std::size_t kLargestClassic = std::size_t{4000} << 20;  // offsets of 32 bits
    TIFFSetErrorHandler(KeepError);
    TIFFSetWarningHandler(nullptr);
    firstError.clear();
    const std::size_t rowBytes = RowBytes(picture);
    const bool large = rowBytes * static_cast<std::size_t>(picture.height) > kLargestClassic;
    Memory memory;
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> file(
        TIFFClientOpen("memory", large ? "w8" : "w", &memory, Memory::Read, Memory::Write, Memory::Seek,
                       Memory::Close, Memory::Size, nullptr, nullptr),
        &TIFFClose);
    Check(file != nullptr);
    SetTags(file.get(), picture, options.compression);
    std::vector<unsigned char> row(rowBytes);
    for (int y = 0; y < picture.height; ++y) {
        CopyFileRow(picture, y, row.data());
        Check(TIFFWriteScanline(file.get(), row.data(), static_cast<std::uint32_t>(y), 0) == 1);
    }
    Check(TIFFFlush(file.get()) == 1);
    FileBytes bytes;
    bytes.push_back(std::move(memory.bytes));
    memory = {};
    return bytes;
}
