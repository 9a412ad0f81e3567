// Frames that are made into something else again and again, such as a mask while its threshold is dragged.
#pragma once

#include <memory>

#include "apps/io/picture.h"

namespace pzel_io {

/// The same frames, of which the last one is kept: read again, it is a copy.
std::unique_ptr<PictureSource> KeepLastFrame(std::unique_ptr<PictureSource> frames);

}  // namespace pzel_io
