// DICOM files: stored values, rescaled only where the file says so, never stretched. The whole file is
// decoded when its first frame is read and kept until the source is closed.
#include "apps/io/readers/reader.h"

#include <gdcmAttribute.h>
#include <gdcmImageApplyLookupTable.h>
#include <gdcmImageReader.h>
#include <gdcmSequenceOfFragments.h>
#include <gdcmSequenceOfItems.h>
#include <gdcmTrace.h>
#include <gdcmWriter.h>

#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <sstream>

#include "apps/io/readers/dicom_pixels.h"
#include "apps/io/readers/dicom_structure.h"

namespace pzel_io {

namespace {

const gdcm::Tag kPixels(0x7fe0, 0x0010);
const gdcm::Tag kFrameCount(0x0028, 0x0008);
const gdcm::Tag kWindowCentre(0x0028, 0x1050);
const gdcm::Tag kWindowWidth(0x0028, 0x1051);
const gdcm::Tag kIntercept(0x0028, 0x1052);
const gdcm::Tag kSlope(0x0028, 0x1053);
const gdcm::Tag kDoseScale(0x3004, 0x000e);
const gdcm::Tag kSharedGroups(0x5200, 0x9229);
const gdcm::Tag kWindowGroup(0x0028, 0x9132);
const gdcm::Tag kRescaleGroup(0x0028, 0x9145);

std::optional<double> FirstNumber(const gdcm::DataSet& set, const gdcm::Tag& tag) {
    if (!set.FindDataElement(tag)) return {};
    const gdcm::ByteValue* value = set.GetDataElement(tag).GetByteValue();
    if (!value) return {};
    const std::string text(value->GetPointer(), value->GetLength());
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !std::isfinite(number)) return {};
    return number;
}

// A number of the file, or of the group that all frames of newer multi-frame files share.
std::optional<double> FileNumber(const gdcm::DataSet& set, const gdcm::Tag& group, const gdcm::Tag& tag) {
    if (const auto number = FirstNumber(set, tag)) return number;
    gdcm::SmartPointer<gdcm::SequenceOfItems> items;
    const gdcm::DataSet* level = &set;
    for (const gdcm::Tag& sequence : {kSharedGroups, group}) {
        if (!level->FindDataElement(sequence)) return {};
        items = level->GetDataElement(sequence).GetValueAsSQ();
        if (!items || items->GetNumberOfItems() == 0) return {};
        level = &items->GetItem(1).GetNestedDataSet();
    }
    return FirstNumber(*level, tag);
}

ImageDataType SampleType(const gdcm::PixelFormat& format) {
    switch (format.GetScalarType()) {
        case gdcm::PixelFormat::SINGLEBIT: return DataBit;
        case gdcm::PixelFormat::UINT8: return DataUInt8;
        case gdcm::PixelFormat::INT8: return DataInt8;
        case gdcm::PixelFormat::UINT16: return DataUInt16;
        case gdcm::PixelFormat::INT16: return DataInt16;
        case gdcm::PixelFormat::UINT32: return DataUInt32;
        case gdcm::PixelFormat::INT32: return DataInt32;
        default: return DataNone;
    }
}

class DicomReader final : public Reader {
  public:
    explicit DicomReader(const OpenRequest& request) : Reader(request) {
        CheckDicomStructure(info.file);
        gdcm::Trace::DebugOff();
        gdcm::Trace::WarningOff();
        gdcm::Trace::ErrorOff();
        Open();
        ReadShape();
        CheckSize();
        CheckStoredLength();
        ChooseColour();
        if (info.model == SubGrey && info.type != DataBit) ChooseScale();
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const RawPixels read = ReadFrame(wanted.frame);
        if (read.size() != pixels.size()) Fail("is cut short");
        std::copy(read.begin(), read.end(), pixels.begin());
        return {};
    }

  private:
    RawPixels ReadFrame(std::uint32_t frame) {
        if (info.type == DataBit) return UnpackDicomBits(StoredBytes(), frame, info.width, info.height);
        RawPixels pixels = Arranged(frame);
        if (info.model == SubYuv) CentreColourDifferences(pixels);
        return rescaled ? RescaleDicomSamples(pixels, samples.type, slope, intercept) : pixels;
    }

