// Writing a shown bitmap as a PNG file.
#pragma once

#include <filesystem>

#include "pzel/component/shown_bitmap.h"

namespace pzel_io {

/// Writes a bitmap of 1 (as grey of 0 and 255), 8 or 24 bits. The file appears complete or not at all: it is
/// written beside its place and then renamed.
/// @throws FileError naming `file`
void WritePng(const std::filesystem::path& file, const ShownBitmap& bitmap);

}  // namespace pzel_io
