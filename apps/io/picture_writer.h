// The way back: a shown bitmap, or values of 16 bits, as a file.
//
//   picture_writer.h  this seam: formats, and a picture that is written
//   file_picture.h    pixels on their way into a file, and what all encoders take
//   png_encoder.h     PNG, with png_filter.h for its rows
//   encoders/         formats whose libraries are loaded when they are needed
//   output_file.h     a file that appears complete or not at all
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "apps/io/file_picture.h"
#include "apps/io/output_file.h"
#include "pzel/component/shown_bitmap.h"

namespace pzel_io {

/// The format that a file's name asks for by its ending, in capitals or not; none for other endings.
std::optional<FileFormat> FormatOfName(const std::filesystem::path& file);

/// The pixels of a bitmap of 1, 8 or 24 bits, which stay the bitmap's.
FilePicture AsFilePicture(const ShownBitmap& bitmap);

/// A picture that is complete on disk, and gets its place by Commit.
class WrittenPicture {
  public:
    /// Encodes the picture and writes it beside its place.
    /// @throws FileError naming `file` and the reason, also where the format cannot hold such pixels
    WrittenPicture(const std::filesystem::path& file, const FilePicture& picture, FileFormat format,
                   const EncodeOptions& options);
    /// @throws FileError
    void Commit() { output.Commit(); }

  private:
    OutputFile output;
};

}  // namespace pzel_io