    RawPixels Arranged(std::uint32_t frame) {
        if (coding == gdcm::TransferSyntax::RLELossless && !isPalette) {
            const RawPixels pixels = DecodeDicomRuns(Fragment(frame), samples);
            if (pixels.empty()) Fail("frame " + std::to_string(frame) + " cannot be decoded");
            DicomSamples decoded = samples;
            decoded.planar = false;
            return ArrangeDicomSamples(pixels, decoded);
        }
        DecodeAll();
        const std::size_t bytes = samples.pixels * samples.channels * ElementBytes(samples.type);
        if ((frame + 1) * bytes > decodedAll.size()) Fail("is cut short");
        return ArrangeDicomSamples(Bytes(decodedAll).subspan(frame * bytes, bytes), samples);
    }

    void Open() {
        std::stringstream completed;
        if (LacksFrameCount(completed)) {
            reader.SetStream(completed);
        } else {
            reader.SetFileName(info.file.c_str());
        }
        bool opened = false;
        try {
            opened = reader.Read();
        } catch (const std::exception&) {
        }
        if (!opened) {
            const bool pixels = Set().FindDataElement(kPixels);
            Fail(pixels ? "cannot be opened as dicom: damaged, or of an unknown kind" : "holds no picture");
        }
        image = &reader.GetImage();
        coding = image->GetTransferSyntax();
    }

    // The decoding library ends the program for dose pictures that do not tell their number of frames: for
    // these `completed` becomes the file with the number 1.
    bool LacksFrameCount(std::stringstream& completed) const {
        gdcm::Reader plain;
        plain.SetFileName(info.file.c_str());
        if (!plain.Read()) return false;
        gdcm::DataSet& set = plain.GetFile().GetDataSet();
        gdcm::MediaStorage storage;
        storage.SetFromFile(plain.GetFile());
        if (storage != gdcm::MediaStorage::RTDoseStorage || set.FindDataElement(kFrameCount)) return false;
        gdcm::Attribute<0x0028, 0x0008> one = {1};
        set.Insert(one.GetAsDataElement());
        gdcm::Writer writer;
        writer.SetFile(plain.GetFile());
        writer.CheckFileMetaInformationOff();
        writer.SetStream(completed);
        return writer.Write();
    }

    void ReadShape() {
        info.width = static_cast<int>(image->GetDimension(0));
        info.height = static_cast<int>(image->GetDimension(1));
        info.frames = image->GetNumberOfDimensions() > 2 ? std::max(1u, image->GetDimension(2)) : 1;
        isPalette = image->GetPhotometricInterpretation() == gdcm::PhotometricInterpretation::PALETTE_COLOR;
        if (isPalette) ApplyPalette();
        const gdcm::PixelFormat& format = image->GetPixelFormat();
        info.type = SampleType(format);
        if (info.type == DataNone) {
            Fail("samples of " + std::to_string(format.GetBitsAllocated()) + " bits are not supported");
        }
        info.channels = format.GetSamplesPerPixel();
        if (info.channels != 1 && info.channels != 3) {
            Fail("pictures of " + std::to_string(info.channels) + " channels are not supported");
        }
        samples.pixels = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
        samples.channels = static_cast<std::size_t>(info.channels);
        samples.type = info.type;
        samples.bitsStored = format.GetBitsStored();
        samples.highBit = format.GetHighBit();
        samples.planar = image->GetPlanarConfiguration() == 1;
        if (samples.planar) info.layout = Layout::Planar;
    }

    void ApplyPalette() {
        palette.SetInput(*image);
        if (!palette.Apply()) Fail("its palette cannot be applied");
        image = &palette.GetOutput();
        Note("palette indices to colour");
    }

