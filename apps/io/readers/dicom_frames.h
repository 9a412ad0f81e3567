// Where the bytes of a DICOM file's frames are: one behind the other, or compressed in fragments of which a
// table may tell which belong to which frame. What the file tells is compared with what it holds.
#pragma once

#include <dcmtk/dcmdata/dcfcache.h>

#include "apps/io/readers/dicom_file.h"

class DcmPixelItem;

namespace pzel_io {

/// Pixels that are not compressed.
class StoredBytes {
  public:
    StoredBytes(const DicomFile& file, DcmElement& pixels);
    /// The bytes that the file holds, whatever it tells.
    std::size_t Size() const { return held; }
    /// Fills `to` with bytes from `offset` on, as far as there are any; how many.
    std::size_t Read(std::size_t offset, std::span<unsigned char> to);

  private:
    bool Get(std::size_t offset, std::span<unsigned char> to);

    DcmElement& element;
    DcmFileCache cache;
    std::size_t held = 0;
};

class CodedFrames {
  public:
    /// @throws FileError where the pixels are not in fragments
    CodedFrames(const DicomFile& file, DcmElement& pixels);
    /// Shares the fragments out between frames. How many of `frames` there are.
    std::uint32_t Divide(std::uint32_t frames);
    /// Compressed bytes in all.
    std::size_t Size() const;
    struct Frame {
        RawPixels bytes;
        bool whole = true;
    };
    Frame Read(std::uint32_t frame);

  private:
    struct Fragment {
        DcmPixelItem* item;
        std::size_t start;  // of its head, counted from the first fragment's
        std::size_t length;
    };

    std::vector<std::size_t> TableStarts() const;
    bool DivideByStarts(const std::vector<std::size_t>& starts);
    void DivideByMarks();
    bool BeginsPicture(std::size_t fragment);

    const DicomFile& file;
    DcmFileCache cache;
    RawPixels basicTable;
    std::vector<Fragment> fragments;
    std::vector<std::size_t> firsts;  // of each frame, and the end
};

}  // namespace pzel_io
