// PNG files: of 1, 8 or 16 bits, grey or red, green, blue.
#pragma once

#include "apps/io/file_picture.h"

namespace pzel_io {

/// The whole file. Large pictures are packed by several threads, where the compression allows it.
/// @throws std::runtime_error, std::bad_alloc
FileBytes EncodePng(const FilePicture& picture, const EncodeOptions& options);

}  // namespace pzel_io
