// A file whose reader runs as a program of its own. Frames come through shared memory; a crash of the reader,
// or more memory or time than the file can need, is an error of the file.
#pragma once

#include <memory>

#include "apps/io/file_kind.h"
#include "apps/io/picture.h"

namespace pzel_io {

/// @throws FileError for what the reader says, or where it ends
std::unique_ptr<PictureSource> OpenReaderProcess(const std::filesystem::path& file, const FileKind& kind,
                                                 const OpenOptions& options);

}  // namespace pzel_io
