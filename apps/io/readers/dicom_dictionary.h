// The names that this reader looks up, for files that do not tell the types of their values.
#pragma once

namespace pzel_io {

/// Gives the DICOM library these names instead of its own dictionary, whose thousands take ten times as long
/// to load as a picture to read. To be called before a file is opened.
void LoadDicomDictionary();

}  // namespace pzel_io
