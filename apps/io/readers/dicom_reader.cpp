// DICOM files: stored values, changed only where the file says so, never stretched. Each frame is read and
// decoded by itself, when it is asked for.
#include "apps/io/readers/reader.h"

#include <dcmtk/dcmdata/dcdeftag.h>

#include <algorithm>

#include "apps/io/readers/dicom_codecs.h"
#include "apps/io/readers/dicom_facts.h"
#include "apps/io/readers/dicom_frames.h"
#include "apps/io/readers/dicom_pixels.h"
#include "apps/io/readers/dicom_place.h"
#include "apps/io/readers/dicom_scales.h"
#include "apps/io/readers/dicom_table.h"

namespace pzel_io {

namespace {

class DicomReader final : public Reader {
  public:
    explicit DicomReader(const OpenRequest& request)
        : Reader(request), file(info.file), facts(ReadDicomFacts(file, info.conversions)) {
        if (file.End() != DicomEnd::Whole && options.partial) Note("what is left of a damaged file");
        ReadShape();
        CheckSize();
        OpenPixels();
        ChooseColour();
        if (!palette.empty() && options.purpose == Purpose::Mask) {
            Note("palette indices as labels");
        } else if (!palette.empty()) {
            UsePalette();
        } else if (info.model == SubGrey && info.type != DataBit) {
            UseScales();
        }
        PlaceDicomPicture(file, facts, info);
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        FrameNotes notes;
        if (info.type == DataBit) {
            ReadBits(wanted.frame, pixels, notes);
            return notes;
        }
        const bool direct = change == Change::None || change == Change::Centre;
        if (!direct) samplesOfFrame.resize(samples.Size());
        const std::span<unsigned char> stored = direct ? pixels : std::span(samplesOfFrame);
        if (coded) {
            Decode(wanted.frame, stored, notes);
        } else {
            ReadStored(wanted.frame, stored, notes);
        }
        const FrameScale& scale = scales.Of(wanted.frame);
        switch (change) {
            case Change::None: break;
            case Change::Centre: CentreColourDifferences(pixels); break;
            case Change::Palette: LookUpDicomSamples(stored, samples.type, palette, pixels); break;
            case Change::Table: LookUpDicomSamples(stored, samples.type, {&*scales.table, 1}, pixels); break;
            case Change::Rescale:
                RescaleDicomSamples(stored, samples.type, scale.slope, scale.intercept, pixels);
                break;
        }
        if (windowsDiffer) notes.window = scale.window;
        return notes;
    }

  private:
    // What makes samples the pixels that are delivered.
    enum class Change { None, Centre, Palette, Table, Rescale };

    void ReadShape() {
        info.width = facts.width;
        info.height = facts.height;
        info.channels = facts.channels;
        info.type = facts.type;
        if (facts.planar) info.layout = Layout::Planar;
        samples.width = static_cast<std::size_t>(facts.width);
        samples.height = static_cast<std::size_t>(facts.height);
        samples.channels = static_cast<std::size_t>(facts.channels);
        samples.type = facts.type;
        samples.bitsStored = facts.bitsStored;
        samples.highBit = facts.highBit;
    }

    // Finds the pixels and compares their number with what the file holds.
    void OpenPixels() {
        std::uint32_t found = 0;
        if (file.Coding() == DicomCoding::Native) {
            bytes.emplace(file, *facts.pixels);
            halved = facts.colour == "YBR_FULL_422" && HoldsHalvedDifferences();
            if (halved && info.width % 2) Fail("has an odd pixel in rows of pairs");
            found = HeldFrames();
        } else {
            if (info.type == DataBit || info.type == DataFloat)
                Fail("compressed samples of this type are not supported");
            coded.emplace(file, *facts.pixels);
            CheckHeld(MostFromByte());
            found = coded->Divide(facts.frames);
        }
        const bool cut = file.End() != DicomEnd::Whole && !options.partial;
        if (found == 0 || (found < facts.frames && !options.partial) || cut) {
            if (file.End() == DicomEnd::Damaged) Fail("cannot be opened as dicom: damaged");
            Fail(facts.frames == 1 || found >= facts.frames
                     ? "is cut short"
                     : "is cut short: holds " + std::to_string(found) + " of " +
                           std::to_string(facts.frames) + " frames");
        }
        info.frames = std::min(found, facts.frames);
        if (found < facts.frames) {
            Note("holds " + std::to_string(found) + " of " + std::to_string(facts.frames) + " frames");
        }
    }

