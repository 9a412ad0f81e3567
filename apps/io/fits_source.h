// Astronomical pictures (FITS), through CFITSIO.
#pragma once

#include <filesystem>
#include <memory>

#include "apps/io/picture.h"

namespace pzel_io {

std::unique_ptr<PictureSource> OpenFits(const std::filesystem::path& file);

}  // namespace pzel_io
