// Pictures of the common formats. What the reading library changes on the way (widened samples,
// expanded bits) is undone where that is exact, and reported where it is not. DICOM, FITS and videos have
// readers of their own.
#include "apps/io/readers/reader.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace pzel_io {

namespace {

using OIIO::ImageInput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr int kColourChannels = 3;
constexpr int kCmykChannels = 4;

// Where a PNG file keeps its bit depth and colour type, which the reading library does not tell.
constexpr std::size_t kPngDepth = 24;
constexpr std::size_t kPngColourType = 25;
constexpr unsigned char kPngGrey = 0;
constexpr unsigned char kPngPalette = 3;
constexpr unsigned char kPngGreyAlpha = 4;

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// The library's messages repeat the file name; ours names it already.
std::string Reason(std::string message, const std::filesystem::path& file) {
    message = FirstLine(message);
    std::string quoted(1, '"');
    quoted.append(file.string()).append(1, '"');
    const std::string bracketed = std::string(" (").append(quoted).append(")");
    for (const std::string& name : {bracketed, quoted + ": ", quoted + " ", file.string() + ": "}) {
        if (const auto at = message.find(name); at != std::string::npos) message.erase(at, name.size());
    }
    return message.empty() ? "no reason given" : message;
}

bool SameFrames(const ImageSpec& a, const ImageSpec& b) {
    return a.width == b.width && a.height == b.height && a.nchannels == b.nchannels && a.format == b.format;
}

class OtherReader final : public Reader {
  public:
    explicit OtherReader(const OpenRequest& request) : Reader(request), readerName(request.format) {
        input = Open();
        spec = input->spec();
        info.width = spec.width;
        info.height = spec.height;
        CheckKind();
        ChooseType();
        ChooseChannels();
        CheckSize();
        ChooseSampleBits();
        ListFrames();
        NoteRest();
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const RawPixels read = ReadFrame(wanted.frame);
        if (read.size() != pixels.size()) Fail("is cut short");
        std::copy(read.begin(), read.end(), pixels.begin());
        return {};
    }

  private:
    RawPixels ReadFrame(std::uint32_t frame) {
        const std::size_t count =
            static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
        const std::size_t bytes = info.type == DataBit ? 1 : ElementBytes(info.type);
        RawPixels pixels(count * bytes * info.channels);
        const TypeDesc wanted = info.type == DataFloat ? TypeDesc(TypeDesc::FLOAT) : spec.format;
        bool read = false;
        { read = input->read_image(subimages[frame], 0, 0, info.channels, wanted, pixels.data()); }
        if (!read) {
            Fail(FrameText(frame) + " cannot be read: " + Reason(input->geterror(), info.file));
        }
        // Decoders of JPEG go on with grey where data are missing, and only leave a message behind.
        if (readerName == "jpeg" && input->has_error()) {
            Fail("is damaged or cut short: " + Reason(input->geterror(), info.file));
        }
        if (info.type == DataBit) return PackBits(pixels);
        Narrow(pixels);
        return pixels;
    }

    std::string FrameText(std::uint32_t frame) const {
        return info.frames > 1 ? "frame " + std::to_string(frame) : "the picture";
    }

    std::unique_ptr<ImageInput> Open() const {
        ImageSpec config;
        config["oiio:UnassociatedAlpha"] = 1;
        config["oiio:RawColor"] = 1;
        std::unique_ptr<ImageInput> opened = ImageInput::create(readerName);
        if (!opened) {
            Fail("the installed OpenImageIO cannot read " + info.format + ": " +
                 Reason(OIIO::geterror(), info.file));
        }
        ImageSpec ignored;
        bool open = false;
        { open = opened->open(info.file.string(), ignored, config); }
        if (!open) {
            Fail("cannot be opened as " + info.format + ": " + Reason(opened->geterror(), info.file));
        }
        return opened;
    }

    void CheckKind() const {
        if (spec.depth > 1) Fail("holds a volume of depth " + std::to_string(spec.depth));
        if (spec.deep) Fail("holds several samples for each pixel (deep data)");
        const bool cmykName = std::string_view(spec.get_string_attribute("oiio:ColorSpace")) == "CMYK" ||
                              std::string_view(spec.get_string_attribute("tiff:ColorSpace")) == "CMYK";
        if (cmykName && spec.nchannels >= kCmykChannels) Fail("holds CMYK colour, which is not supported");
    }

    void ChooseType() {
        switch (spec.format.basetype) {
            case TypeDesc::UINT8: info.type = DataUInt8; break;
            case TypeDesc::INT8: info.type = DataInt8; break;
            case TypeDesc::UINT16: info.type = DataUInt16; break;
            case TypeDesc::INT16: info.type = DataInt16; break;
            case TypeDesc::UINT32: info.type = DataUInt32; break;
            case TypeDesc::INT32: info.type = DataInt32; break;
            case TypeDesc::FLOAT: info.type = DataFloat; break;
            case TypeDesc::HALF:
            case TypeDesc::DOUBLE:
                info.type = DataFloat;
                Note(std::string(spec.format.c_str()) + " to float");
                break;
            default: Fail(std::string("pixels of type ") + spec.format.c_str() + " are not supported");
        }
    }

