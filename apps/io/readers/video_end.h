// Whether a video file goes on to its end, as far as its container tells how long it is: decoders just stop
// where a file does.
#pragma once

#include <filesystem>

namespace pzel_io {

enum class VideoEnd {
    Whole,    ///< or the container does not tell
    Unknown,  ///< it lacks the mark of its end, which some writers leave out
    Cut,
};

/// @throws FileError where the file cannot be read
VideoEnd FindVideoEnd(const std::filesystem::path& file);

}  // namespace pzel_io
