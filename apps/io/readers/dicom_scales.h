// How the stored values of grey DICOM frames become the values that they mean, and which range of these the
// file asks to be shown.
#pragma once

#include "apps/io/readers/dicom_facts.h"
#include "apps/io/readers/dicom_table.h"

namespace pzel_io {

struct FrameScale {
    double slope = 1;
    double intercept = 0;
    std::optional<Window> window;

    bool Rescales() const { return slope != 1 || intercept != 0; }
};

struct DicomScales {
    std::optional<DicomTable> table;  ///< of values; then no frame is rescaled
    std::vector<FrameScale> frames;   ///< one for each, or one for all

    const FrameScale& Of(std::uint32_t frame) const {
        return frames[std::min<std::size_t>(frame, frames.size() - 1)];
    }
    bool Rescales() const;
    /// The range of all frames, or of the first.
    const std::optional<Window>& SharedWindow() const { return frames[0].window; }
    /// True where frames differ in their windows.
    bool WindowsDiffer() const;
};

/// Tells in `notes` what is done, and what is not.
/// @throws FileError where a table is damaged
DicomScales ReadDicomScales(const DicomFile& file, const DicomFacts& facts, std::vector<std::string>& notes);

}  // namespace pzel_io
