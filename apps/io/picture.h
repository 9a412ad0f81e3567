// Reading picture files: what a file holds, and one frame of it at a time as an image record.
//
// The folder:
//   picture.h         this seam: what a file tells of itself, and the source of its frames
//   picture_info.h    the part of it that hosts and readers share
//   file_kind.h       which reader a file belongs to, by its content
//   readers/          a small program for each format, built on the library that is made for it
//   reader_process.h  the host's end of a reader: it runs apart, so that no file can end the host
//   message.h         what the two say to each other
//   program_parts.h   where a program finds what belongs to it
//   stack.h           many files as the frames of one picture, a frame alone
//   kept_frame.h      a frame that is read again without being decoded again
//   fields.h          pictures woven from two others, or taken from every second row of one
//   difference.h      how far two pictures lie apart, as a picture and in figures
//   pixel_values.h    the values of an image as numbers and as text
//   display_copy.h    copies of a frame for what the display cannot show as it is
//   colour_copy.h     copies of a colour frame in other colour models
//   file_movie.h      files as the layers of a movie that holds one frame of each at a time
//   picture_writer.h  the way back: a shown bitmap as a file
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/io/picture_info.h"
#include "pzel/image/image.h"

namespace pzel_io {

/// An image record of its own, released with its pixels.
struct ImageDeleter {
    void operator()(Image* image) const;
};
using OwnedImage = std::unique_ptr<Image, ImageDeleter>;

/// A frame as it was read.
struct Frame {
    OwnedImage image;
    std::optional<Window> window;    ///< the range that the file asks to be shown, of this frame
    std::vector<std::string> notes;  ///< what is wrong with it, or was changed, beyond the file's conversions
};

/// Where frames come from: an open file, or others that it is made of. Not for several threads at a time.
class PictureSource {
  public:
    virtual ~PictureSource() = default;
    PictureSource(const PictureSource&) = delete;
    PictureSource& operator=(const PictureSource&) = delete;

    const PictureInfo& Info() const { return info; }
    /// Reads a frame, counted from 0, into a new record. Colour is stored blue first. Rows that are too long
    /// for the layout come in the other one, with a note.
    /// @throws FileError for a frame that is not there, or a damaged file
    virtual Frame Read(std::uint32_t frame, Layout layout) = 0;
    /// Says which frame is read next, so that decoding can go on while the caller works.
    virtual void Expect(std::uint32_t /*frame*/) {}
    /// Says which rows are needed from now on; the others of a frame may be left black where that saves time.
    virtual void WantRows(const Rows& /*rows*/) {}
    /// The file that a frame comes from, where the source is made of several.
    virtual std::filesystem::path FileOf(std::uint32_t /*frame*/) const { return info.file; }

  protected:
    PictureSource() = default;
    [[noreturn]] void Fail(const std::string& reason) const { throw FileError(info.file, reason); }

    PictureInfo info;
};

class ReaderPool;

/// Opens a file with the reader that its content asks for, one of the pool's where there is one. The pool
/// must live as long as the source.
/// @throws FileError for a file that is missing, empty, damaged or of no known format
std::unique_ptr<PictureSource> OpenPicture(const std::filesystem::path& file, const OpenOptions& options = {},
                                           ReaderPool* pool = nullptr);

/// Whether a record can hold rows of all channels: of long rows it holds the channels one by one alone.
bool FitsInterleaved(const PictureInfo& info);
/// A record of a frame from its pixels as readers deliver them, in a layout that fits; rows that are not
/// wanted are black.
OwnedImage MakeRecord(const PictureInfo& info, Layout layout, const Rows& rows,
                      std::span<const unsigned char> pixels);

}  // namespace pzel_io
