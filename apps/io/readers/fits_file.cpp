// Opening a FITS file, after unpacking it where it is packed as a whole.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>

#include "apps/io/readers/fits_units.h"

namespace pzel_io {

namespace {

// A packed file may unpack to so much: what is observed packs by less than a half, empty sky by more.
constexpr std::int64_t kMostUnpacked = std::int64_t{512} << 20;
constexpr std::int64_t kMostFromByte = 8;

}  // namespace

std::string FitsStatusText(int status) {
    char text[FLEN_STATUS] = {};
    fits_get_errstatus(status, text);
    fits_clear_errmsg();
    return text;
}

FitsFile::FitsFile(const std::filesystem::path& file, bool partial)
    : descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    unsigned char head[2] = {};
    struct stat found {};
    if (descriptor < 0 || fstat(descriptor, &found) != 0) throw FileError(file, std::strerror(errno));
    size = found.st_size;
    isPacked = Read(0, head, sizeof head) && head[0] == 0x1F && head[1] == 0x8B;
    if (isPacked) Unpack(file, partial);
    // The plain form: names are names here, never expressions.
    const std::string name = isPacked ? "/proc/self/fd/" + std::to_string(descriptor) : file.string();
    fitsfile* opened = nullptr;
    int status = 0;
    if (fits_open_diskfile(&opened, name.c_str(), READONLY, &status)) {
        if (status == END_OF_FILE || status == NO_END || status == READ_ERROR)
            throw FileError(file, "is cut short");
        throw FileError(file, (isPacked ? "holds no picture: its unpacked content cannot be opened as fits: "
                                        : "cannot be opened as fits: ") +
                                  FitsStatusText(status));
    }
    fits.reset(opened);
}

FitsFile::~FitsFile() {
    if (descriptor >= 0) close(descriptor);
}

bool FitsFile::Read(std::int64_t at, void* to, std::size_t count) const {
    auto* place = static_cast<char*>(to);
    while (count > 0) {
        const ssize_t read = pread(descriptor, place, count, at);
        if (read <= 0) return false;
        place += read;
        at += read;
        count -= static_cast<std::size_t>(read);
    }
    return true;
}

// Into memory that looks like a file.
void FitsFile::Unpack(const std::filesystem::path& file, bool partial) {
    const int memory = memfd_create("unpacked", MFD_CLOEXEC);
    if (memory < 0) throw FileError(file, std::strerror(errno));
    const std::int64_t most = kMostUnpacked + kMostFromByte * size;
    const gzFile packed = gzdopen(descriptor, "rb");  // which owns it now
    descriptor = memory;
    size = 0;
    if (!packed) throw std::bad_alloc();
    std::vector<char> block(1 << 18);
    gzbuffer(packed, 1 << 17);
    int count = 0;
    bool isHeld = true;
    while (isHeld && (count = gzread(packed, block.data(), static_cast<unsigned>(block.size()))) > 0) {
        isHeld =
            size + count <= most && write(memory, block.data(), static_cast<std::size_t>(count)) == count;
        size += count;
    }
    int error = Z_OK;
    gzerror(packed, &error);
    gzclose(packed);
    if (!isHeld) throw FileError(file, "unpacks to more than fits into memory");
    isCut = count < 0 || error == Z_BUF_ERROR;
    if (isCut && !partial) {
        throw FileError(file,
                        error == Z_BUF_ERROR ? "is cut short" : "is damaged: its packed bytes make no sense");
    }
}

}  // namespace pzel_io
