// Which reader a file belongs to, told from its first bytes; the name's ending does not count.
#pragma once

#include <filesystem>
#include <string>

namespace pzel_io {

struct FileKind {
    std::string reader;  ///< the name of the program for it, behind "pzel-read-"
    std::string format;  ///< a short name; where several formats have one reader, the one that it goes by
};

/// @throws FileError for a file that cannot be read, is empty, or starts like no known format
FileKind SniffFile(const std::filesystem::path& file);

}  // namespace pzel_io
