// What --info prints.
#pragma once

#include <ostream>

#include "apps/io/picture.h"
#include "frame_maker.h"

/// Tells what a file holds and how `image`, a frame of it that `maker` made, would be shown.
void PrintInfo(std::ostream& out, const pzel_io::PictureInfo& info, const FrameMaker& maker, Image& image);
