// Where a DICOM picture belongs: in a stack of slices, in time, and under which overlays; the shape of its
// pixels.
#pragma once

#include "apps/io/readers/dicom_facts.h"

namespace pzel_io {

/// Fills position, instance, frame rate and the shape of pixels, and notes what is not shown.
void PlaceDicomPicture(const DicomFile& file, const DicomFacts& facts, PictureInfo& info);

}  // namespace pzel_io
