// Whether a DICOM file is complete, told from the lengths of its elements.
#pragma once

#include <filesystem>

namespace pzel_io {

/// Walks the elements of a file to its end. The decoding library fills what is missing with zeros, or ends
/// the program, so damaged files must not get that far. Structures that the walk does not know pass.
/// @throws FileError for an element that goes beyond the end of the file
void CheckDicomStructure(const std::filesystem::path& file);

}  // namespace pzel_io
