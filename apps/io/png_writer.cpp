// PNG files of shown bitmaps. Bitmaps are blue first, files red first; bits are written as bytes.
#include "apps/io/png_writer.h"

#include <OpenImageIO/imageio.h>
#include <unistd.h>

#include <vector>

#include "apps/io/picture.h"

namespace pzel_io {

namespace {

constexpr unsigned char kWhite = 255;

// A name beside the target that is gone again unless the file was finished.
class PartFile {
  public:
    explicit PartFile(const std::filesystem::path& file) : target(file), part(file.parent_path()) {
        std::string name(1, '.');
        name.append(file.filename().string()).append(".").append(std::to_string(getpid())).append(".part");
        part /= name;
    }
    ~PartFile() {
        std::error_code ignored;
        if (!finished) std::filesystem::remove(part, ignored);
    }
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    const std::filesystem::path& Path() const { return part; }
    void Finish() {
        std::error_code error;
        std::filesystem::rename(part, target, error);
        if (error) throw FileError(target, "cannot be written: " + error.message());
        finished = true;
    }

  private:
    std::filesystem::path target;
    std::filesystem::path part;
    bool finished = false;
};

void FileRow(const ShownBitmap& bitmap, const unsigned char* from, unsigned char* to) {
    for (int x = 0; x < bitmap.width; ++x) {
        switch (bitmap.bits) {
            case 1: to[x] = from[x / 8] & 0x80 >> x % 8 ? kWhite : 0; break;
            case 8: to[x] = from[x]; break;
            default:
                for (int c = 0; c < 3; ++c) to[3 * x + c] = from[3 * x + 2 - c];
        }
    }
}

}  // namespace

void WritePng(const std::filesystem::path& file, const ShownBitmap& bitmap) {
    const int channels = bitmap.bits == 24 ? 3 : 1;
    std::vector<unsigned char> pixels(static_cast<std::size_t>(bitmap.width) * bitmap.height * channels);
    for (int y = 0; y < bitmap.height; ++y) {
        FileRow(bitmap, bitmap.pixels + static_cast<std::ptrdiff_t>(y) * bitmap.rowBytes,
                pixels.data() + static_cast<std::ptrdiff_t>(y) * bitmap.width * channels);
    }
    PartFile part(file);
    const auto output = OIIO::ImageOutput::create("png");
    if (!output) throw FileError(file, "the installed OpenImageIO cannot write png");
    const OIIO::ImageSpec spec(bitmap.width, bitmap.height, channels, OIIO::TypeDesc::UINT8);
    const auto check = [&](bool done) {
        if (done) return;
        std::string reason = output->geterror();
        if (const auto at = reason.find(part.Path().string()); at != std::string::npos) {
            reason.replace(at, part.Path().string().size(), file.filename().string());
        }
        throw FileError(file, "cannot be written: " + reason.substr(0, reason.find('\n')));
    };
    check(output->open(part.Path().string(), spec));
    check(output->write_image(OIIO::TypeDesc::UINT8, pixels.data()));
    check(output->close());
    part.Finish();
}

}  // namespace pzel_io
