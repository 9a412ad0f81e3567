#include "apps/io/readers/dicom_scales.h"

#include <dcmtk/dcmdata/dcdeftag.h>

#include <algorithm>
#include <cmath>

namespace pzel_io {

namespace {

const DicomTableTags kTableTags{DCM_LUTDescriptor, DCM_LUTData, DCM_LUTData};

class ScalesReader {
  public:
    ScalesReader(const DicomFile& of, const DicomFacts& factsOf, std::vector<std::string>& notesOf)
        : file(of), facts(factsOf), notes(notesOf) {}

    DicomScales Read() {
        ReadTable();
        const std::size_t scaled =
            std::clamp<std::size_t>(file.FrameItems().size(), 1, std::max<std::size_t>(facts.frames, 1));
        for (std::uint32_t frame = 0; frame < scaled; ++frame) scales.frames.push_back(ReadFrame(frame));
        NoteScales();
        NotePadding();
        return std::move(scales);
    }

  private:
    void Note(const std::string& line) {
        if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
    }

    void ReadTable() {
        const DicomItem item = file.Top().First(DCM_ModalityLUTSequence);
        if (!item || facts.type == DataFloat) return;
        scales.table = ReadDicomTable(file, item, kTableTags, facts.isSigned);
        Note(std::string(TypeName(facts.type)) + " to " + TypeName(scales.table->Type()) +
             " by the file's table of values");
    }

    FrameScale ReadFrame(std::uint32_t frame) {
        FrameScale scale;
        const DicomItem transformation = file.Group(frame, DCM_PixelValueTransformationSequence);
        if (!scales.table) {
            const double dose = file.Top().Number(DCM_DoseGridScaling).value_or(1);
            scale.slope = transformation.Number(DCM_RescaleSlope).value_or(dose);
            scale.intercept = transformation.Number(DCM_RescaleIntercept).value_or(0);
            if (scale.slope == 0) {
                Note("its factor of values is 0: not applied");
                scale.slope = 1;
            }
        }
        scale.window = ReadWindow(file.Group(frame, DCM_FrameVOILUTSequence));
        return scale;
    }

    std::optional<Window> ReadWindow(const DicomItem& item) {
        const std::vector<double> centres = item.Numbers(DCM_WindowCenter);
        const std::vector<double> widths = item.Numbers(DCM_WindowWidth);
        const std::size_t count = std::min(centres.size(), widths.size());
        const DicomItem table = item.First(DCM_VOILUTSequence);
        if (count == 0) return table ? TableWindow(table) : std::nullopt;
        if (table) Note("its table of brightness is not applied: its window is");
        const std::string function = item.Text(DCM_VOILUTFunction);
        std::optional<Window> first;
        std::string others;
        for (std::size_t i = 0; i < count; ++i) {
            const auto window = WindowOf(centres[i], widths[i], function);
            if (i == 0) first = window;
            if (!window || i == 0) continue;
            others += (others.empty() ? "" : ", ") + NumberText(window->low) + ":" + NumberText(window->high);
        }
        if (!others.empty()) Note("other windows of the file: " + others);
        return first;
    }

    std::optional<Window> WindowOf(double centre, double width, const std::string& function) {
        if (function == "SIGMOID") Note("its window is a sigmoid: shown as the line through its middle");
        const bool exact = function == "LINEAR_EXACT" || function == "SIGMOID";
        if (exact) {
            if (width <= 0) return {};
            return Window{centre - width / 2, centre + width / 2};
        }
        if (width < 1) return {};
        // The standard's window of width w covers the w values around centre - 0.5.
        const double low = centre - 0.5 - (width - 1) / 2;
        return Window{low, low + std::max(width - 1, 1.0)};
    }

    std::optional<Window> TableWindow(const DicomItem& item) {
        const std::vector<std::uint16_t> descriptor = item.Words(DCM_LUTDescriptor);
        if (descriptor.size() < 3) return {};
        Note("its table of brightness is not applied: the range of its values is the window");
        // The table is for rescaled values, which may be negative where stored ones are, or by their offset.
        const bool isSigned = facts.isSigned || file.Top().Number(DCM_RescaleIntercept).value_or(0) < 0;
        const double first = isSigned ? static_cast<std::int16_t>(descriptor[1]) : descriptor[1];
        const double count = descriptor[0] ? descriptor[0] : 65536;
        return Window{first, first + std::max(count - 1, 1.0)};
    }

    void NoteScales() {
        if (!scales.Rescales()) return;
        const FrameScale& first = scales.frames[0];
        const bool alike =
            std::all_of(scales.frames.begin(), scales.frames.end(), [&](const FrameScale& other) {
                return other.slope == first.slope && other.intercept == first.intercept;
            });
        const std::string unit = file.Group(0, DCM_PixelValueTransformationSequence).Text(DCM_RescaleType);
        Note(std::string(TypeName(facts.type)) +
             (alike ? " times " + NumberText(first.slope) + " plus " + NumberText(first.intercept)
                    : std::string(" times and plus each frame's own numbers")) +
             ", as float");
        if (!unit.empty() && unit != "US") Note("values are in " + unit);
    }

    void NotePadding() {
        const auto value = StoredNumber(DCM_PixelPaddingValue);
        if (!value || facts.type == DataFloat) return;
        const auto limit = StoredNumber(DCM_PixelPaddingRangeLimit);
        Note("stored values " + NumberText(*value) + (limit ? " to " + NumberText(*limit) : "") +
             " stand for no picture: shown like others");
    }

    std::optional<double> StoredNumber(const DcmTagKey& tag) const {
        const std::vector<std::uint16_t> words = file.Top().Words(tag);
        if (words.empty()) return {};
        return facts.isSigned ? static_cast<std::int16_t>(words[0]) : words[0];
    }

    const DicomFile& file;
    const DicomFacts& facts;
    std::vector<std::string>& notes;
    DicomScales scales;
};

}  // namespace

bool DicomScales::Rescales() const {
    return std::any_of(frames.begin(), frames.end(),
                       [](const FrameScale& frame) { return frame.Rescales(); });
}

bool DicomScales::WindowsDiffer() const {
    const auto differs = [](const std::optional<Window>& a, const std::optional<Window>& b) {
        return a.has_value() != b.has_value() || (a && (a->low != b->low || a->high != b->high));
    };
    return std::any_of(frames.begin(), frames.end(),
                       [&](const FrameScale& frame) { return differs(frame.window, frames[0].window); });
}

DicomScales ReadDicomScales(const DicomFile& file, const DicomFacts& facts, std::vector<std::string>& notes) {
    return ScalesReader(file, facts, notes).Read();
}

}  // namespace pzel_io
