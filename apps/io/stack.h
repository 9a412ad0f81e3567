// Many files as the frames of one picture: slices of a scan, pictures of a series, a folder of either.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/io/picture.h"

namespace pzel_io {

/// What the frames of a stack follow one another by.
enum class StackOrder {
    Auto,      ///< position where each file tells one, else instance, else name
    Position,  ///< of the slice along its stack
    Instance,  ///< the number in a series
    Name,      ///< numbers in names count by their value: slice2 comes before slice10
    Given      ///< as listed
};

/// The files that an argument stands for: those of a folder (without hidden ones and folders in it), or those
/// that fit a pattern of *, ? and [...], by name; a file that is there is itself.
/// @throws FileError for a folder or a pattern without files
std::vector<std::filesystem::path> FilesOf(const std::string& argument);
/// Whether FilesOf would look for more than the one file.
bool IsManyFiles(const std::string& argument);

/// What becomes of files that are no pictures.
enum class Strangers { Refused, LeftOut };

/// The frames of all files, file after file. They must have the size and the channels of the first; where
/// their types differ, or what their values are scaled by, all become floats. Only one of the files is open
/// at a time.
/// @param name what the stack is called in messages
/// @throws FileError naming the file that does not fit, or cannot be read, or tells nothing to be sorted by
std::unique_ptr<PictureSource> StackPictures(const std::string& name,
                                             const std::vector<std::filesystem::path>& files,
                                             StackOrder order, Strangers strangers,
                                             const OpenOptions& options);

/// Frame `number` of a source alone.
/// @throws FileError where there is no such frame
std::unique_ptr<PictureSource> TakeFrame(std::unique_ptr<PictureSource> frames, std::uint32_t number);

}  // namespace pzel_io
