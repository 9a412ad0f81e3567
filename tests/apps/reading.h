// Files opened as hosts open them, and what must hold of every reader.
#pragma once

#include <string>
#include <vector>

#include "apps/io/picture.h"

/// The bytes of a frame, pixel by pixel, channels as a user names them.
std::string FrameOf(pzel_io::PictureSource& source, std::uint32_t frame);
/// Of all frames, from the first to the last.
std::vector<std::string> FramesOf(const std::string& file, const pzel_io::OpenOptions& options = {});
/// Asks for the frames of a file in any order, which must be those of playing it.
void ExpectSameInAnyOrder(const std::string& file, std::uint32_t mostFrames = 400);
/// What is left of a file must be refused, or still be all of it; what is shown on request must be told.
void ExpectCutsRefused(const std::string& file, const std::string& cut, int cuts = 12);
/// The reason for which a file is refused; empty where it is not.
std::string ReasonAgainst(const std::string& file, const pzel_io::OpenOptions& options = {});
