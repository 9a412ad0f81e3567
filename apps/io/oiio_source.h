// Pictures of the common formats, through OpenImageIO: the values that the file stores, in its own
// element type, never premultiplied by alpha.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "apps/io/picture.h"

namespace pzel_io {

/// `format` is the reader's name of the format.
std::unique_ptr<PictureSource> OpenOiio(const std::filesystem::path& file, const std::string& format,
                                        Purpose purpose);

}  // namespace pzel_io
