// Printing that is heard of where it fails.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "apps/io/picture_info.h"

/// Prints lines at once.
/// @throws pzel_io::FileError where they cannot be written
inline void PrintLines(std::FILE* stream, const std::string& lines) {
    if (std::fputs(lines.c_str(), stream) >= 0 && std::fflush(stream) == 0) return;
    throw pzel_io::FileError("standard output", std::string("cannot be written: ") + std::strerror(errno));
}
