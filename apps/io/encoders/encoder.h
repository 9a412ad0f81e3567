// The one function of an encoder that is loaded when it is needed. Programs that write other formats, or
// nothing, start without its library.
#pragma once

#include "apps/io/file_picture.h"

namespace pzel_io {

/// Makes a whole file of a picture.
/// @throws std::runtime_error, std::bad_alloc
using EncodeFunction = FileBytes (*)(const FilePicture& picture, const EncodeOptions& options);

/// What a module calls it.
inline constexpr const char* kEncodeName = "pzelEncode";

}  // namespace pzel_io

// Returned by value within one build of one program; nobody else loads these modules.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
extern "C" [[gnu::visibility("default")]] pzel_io::FileBytes pzelEncode(
    const pzel_io::FilePicture& picture, const pzel_io::EncodeOptions& options);
