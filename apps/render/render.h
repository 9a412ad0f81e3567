// Rendering: frames of a file through the library to files.
#pragma once

#include "options.h"

/// Does what the options say. The exit status: of --each, 1 where an input failed.
/// @throws pzel_io::FileError naming the file and the reason
int Run(const Options& options);
