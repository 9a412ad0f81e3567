// What a DICOM file tells of its pixels, checked for sense.
#pragma once

#include <string>

#include "apps/io/picture_info.h"
#include "apps/io/readers/dicom_file.h"

namespace pzel_io {

struct DicomFacts {
    int width = 0;
    int height = 0;
    std::uint32_t frames = 1;
    int channels = 1;
    std::string colour;  ///< the photometric interpretation
    bool planar = false;
    int bitsAllocated = 8;
    int bitsStored = 8;
    int highBit = 7;
    bool isSigned = false;
    ImageDataType type = DataNone;  ///< of one stored sample; doubles are read as float
    bool doubles = false;
    DcmElement* pixels = nullptr;  ///< the file's
};

/// Adds what it had to assume to `notes`.
/// @throws FileError where there is no picture, or none of this kind is supported
DicomFacts ReadDicomFacts(const DicomFile& file, std::vector<std::string>& notes);

/// The type of whole numbers of a size; DataNone where there is none.
ImageDataType IntegerType(int bits, bool isSigned);

}  // namespace pzel_io
