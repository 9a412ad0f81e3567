// Which encoder makes a file. Encoding comes before the first byte is written.
#include "apps/io/picture_writer.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <new>
#include <stdexcept>

#include "apps/io/encoders/encoder.h"
#include "apps/io/picture_info.h"
#include "apps/io/png_encoder.h"
#include "apps/io/program_parts.h"

namespace pzel_io {

namespace {

// Stays loaded.
EncodeFunction LoadEncoder(const std::string& part) {
    void* module = dlopen(FindPart(part).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* function = module ? dlsym(module, kEncodeName) : nullptr;
    if (!function) throw std::runtime_error(dlerror());
    return reinterpret_cast<EncodeFunction>(function);
}

FileBytes Encode(const FilePicture& picture, FileFormat format, const EncodeOptions& options) {
    switch (format) {
        case FileFormat::Jpeg: {
            static const EncodeFunction jpeg = LoadEncoder("pzel-write-jpeg.so");
            return jpeg(picture, options);
        }
        case FileFormat::Tiff: {
            static const EncodeFunction tiff = LoadEncoder("pzel-write-tiff.so");
            return tiff(picture, options);
        }
        default: return EncodePng(picture, options);
    }
}

}  // namespace

std::optional<FileFormat> FormatOfName(const std::filesystem::path& file) {
    std::string ending = file.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    if (ending == ".png") return FileFormat::Png;
    if (ending == ".jpg" || ending == ".jpeg") return FileFormat::Jpeg;
    if (ending == ".tif" || ending == ".tiff") return FileFormat::Tiff;
    return {};
}

FilePicture AsFilePicture(const ShownBitmap& bitmap) {
    const PixelKind kind = bitmap.bits == 1   ? PixelKind::Bits
                           : bitmap.bits == 8 ? PixelKind::Grey8
                                              : PixelKind::Bgr24;
    return {bitmap.pixels, bitmap.width, bitmap.height, bitmap.rowBytes, kind};
}

WrittenPicture::WrittenPicture(const std::filesystem::path& file, const FilePicture& picture,
                               FileFormat format, const EncodeOptions& options)
    : output(file) {
    FileBytes bytes;
    try {
        bytes = Encode(picture, format, options);
    } catch (const std::bad_alloc&) {
        throw FileError(file, "cannot be written: it does not fit into memory");
    } catch (const std::exception& error) {
        throw FileError(file, std::string("cannot be written: ") + error.what());
    }
    for (const std::vector<unsigned char>& piece : bytes) output.Write(piece);
    output.Close();
}

}  // namespace pzel_io
