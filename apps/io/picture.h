// Reading picture files: what a file holds, and one frame of it at a time as an image record.
//
// The folder:
//   picture.h       this seam: what a file tells of itself, and the source of its frames
//   file_kind.h     which reader a file belongs to, by its content
//   *_source.h      the four readers; dicom_pixels.h the decoding of one of them
//   fields.h        pictures woven from two others, or taken from every second row of one
//   quiet_errors.h  silence for the decoding libraries' own messages
//   display_copy.h  copies of a frame for what the display cannot show as it is
//   colour_copy.h   copies of a colour frame in other colour models
//   file_movie.h    files as the layers of a movie that holds one frame of each at a time
//   png_writer.h    the way back: a shown bitmap as a file
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "pzel/image/image.h"

namespace pzel_io {

/// What went wrong with a file, as one line: "FILE: reason".
class FileError : public std::runtime_error {
  public:
    FileError(const std::filesystem::path& file, const std::string& reason);
};

/// How the channels of a picture are ordered, in a file or in a record.
enum class Layout { Planar, Interleaved };

/// A range of values to be shown from black to white.
struct Window {
    double low;
    double high;
};

/// An image record of its own, released with its pixels.
struct ImageDeleter {
    void operator()(Image* image) const;
};
using OwnedImage = std::unique_ptr<Image, ImageDeleter>;

/// What a file holds. Every frame has this size and type; frames that differ are left out, with a note.
struct PictureInfo {
    std::filesystem::path file;
    std::string format;                    ///< the file format's short name
    std::uint32_t frames = 1;              ///< 1 or more; of a video: as far as the file tells
    int width = 0;                         ///< pixels
    int height = 0;                        ///< rows
    int channels = 1;                      ///< of the record: alpha and the like are left out
    ImageDataType type = DataNone;         ///< of the record
    ImageSubType model = SubGrey;          ///< SubGrey, SubColour or SubYuv
    Layout layout = Layout::Interleaved;   ///< of the file
    std::optional<Window> window;          ///< the range that the file itself asks to be shown
    bool lowIsWhite = false;               ///< the file's lowest values stand for white
    std::vector<std::string> conversions;  ///< what reading changes or leaves out, one line each
};

/// Pixels as a reader delivers them: rows from the top, without padding, pixel by pixel, the channels as a
/// user names them (red, green, blue; y, u, v). Bit rows are (width + 7) / 8 bytes, most significant bit
/// first.
using RawPixels = std::vector<unsigned char>;

/// Where frames come from: an open file, or others that it is made of. Not for several threads at a time.
class PictureSource {
  public:
    virtual ~PictureSource() = default;
    PictureSource(const PictureSource&) = delete;
    PictureSource& operator=(const PictureSource&) = delete;

    const PictureInfo& Info() const { return info; }
    /// Reads a frame, counted from 0, into a new record. Colour is stored blue first.
    /// @throws FileError for a frame that is not there, a damaged file, or rows too long for a record
    virtual OwnedImage Read(std::uint32_t frame, Layout layout) = 0;

  protected:
    PictureSource() = default;
    [[noreturn]] void Fail(const std::string& reason) const;

    PictureInfo info;
};

/// What the readers share: their pixels become records here.
class FileSource : public PictureSource {
  public:
    OwnedImage Read(std::uint32_t frame, Layout layout) override;

  protected:
    /// Exactly the bytes of one frame, or a FileError.
    virtual RawPixels ReadPixels(std::uint32_t frame) = 0;
    /// Refuses sizes that no record can hold, in any layout. Readers call it before they allocate pixels.
    void CheckSize() const;
};

/// What a file is read for. Of a file with two channels a picture takes what is not alpha, a vector field
/// both.
enum class Purpose { Picture, Vectors };

/// Opens a file with the reader that its content asks for.
/// @throws FileError for a file that is missing, empty, damaged or of no known format
std::unique_ptr<PictureSource> OpenPicture(const std::filesystem::path& file,
                                           Purpose purpose = Purpose::Picture);

/// Bytes of one element of a type as files store it; 0 for bits.
std::size_t ElementBytes(ImageDataType type);
/// A short name: "bit", "uint8", ..., "float".
const char* TypeName(ImageDataType type);
/// A short name: "grey", "colour", "yuv".
const char* ModelName(ImageSubType model);
/// A number in as few digits as tell it from its neighbours.
std::string NumberText(double number);

}  // namespace pzel_io
