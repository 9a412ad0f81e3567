// Interlaced pictures: two field pictures woven into one, and one field of a picture.
#pragma once

#include <memory>

#include "apps/io/picture.h"

namespace pzel_io {

/// Every second row of a frame: 0, 2, 4, … or 1, 3, 5, ….
enum class Field { Even, Odd };

/// Frames whose even rows are those of one picture and whose odd rows are those of another.
/// @throws FileError naming the second where it does not fit the first: as many rows or one less, everything
///   else alike
std::unique_ptr<PictureSource> WeaveFields(std::unique_ptr<PictureSource> even,
                                           std::unique_ptr<PictureSource> odd);

/// One field of every frame at the frame's height: each row stands for the one that was taken out, too.
/// @throws FileError for the odd field of a picture of one row
std::unique_ptr<PictureSource> TakeField(std::unique_ptr<PictureSource> frames, Field field);

}  // namespace pzel_io
