// Which reader a file belongs to, told from its first bytes; the name's ending does not count.
#pragma once

#include <filesystem>
#include <string>

namespace pzel_io {

enum class Reader { Oiio, Dicom, Fits, Video };

struct FileKind {
    Reader reader = Reader::Oiio;
    std::string format;  ///< for Reader::Oiio the reader's name of the format
};

/// @throws FileError for a file that cannot be read, is empty, or starts like no known format
FileKind SniffFile(const std::filesystem::path& file);

}  // namespace pzel_io
