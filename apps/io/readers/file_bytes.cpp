// Mapped, so that only what is looked at is read.
#include "apps/io/readers/file_bytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "apps/io/picture_info.h"

namespace pzel_io {

FileBytes::FileBytes(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat found {};
    void* start = MAP_FAILED;
    if (descriptor >= 0 && fstat(descriptor, &found) == 0)
        start = mmap(nullptr, static_cast<std::size_t>(found.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
    const int error = errno;
    if (descriptor >= 0) close(descriptor);
    if (start == MAP_FAILED) throw FileError(file, std::strerror(error));
    bytes = {static_cast<const unsigned char*>(start), static_cast<std::size_t>(found.st_size)};
}

FileBytes::~FileBytes() {
    munmap(const_cast<unsigned char*>(bytes.data()), bytes.size());
}

}  // namespace pzel_io
