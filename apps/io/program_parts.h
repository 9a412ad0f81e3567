// Where a program finds the parts that belong to it: readers, and what else is opened only when needed.
#pragma once

#include <filesystem>
#include <string>

namespace pzel_io {

/// The path of a part: in the folder "parts" beside the program (or the shared object that this is linked
/// into), as in the build folder, or where it was installed, told relative to the program, so that a prefix
/// can be moved.
/// @throws std::runtime_error naming the part and both places where it is in neither
std::filesystem::path FindPart(const std::string& name);

}  // namespace pzel_io
