#include "apps/io/readers/dicom_facts.h"

#include <dcmtk/dcmdata/dcdeftag.h>

#include <algorithm>
#include <limits>

namespace pzel_io {

namespace {

class FactsReader {
  public:
    FactsReader(const DicomFile& of, std::vector<std::string>& notesOf)
        : file(of), top(of.Top()), notes(notesOf) {}

    DicomFacts Read() {
        FindPixels();
        facts.width = Whole(DCM_Columns, 0);
        facts.height = Whole(DCM_Rows, 0);
        if (facts.width < 1 || facts.height < 1) file.Fail("tells no size of its picture");
        const double frames = top.Number(DCM_NumberOfFrames).value_or(1);
        facts.frames = static_cast<std::uint32_t>(
            std::clamp(frames, 1.0, static_cast<double>(std::numeric_limits<std::int32_t>::max())));
        facts.channels = Whole(DCM_SamplesPerPixel, 1);
        facts.colour = top.Text(DCM_PhotometricInterpretation);
        if (facts.channels != 1 && facts.channels != 3) {
            file.Fail(facts.colour + " pictures of " + std::to_string(facts.channels) +
                      " channels are not supported");
        }
        if (facts.colour.empty()) facts.colour = facts.channels == 1 ? "MONOCHROME2" : "RGB";
        facts.planar = facts.channels > 1 && Whole(DCM_PlanarConfiguration, 0) == 1;
        if (facts.type == DataNone) ReadSamples();
        return facts;
    }

  private:
    int Whole(const DcmTagKey& tag, int otherwise) const {
        return static_cast<int>(top.Number(tag).value_or(otherwise));
    }

    void FindPixels() {
        facts.pixels = top.Element(DCM_PixelData);
        if (facts.pixels) return;
        facts.type = DataFloat;
        facts.bitsAllocated = facts.bitsStored = 32;
        facts.pixels = top.Element(DCM_FloatPixelData);
        if (facts.pixels) return;
        facts.doubles = true;
        facts.bitsAllocated = facts.bitsStored = 64;
        facts.pixels = top.Element(DCM_DoubleFloatPixelData);
        if (facts.pixels) {
            notes.push_back("double to float");
            return;
        }
        switch (file.End()) {
            case DicomEnd::Whole: file.Fail("holds no picture");
            case DicomEnd::CutShort: file.Fail("is cut short");
            case DicomEnd::Damaged: file.Fail("cannot be opened as dicom: damaged");
        }
    }

    void ReadSamples() {
        facts.bitsAllocated = Whole(DCM_BitsAllocated, 8);
        facts.bitsStored = Whole(DCM_BitsStored, facts.bitsAllocated);
        facts.highBit = Whole(DCM_HighBit, facts.bitsStored - 1);
        facts.isSigned = Whole(DCM_PixelRepresentation, 0) == 1;
        const bool isBit = facts.bitsAllocated == 1 && facts.channels == 1;
        facts.type = isBit ? DataBit : IntegerType(facts.bitsAllocated, facts.isSigned);
        if (facts.type == DataNone) {
            file.Fail("samples of " + std::to_string(facts.bitsAllocated) + " bits are not supported");
        }
        if (facts.bitsStored < 1 || facts.bitsStored > facts.bitsAllocated) {
            notes.push_back("tells of " + std::to_string(facts.bitsStored) + " bits stored in " +
                            std::to_string(facts.bitsAllocated) + ": all of these taken");
            facts.bitsStored = facts.bitsAllocated;
        }
        if (facts.highBit < facts.bitsStored - 1 || facts.highBit >= facts.bitsAllocated) {
            notes.push_back("tells of an impossible highest bit, " + std::to_string(facts.highBit) +
                            ": the lowest bits taken");
            facts.highBit = facts.bitsStored - 1;
        }
        if (facts.highBit != facts.bitsStored - 1) {
            notes.push_back("stored in bits " + std::to_string(facts.highBit - facts.bitsStored + 1) +
                            " to " + std::to_string(facts.highBit) + ": moved down");
        }
    }

    const DicomFile& file;
    DicomItem top;
    std::vector<std::string>& notes;
    DicomFacts facts;
};

}  // namespace

DicomFacts ReadDicomFacts(const DicomFile& file, std::vector<std::string>& notes) {
    return FactsReader(file, notes).Read();
}

ImageDataType IntegerType(int bits, bool isSigned) {
    switch (bits) {
        case 8: return isSigned ? DataInt8 : DataUInt8;
        case 16: return isSigned ? DataInt16 : DataUInt16;
        case 32: return isSigned ? DataInt32 : DataUInt32;
        default: return DataNone;
    }
}

}  // namespace pzel_io