    bool IsAlpha(int channel) const {
        return channel == spec.alpha_channel || spec.channel_name(channel) == "A";
    }

    bool HasAlpha() const {
        const bool pair = options.purpose == Purpose::Vectors && spec.nchannels == 2;
        return spec.nchannels > 1 && !pair && IsAlpha(spec.nchannels - 1);
    }

    void ChooseChannels() {
        const int alpha = HasAlpha() ? 1 : 0;
        const int rest = spec.nchannels - alpha;
        info.channels = std::min(rest, kColourChannels);
        info.model = rest == 1 ? SubGrey : SubColour;
        if (alpha) Note("alpha left out");
        if (rest > kColourChannels) {
            Note("the first 3 of " + std::to_string(rest) + " channels");
        }
        if (std::string_view(spec.get_string_attribute("planarconfig")) == "separate") {
            info.layout = Layout::Planar;
        }
    }

    // How many bits of each sample the file stores, where that is less than the element type has.
    void ChooseSampleBits() {
        int bits = spec.get_int_attribute("oiio:BitsPerSample");
        bool palette = std::string_view(spec.get_string_attribute("tiff:ColorSpace")) == "palette";
        if (readerName == "png") {
            std::ifstream stream(info.file, std::ios::binary);
            char head[kPngColourType + 1] = {};
            stream.read(head, sizeof head);
            const auto colour = static_cast<unsigned char>(head[kPngColourType]);
            palette = colour == kPngPalette;
            bits = colour == kPngGrey || colour == kPngGreyAlpha ? head[kPngDepth] : 0;
        }
        if (palette) {
            Note("palette indices to colour");
            return;
        }
        if (info.type != DataUInt8 && info.type != DataUInt16) return;
        const int elementBits = static_cast<int>(ElementBytes(info.type)) * 8;
        if (bits < 1 || bits >= elementBits) return;
        if (bits == 1 && info.channels == 1 && info.type == DataUInt8) {
            info.type = DataBit;
        } else if (readerName == "png" || readerName == "tiff") {
            surplusBits = elementBits - bits;
            info.window = Window{0, static_cast<double>((1 << bits) - 1)};
        } else {
            Note(std::to_string(bits) + "-bit samples stretched to " + std::to_string(elementBits) + " bits");
        }
    }

    // The frames of a stack are the images that agree with the first one.
    void ListFrames() {
        int others = 0;
        for (int i = 0; input->seek_subimage(i, 0); ++i) {
            (SameFrames(input->spec(), spec) ? subimages.emplace_back(i) : ++others);
        }
        (void)input->geterror();  // the end of the list leaves a message behind
        if (others > 0) Note(std::to_string(others) + " images of other size or type left out");
        info.frames = static_cast<std::uint32_t>(subimages.size());
    }

    void NoteRest() {
        const int orientation = spec.get_int_attribute("Orientation", 1);
        if (orientation != 1) Note("orientation mark " + std::to_string(orientation) + " not applied");
        if (readerName == "tiff" && spec.get_int_attribute("tiff:PhotometricInterpretation", 1) == 0) {
            Note("stored with white as the lowest value, inverted");
        }
        if (readerName == "jpeg" && info.channels == kColourChannels)
            Note("luminance and colour differences to colour");
    }

    // Bits arrive as bytes of 0 and 255.
    RawPixels PackBits(const RawPixels& bytes) const {
        const auto width = static_cast<std::size_t>(info.width);
        const std::size_t rowBytes = (width + 7) / 8;
        RawPixels packed(rowBytes * static_cast<std::size_t>(info.height));
        for (std::size_t y = 0; y < static_cast<std::size_t>(info.height); ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                if (bytes[y * width + x]) {
                    packed[y * rowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
                }
            }
        }
        return packed;
    }

    // Samples of fewer bits arrive stretched over the element type; their upper bits are the stored value.
    void Narrow(RawPixels& pixels) const {
        if (surplusBits == 0) return;
        const std::size_t bytes = ElementBytes(info.type);
        for (std::size_t i = 0; i < pixels.size(); i += bytes) {
            if (bytes == 1) {
                pixels[i] = static_cast<unsigned char>(pixels[i] >> surplusBits);
            } else {
                std::uint16_t value;
                std::memcpy(&value, &pixels[i], sizeof value);
                value = static_cast<std::uint16_t>(value >> surplusBits);
                std::memcpy(&pixels[i], &value, sizeof value);
            }
        }
    }

    std::string readerName;
    std::unique_ptr<ImageInput> input;
    ImageSpec spec;              // of the first image
    std::vector<int> subimages;  // frame number to image number
    int surplusBits = 0;         // element bits that the file does not store
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<OtherReader>(request);
}

}  // namespace pzel_io
