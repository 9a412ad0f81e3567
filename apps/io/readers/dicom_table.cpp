#include "apps/io/readers/dicom_table.h"

#include <dcmtk/dcmdata/dcdeftag.h>

#include <cmath>

namespace pzel_io {

namespace {

constexpr std::size_t kMostEntries = 65536;

// Tables in segments: entries as they are, straight lines of entries, and segments once more.
class Segments {
  public:
    Segments(const DicomFile& of, std::vector<std::uint16_t> stored, bool inBytes, std::size_t wanted)
        : file(of), units(std::move(stored)), bytes(inBytes), most(wanted) {}

    std::vector<std::uint16_t> Expand() {
        std::size_t at = 0;
        // Behind the last segment there may be one unit of padding.
        while (at + 2 < units.size() && entries.size() < most) at = Segment(at, Repeats::Allowed);
        return std::move(entries);
    }

  private:
    enum class Repeats { Allowed, Forbidden };
    enum Kind { Discrete, Linear, Repeat };

    [[noreturn]] void Damaged() const { file.Fail("its table in segments is damaged"); }

    std::uint16_t Unit(std::size_t at) const {
        if (at >= units.size()) Damaged();
        return units[at];
    }

    // Where the segment ends.
    std::size_t Segment(std::size_t at, Repeats repeats) {
        const int kind = Unit(at);
        const std::size_t count = Unit(at + 1);
        at += 2;
        switch (kind) {
            case Discrete:
                for (std::size_t i = 0; i < count; ++i) Add(Unit(at + i));
                return at + count;
            case Linear: AddLine(count, Unit(at)); return at + 1;
            case Repeat:
                if (repeats == Repeats::Forbidden) Damaged();
                AddAgain(count, at);
                return at + (bytes ? 4 : 2);
            default: Damaged();
        }
    }

    void Add(std::uint16_t entry) {
        if (entries.size() < most) entries.push_back(entry);
    }

    void AddLine(std::size_t count, std::uint16_t end) {
        if (entries.empty()) Damaged();
        const double start = entries.back();
        for (std::size_t i = 1; i <= count; ++i) {
            const double part = static_cast<double>(i) / static_cast<double>(count);
            Add(static_cast<std::uint16_t>(std::nearbyint(start + (end - start) * part)));
        }
    }

    void AddAgain(std::size_t count, std::size_t at) {
        std::size_t from = bytes ? Unit(at) | Unit(at + 1) << 8 | Unit(at + 2) << 16 |
                                       static_cast<std::size_t>(Unit(at + 3)) << 24
                                 : Unit(at) | static_cast<std::size_t>(Unit(at + 1)) << 16;
        for (std::size_t i = 0; i < count && entries.size() < most; ++i) {
            from = Segment(from, Repeats::Forbidden);
        }
    }

    const DicomFile& file;
    std::vector<std::uint16_t> units;
    std::vector<std::uint16_t> entries;
    bool bytes;
    std::size_t most;
};

std::vector<std::uint16_t> Wide(const RawPixels& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::vector<std::uint16_t> HighBytesWhereUsed(std::vector<std::uint16_t> words) {
    const bool high = std::any_of(words.begin(), words.end(), [](std::uint16_t word) { return word > 0xFF; });
    if (high) {
        for (std::uint16_t& word : words) word = static_cast<std::uint16_t>(word >> 8);
    }
    return words;
}

}  // namespace

DicomTable ReadDicomTable(const DicomFile& file, const DicomItem& item, const DicomTableTags& tags,
                          bool isSigned) {
    const std::vector<std::uint16_t> descriptor = item.Words(tags.descriptor);
    if (descriptor.size() < 3) file.Fail("its table is not described");
    const std::size_t count = descriptor[0] ? descriptor[0] : kMostEntries;
    DicomTable table;
    table.first = isSigned ? static_cast<std::int16_t>(descriptor[1]) : descriptor[1];
    table.bits = std::clamp<int>(descriptor[2], 1, 16);
    const RawPixels data = item.Value(tags.data);
    const bool inWords = data.size() >= 2 * count;
    if (data.empty() && item.Has(tags.segments)) {
        const bool bytes = table.bits <= 8;
        table.entries =
            Segments(file, bytes ? Wide(item.Value(tags.segments)) : item.Words(tags.segments), bytes, count)
                .Expand();
    } else if (inWords) {
        table.entries = item.Words(tags.data);
        if (table.bits <= 8) table.entries = HighBytesWhereUsed(std::move(table.entries));
    } else {
        table.entries = Wide(data);
        table.bits = 8;
    }
    if (table.entries.size() < count) {
        file.Fail("its table has " + std::to_string(table.entries.size()) + " entries instead of " +
                  std::to_string(count));
    }
    table.entries.resize(count);
    return table;
}

std::vector<DicomTable> ReadDicomPalette(const DicomFile& file, bool isSigned) {
    const DicomTableTags kColours[] = {
        {DCM_RedPaletteColorLookupTableDescriptor, DCM_RedPaletteColorLookupTableData,
         DCM_SegmentedRedPaletteColorLookupTableData},
        {DCM_GreenPaletteColorLookupTableDescriptor, DCM_GreenPaletteColorLookupTableData,
         DCM_SegmentedGreenPaletteColorLookupTableData},
        {DCM_BluePaletteColorLookupTableDescriptor, DCM_BluePaletteColorLookupTableData,
         DCM_SegmentedBluePaletteColorLookupTableData},
    };
    std::vector<DicomTable> palette;
    for (const DicomTableTags& tags : kColours) {
        palette.push_back(ReadDicomTable(file, file.Top(), tags, isSigned));
        if (palette.back().Type() != palette[0].Type()) file.Fail("its palettes differ in their depth");
    }
    return palette;
}

}  // namespace pzel_io
