// Medical pictures (DICOM), through GDCM.
#pragma once

#include <filesystem>
#include <memory>

#include "apps/io/picture.h"

namespace pzel_io {

std::unique_ptr<PictureSource> OpenDicom(const std::filesystem::path& file);

}  // namespace pzel_io
