// A DICOM file as the readers' parts see it: numbers, texts and bytes by tag, in the machine's byte order,
// whatever the file's. Values stay in the file until they are asked for.
#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctagkey.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/io/picture_info.h"

class DcmDataset;
class DcmElement;
class DcmFileFormat;
class DcmItem;

namespace pzel_io {

using Bytes = std::span<const unsigned char>;
using RawPixels = std::vector<unsigned char>;

/// A data set, or an item of a sequence; the file owns it. One that is missing has no elements.
class DicomItem {
  public:
    DicomItem() = default;
    explicit DicomItem(DcmItem* found) : item(found) {}
    explicit operator bool() const { return item != nullptr; }

    /// Null where there is no such element.
    DcmElement* Element(const DcmTagKey& tag) const;
    bool Has(const DcmTagKey& tag) const { return Element(tag) != nullptr; }
    /// Without padding; empty where it is missing.
    std::string Text(const DcmTagKey& tag) const;
    /// Those in front of the first that is no finite number.
    std::vector<double> Numbers(const DcmTagKey& tag) const;
    std::optional<double> Number(const DcmTagKey& tag) const;
    RawPixels Value(const DcmTagKey& tag) const;
    /// The value as words of 16 bits.
    std::vector<std::uint16_t> Words(const DcmTagKey& tag) const;
    std::vector<DicomItem> Items(const DcmTagKey& sequence) const;
    /// The first item of a sequence.
    DicomItem First(const DcmTagKey& sequence) const;

  private:
    DcmItem* item = nullptr;
};

/// How the pixels of a file are coded.
enum class DicomCoding { Native, Runs, Jpeg, JpegLs, Jpeg2000 };

/// What became of reading a file's elements up to its end.
enum class DicomEnd { Whole, CutShort, Damaged };

class DicomFile {
  public:
    /// @throws FileError where the coding of the pixels is unknown
    explicit DicomFile(const std::filesystem::path& file);
    ~DicomFile();
    DicomFile(const DicomFile&) = delete;
    DicomFile& operator=(const DicomFile&) = delete;

    DicomItem Top() const;
    /// The items for each frame; none in files whose frames are alike.
    const std::vector<DicomItem>& FrameItems() const { return perFrame; }
    /// An item that tells something of one frame, or of all of them, or the file itself.
    DicomItem Group(std::uint32_t frame, const DcmTagKey& sequence) const;
    DicomCoding Coding() const { return coding; }
    bool IsBigEndian() const;
    bool IsDeflated() const;
    DicomEnd End() const { return end; }
    [[noreturn]] void Fail(const std::string& reason) const { throw FileError(path, reason); }

  private:
    void ChooseCoding();

    std::filesystem::path path;
    std::unique_ptr<DcmFileFormat> format;
    DicomItem shared;
    std::vector<DicomItem> perFrame;
    DicomCoding coding = DicomCoding::Native;
    DicomEnd end = DicomEnd::Whole;
};

}  // namespace pzel_io
