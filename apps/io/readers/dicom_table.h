// Tables that a DICOM file has for its stored values: palettes, and other values in their place.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/io/readers/dicom_file.h"

namespace pzel_io {

struct DicomTable {
    int first = 0;  ///< the stored value that the first entry is for
    int bits = 16;  ///< that entries may have; 8 or fewer are delivered in bytes
    std::vector<std::uint16_t> entries;

    /// Values below the first and behind the last one have the first and last entry.
    std::uint16_t At(std::int64_t value) const {
        const std::int64_t last = static_cast<std::int64_t>(entries.size()) - 1;
        return entries[static_cast<std::size_t>(std::clamp<std::int64_t>(value - first, 0, last))];
    }
    ImageDataType Type() const { return bits <= 8 ? DataUInt8 : DataUInt16; }
};

/// Where the parts of a table are.
struct DicomTableTags {
    DcmTagKey descriptor;
    DcmTagKey data;
    DcmTagKey segments;  ///< data in segments, where `data` is missing
};

/// `isSigned`: whether stored values are.
/// @throws FileError where the table is damaged
DicomTable ReadDicomTable(const DicomFile& file, const DicomItem& item, const DicomTableTags& tags,
                          bool isSigned);

/// The tables for red, green and blue.
std::vector<DicomTable> ReadDicomPalette(const DicomFile& file, bool isSigned);

}  // namespace pzel_io
