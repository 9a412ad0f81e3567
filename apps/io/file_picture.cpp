// Rows as files want them. Linked into the encoders that are loaded when needed as well.
#include "apps/io/file_picture.h"

#include <cstring>

namespace pzel_io {

void CopyFileRow(const FilePicture& picture, int y, unsigned char* to) {
    const unsigned char* from = picture.Row(y);
    const std::size_t bytes = RowBytes(picture);
    if (picture.kind != PixelKind::Bgr24) {
        std::memcpy(to, from, bytes);
        constexpr int kByteBits = 8;
        const int used = picture.width % kByteBits;
        if (picture.kind == PixelKind::Bits && used != 0)
            to[bytes - 1] &= static_cast<unsigned char>(0xFF << (kByteBits - used));
        return;
    }
    for (std::size_t i = 0; i < bytes; i += 3) {
        to[i] = from[i + 2];
        to[i + 1] = from[i + 1];
        to[i + 2] = from[i];
    }
}

}  // namespace pzel_io
