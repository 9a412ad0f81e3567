// PNG's filters: rows as differences from what lies left and above, which deflate packs better.
#pragma once

#include <vector>

#include "apps/io/file_picture.h"

namespace pzel_io {

/// Which filter the rows get. Adaptive tries all for each row and takes the one with the smallest sum of
/// differences.
enum class RowFilter { None, Paeth, Adaptive };

/// Filtered rows `first` … `last` - 1, each behind the byte that names its filter.
std::vector<unsigned char> FilteredRows(const FilePicture& picture, int first, int last, RowFilter filter);

}  // namespace pzel_io
