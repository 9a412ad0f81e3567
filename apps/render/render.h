// Rendering: frames of a file through the library to PNG files.
#pragma once

#include "options.h"

/// Does what the options say.
/// @throws pzel_io::FileError naming the file and the reason
void Run(const Options& options);
