// What all encoders take: pixels on their way into a file, and what they give: the bytes of the file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace pzel_io {

/// Bits are packed, most significant bit first. Samples of 16 bits have the machine's byte order.
enum class PixelKind { Bits, Grey8, Bgr24, Grey16, Rgb48 };

/// Pixels of somebody else, rows from the top.
struct FilePicture {
    const unsigned char* pixels = nullptr;
    int width = 0;
    int height = 0;
    std::ptrdiff_t rowBytes = 0;  ///< from one row to the next
    PixelKind kind = PixelKind::Grey8;

    const unsigned char* Row(int y) const { return pixels + y * rowBytes; }
};

constexpr int Channels(PixelKind kind) {
    return kind == PixelKind::Bgr24 || kind == PixelKind::Rgb48 ? 3 : 1;
}
constexpr int SampleBits(PixelKind kind) {
    switch (kind) {
        case PixelKind::Bits: return 1;
        case PixelKind::Grey16:
        case PixelKind::Rgb48: return 16;
        default: return 8;
    }
}
/// Bytes of a row without padding.
constexpr std::size_t RowBytes(const FilePicture& picture) {
    const std::size_t bits =
        static_cast<std::size_t>(picture.width) * Channels(picture.kind) * SampleBits(picture.kind);
    return (bits + 7) / 8;
}

/// What becomes of a row in a file: red first, the bits behind the last pixel clear.
void CopyFileRow(const FilePicture& picture, int y, unsigned char* to);

enum class FileFormat { Png, Jpeg, Tiff };

/// How small, how exact and by how many threads.
struct EncodeOptions {
    int compression = 1;  ///< PNG and TIFF: 0 (none) to 9 (smallest)
    int quality = 90;     ///< JPEG: 1 to 100
    int threads = 1;      ///< at most
};

/// The bytes of a file, in pieces that follow one another.
using FileBytes = std::vector<std::vector<unsigned char>>;

}  // namespace pzel_io