    void ChooseColour() {
        using Kind = gdcm::PhotometricInterpretation;
        const Kind kind = image->GetPhotometricInterpretation();
        info.model = info.channels == 1 ? SubGrey : SubColour;
        if (kind == Kind::MONOCHROME1) {
            info.lowIsWhite = true;
            Note("MONOCHROME1: stored values kept, low values are white");
        }
        if (info.channels != 3) return;
        const bool named = kind == Kind::YBR_FULL || kind == Kind::YBR_FULL_422;
        const bool jpeg = coding == gdcm::TransferSyntax::JPEGBaselineProcess1;
        if (named || (jpeg && kind == Kind::RGB && IsJpegYuv(Fragment(0)))) {
            if (info.type != DataUInt8) Fail("luminance pictures of other than 8 bits are not supported");
            info.model = SubYuv;
            Note(named ? "colour differences minus 128, as signed values"
                       : "called RGB, but stored as luminance and colour differences; these minus 128, as "
                         "signed values");
        } else if (kind == Kind::YBR_RCT || kind == Kind::YBR_ICT) {
            Note("luminance and colour differences to colour by the decoder");
        } else if (kind != Kind::RGB) {
            Fail(std::string("colour of the kind ") + kind.GetString() + " is not supported");
        }
    }

    void ChooseScale() {
        slope = FileNumber(Set(), kRescaleGroup, kSlope).value_or(FirstNumber(Set(), kDoseScale).value_or(1));
        intercept = FileNumber(Set(), kRescaleGroup, kIntercept).value_or(0);
        rescaled = slope != 1 || intercept != 0;
        if (rescaled) {
            Note(std::string(TypeName(info.type)) + " times " + NumberText(slope) + " plus " +
                 NumberText(intercept) + ", as float");
            info.type = DataFloat;
        }
        const auto centre = FileNumber(Set(), kWindowGroup, kWindowCentre);
        const auto width = FileNumber(Set(), kWindowGroup, kWindowWidth);
        if (centre && width && *width >= 1) {
            // The standard's window of width w covers the w values around centre - 0.5.
            const double low = *centre - 0.5 - (*width - 1) / 2;
            info.window = Window{low, low + std::max(*width - 1, 1.0)};
        }
    }

    // Values that are not compressed must all be there; the decoder would make up the rest.
    void CheckStoredLength() const {
        if (image->GetTransferSyntax().IsEncapsulated() || isPalette) return;
        std::size_t bits = samples.pixels * info.frames * samples.channels;
        bits *= info.type == DataBit ? 1 : ElementBytes(samples.type) * 8;
        using Kind = gdcm::PhotometricInterpretation;
        if (image->GetPhotometricInterpretation() == Kind::YBR_FULL_422) bits = bits / 3 * 2;
        if (StoredBytes().size() < (bits + 7) / 8) Fail("is cut short");
    }

    Bytes StoredBytes() const { return BytesOf(Set().GetDataElement(kPixels).GetByteValue()); }

    // A compressed frame that is one fragment, as run-length coded ones are; the first one of a single frame.
    Bytes Fragment(std::uint32_t frame) const {
        const gdcm::SequenceOfFragments* fragments = Set().GetDataElement(kPixels).GetSequenceOfFragments();
        if (!fragments || frame >= fragments->GetNumberOfFragments()) return {};
        return BytesOf(fragments->GetFragment(frame).GetByteValue());
    }

    static Bytes BytesOf(const gdcm::ByteValue* value) {
        if (!value) return {};
        return {reinterpret_cast<const unsigned char*>(value->GetPointer()),
                static_cast<std::size_t>(value->GetLength())};
    }

    void DecodeAll() {
        if (!decodedAll.empty()) return;
        decodedAll.resize(image->GetBufferLength());
        bool decoded = false;
        try {
            decoded = image->GetBuffer(reinterpret_cast<char*>(decodedAll.data()));
        } catch (const std::exception&) {
        }
        if (!decoded) {
            decodedAll.clear();
            Fail("its pixels cannot be decoded: damaged, or compressed in an unknown way");
        }
        // The library turns the bytes of 16-bit words round, whatever the size of a sample.
        if (coding == gdcm::TransferSyntax::ExplicitVRBigEndian && ElementBytes(samples.type) == 4) {
            SwapHalves(decodedAll);
        }
    }

    const gdcm::DataSet& Set() const { return reader.GetFile().GetDataSet(); }

    gdcm::ImageReader reader;
    gdcm::ImageApplyLookupTable palette;
    const gdcm::Image* image = nullptr;  // the reader's, or the palette's output
    gdcm::TransferSyntax coding;         // of the file
    RawPixels decodedAll;                // all frames, once decoded
    DicomSamples samples;
    double slope = 1;
    double intercept = 0;
    bool rescaled = false;
    bool isPalette = false;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<DicomReader>(request);
}

}  // namespace pzel_io