    // Samples that a byte can become, by the shortest codes that a codec has, and whole rows in one.
    double MostFromByte() const {
        const auto sampleBytes = static_cast<double>(ElementBytes(samples.type));
        switch (file.Coding()) {
            case DicomCoding::Native: break;
            case DicomCoding::Runs: return 64;
            case DicomCoding::Jpeg: return 512 * sampleBytes;
            case DicomCoding::JpegLs: return std::max(8.0 * info.width, 1024.0) * sampleBytes;
            case DicomCoding::Jpeg2000: return 65536 * sampleBytes;
        }
        return 1;
    }

    // Two differences for two pixels, or, as some files have it, for each pixel.
    bool HoldsHalvedDifferences() const {
        return facts.channels == 3 && bytes->Size() / samples.Size() < facts.frames;
    }

    std::size_t FrameBits() const {
        if (info.type == DataBit) return samples.Pixels();
        if (facts.doubles) return samples.Count() * sizeof(double) * 8;
        return (halved ? samples.Size() / 3 * 2 : samples.Size()) * 8;
    }

    // A part of a frame counts where parts are wanted.
    std::uint32_t HeldFrames() const {
        const std::size_t bits = bytes->Size() * 8;
        std::size_t frames = bits / FrameBits();
        if (options.partial && bits % FrameBits() >= 8) ++frames;
        return static_cast<std::uint32_t>(std::min<std::size_t>(frames, facts.frames));
    }

    void ChooseColour() {
        const std::string& colour = facts.colour;
        const bool single = colour == "MONOCHROME1" || colour == "MONOCHROME2" || colour == "PALETTE COLOR";
        info.model = facts.channels == 1 ? SubGrey : SubColour;
        if (colour == "MONOCHROME1") {
            info.lowIsWhite = true;
            Note("MONOCHROME1: stored values kept, low values are white");
        }
        if (facts.channels == 1) {
            if (!single) Fail("colour of the kind " + colour + " in one channel is not supported");
            if (colour == "PALETTE COLOR") palette = ReadDicomPalette(file, facts.isSigned);
            if (const std::string shown = file.Top().Text(DCM_PixelPresentation);
                palette.empty() && (shown == "COLOR" || shown == "MIXED")) {
                Note("the palette for its highest values is not applied");
            }
            if (file.Coding() == DicomCoding::Jpeg2000) TrustSigns();
            return;
        }
        if (single) Fail("colour of the kind " + colour + " in three channels is not supported");
        if (IsLuminance()) {
            if (info.type != DataUInt8) Fail("luminance pictures of other than 8 bits are not supported");
            info.model = SubYuv;
            change = Change::Centre;
        }
    }

    bool IsLuminance() {
        const std::string& colour = facts.colour;
        const bool named = colour == "YBR_FULL" || colour == "YBR_FULL_422";
        const bool byDecoder = colour == "YBR_RCT" || colour == "YBR_ICT";
        if (!named && !byDecoder && colour != "RGB")
            Fail("colour of the kind " + colour + " is not supported");
        if (byDecoder) Note("luminance and colour differences to colour by the decoder");
        const JpegColour stored =
            file.Coding() == DicomCoding::Jpeg && samples.type == DataUInt8 && !byDecoder
                ? FindJpegColour(coded->Read(0).bytes)
                : JpegColour::Unknown;
        if (colour == "RGB" && stored == JpegColour::Luminance) {
            Note(
                "called RGB, but stored as luminance and colour differences; these minus 128, as signed "
                "values");
            return true;
        }
        if (named && stored == JpegColour::Colour) {
            Note("called " + colour + ", but stored as red, green and blue");
            return false;
        }
        if (named) Note("colour differences minus 128, as signed values");
        return named;
    }

    // Compressed values may have a sign that the file does not tell of.
    void TrustSigns() {
        if (facts.isSigned || HasSignedSamples(coded->Read(0).bytes) != true) return;
        facts.isSigned = true;
        facts.type = IntegerType(facts.bitsAllocated, facts.isSigned);
        samples.type = info.type = facts.type;
        Note("called unsigned, but stored with signs: these kept");
    }

    void UsePalette() {
        change = Change::Palette;
        info.channels = 3;
        info.model = SubColour;
        info.type = palette[0].Type();
        CheckSize();
        Note("palette indices to colour");
        if (info.type == DataUInt16) {
            constexpr double kMost = 65535;
            info.window = Window{0, kMost};
        }
    }

    void UseScales() {
        scales = ReadDicomScales(file, facts, info.conversions);
        if (scales.table) {
            change = Change::Table;
            info.type = scales.table->Type();
        } else if (scales.Rescales()) {
            change = Change::Rescale;
            info.type = DataFloat;
        }
        info.window = scales.SharedWindow();
        windowsDiffer = scales.WindowsDiffer();
    }

