// What a reader of a format is: it opens a file, tells what it holds, and delivers the pixels of one frame
// after the other. Each format's reader is a small program of its own (reader_main.cpp has its main
// function), which a host runs for as long as it shows the file; so a reader needs no care for what else goes
// on, and may end in any way without harm.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "apps/io/message.h"
#include "apps/io/picture_info.h"

namespace pzel_io {

/// Pixels on their way, laid out like those that are delivered: see FrameBytes.
using RawPixels = std::vector<unsigned char>;

/// What a reader is asked to open.
struct OpenRequest {
    std::filesystem::path file;
    std::string format;  ///< the short name that its first bytes told, such as "tiff"
    OpenOptions options;
};

/// One open file. The constructor of a format's class opens it and fills `info`, or throws FileError.
class Reader {
  public:
    virtual ~Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    const PictureInfo& Info() const { return info; }
    /// Decodes a frame, which is one of those that Info tells, into `pixels`: FrameBytes(Info()) bytes, zero
    /// or from the frame before. All rows that are wanted must be whole.
    /// @throws FileError where they cannot be
    virtual FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) = 0;
    /// How many frames may have to be decoded for one, which takes as much longer.
    virtual std::size_t FramesForOne() const { return 1; }

  protected:
    explicit Reader(const OpenRequest& request);
    [[noreturn]] void Fail(const std::string& reason) const { throw FileError(info.file, reason); }
    void Note(const std::string& line) { info.conversions.push_back(line); }
    /// Refuses pictures that no record can hold. Readers call it before they allocate pixels.
    void CheckSize() const { pzel_io::CheckSize(info); }
    /// Refuses pictures that are larger than the file could hold if each of its bytes stood for
    /// `mostFromByte` bytes of pixels.
    void CheckHeld(double mostFromByte) const;

    OpenOptions options;
    PictureInfo info;
};

/// Opens a file of the format that the program is for; each reader defines it.
/// @throws FileError
std::unique_ptr<Reader> OpenReader(const OpenRequest& request);

}  // namespace pzel_io