    std::string FrameText(std::uint32_t frame) const {
        return info.frames == 1 ? "" : "frame " + std::to_string(frame) + ": ";
    }

    void NoteRest(std::uint32_t frame, FrameNotes& notes) const {
        notes.notes.push_back(FrameText(frame) + "what is left of a damaged picture");
    }

    void Decode(std::uint32_t frame, std::span<unsigned char> to, FrameNotes& notes) {
        const CodedFrames::Frame read = coded->Read(frame);
        if (!read.whole && !options.partial) Fail(FrameText(frame) + "is cut short");
        if (options.partial) std::fill(to.begin(), to.end(), static_cast<unsigned char>(0));
        const CodedFrame request{read.bytes, samples, to, options.partial};
        Decoded decoded;
        try {
            switch (file.Coding()) {
                case DicomCoding::Native: break;
                case DicomCoding::Runs: decoded = DecodeDicomRuns(request); break;
                case DicomCoding::Jpeg: decoded = DecodeDicomJpeg(request); break;
                case DicomCoding::JpegLs: decoded = DecodeDicomJpegLs(request); break;
                case DicomCoding::Jpeg2000: decoded = DecodeDicomJpeg2000(request); break;
            }
        } catch (const CodecError& error) {
            Fail(FrameText(frame) + error.what());
        }
        if (!decoded.whole || !read.whole) NoteRest(frame, notes);
        ClearSpareBits(DecodedSamples(decoded), to);
    }

    // A stream of fewer bits than the file's samples has moved them down already.
    DicomSamples DecodedSamples(const Decoded& decoded) const {
        DicomSamples stored = samples;
        if (decoded.bits == 0 || decoded.bits > stored.highBit) return stored;
        stored.highBit = decoded.bits - 1;
        // Lossless JPEG tells no more bits than its values need.
        const bool needed = file.Coding() == DicomCoding::Jpeg;
        stored.bitsStored = needed ? stored.bitsStored : std::min(stored.bitsStored, decoded.bits);
        stored.highBit = std::max(stored.highBit, stored.bitsStored - 1);
        return stored;
    }

    void ReadStored(std::uint32_t frame, std::span<unsigned char> to, FrameNotes& notes) {
        const std::size_t size = FrameBits() / 8;
        const bool ordered = !facts.planar && !halved && !facts.doubles;
        if (!ordered) bytesOfFrame.assign(size, 0);
        const std::span<unsigned char> read = ordered ? to : std::span(bytesOfFrame);
        const std::size_t there = bytes->Read(frame * size, read);
        if (there < size) {
            if (!options.partial) Fail(FrameText(frame) + "is cut short");
            std::fill(read.begin() + static_cast<std::ptrdiff_t>(there), read.end(),
                      static_cast<unsigned char>(0));
            NoteRest(frame, notes);
        }
        // The library turns the bytes of 16-bit words round, whatever the size of a sample.
        if (file.IsBigEndian() && ElementBytes(samples.type) == 4 && samples.type != DataFloat)
            SwapHalves(read);
        if (halved) {
            SpreadDicomDifferences(read, samples, to);
        } else if (facts.planar) {
            InterleaveDicomSamples(read, samples, to);
        } else if (facts.doubles) {
            NarrowDoubles(read, to);
        }
        ClearSpareBits(samples, to);
    }

    void ReadBits(std::uint32_t frame, std::span<unsigned char> to, FrameNotes& notes) {
        const std::size_t first = frame * samples.Pixels();
        const auto inByte = static_cast<unsigned>(first % 8);
        const std::size_t size = (inByte + samples.Pixels() + 7) / 8;
        bytesOfFrame.assign(size, 0);
        if (bytes->Read(first / 8, bytesOfFrame) < size) {
            if (!options.partial) Fail(FrameText(frame) + "is cut short");
            NoteRest(frame, notes);
        }
        UnpackDicomBits(bytesOfFrame, inByte, samples.width, samples.height, to);
    }

    DicomFile file;
    DicomFacts facts;
    DicomSamples samples;
    std::optional<StoredBytes> bytes;  // one of both
    std::optional<CodedFrames> coded;
    bool halved = false;  // one pair of differences for two pixels
    Change change = Change::None;
    std::vector<DicomTable> palette;
    DicomScales scales{{}, {FrameScale()}};
    bool windowsDiffer = false;
    RawPixels bytesOfFrame;
    RawPixels samplesOfFrame;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<DicomReader>(request);
}

}  // namespace pzel_io
