// Pictures of the formats that have no reader of their own: OpenEXR, Radiance, BMP, JPEG 2000, PSD, WebP,
// HEIF, DPX, Cineon. What the reading library changes on the way is undone where that is exact, and told
// where not.
#include "apps/io/readers/reader.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <fstream>

#include "apps/io/readers/orientation.h"

namespace pzel_io {

namespace {

using OIIO::ImageInput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr int kColourChannels = 3;
constexpr int kCmykChannels = 4;

// Bytes of pixels that a byte of the file can stand for at most.
double MostFromByte(std::string_view format) {
    if (format == "dpx" || format == "cineon") return 8;
    if (format == "bmp" || format == "hdr") return 500;
    if (format == "psd") return 5000;
    return 1e6;  // a byte of some wavelets and predictions is a large even area
}

// The length that files of film scanners tell of themselves, whose decoders go on without the rest; 0 for
// others.
std::uint32_t ToldBytes(const std::filesystem::path& file, std::string_view format) {
    constexpr std::size_t kDpxPlace = 16, kCineonPlace = 20;
    std::ifstream stream(file, std::ios::binary);
    unsigned char head[kCineonPlace + 4] = {};
    stream.read(reinterpret_cast<char*>(head), sizeof head);
    if (format != "dpx" && format != "cineon") return 0;
    const bool isBig = head[0] == 'S' || head[0] == 0x80;
    const unsigned char* const from = head + (format == "dpx" ? kDpxPlace : kCineonPlace);
    std::uint32_t bytes = 0;
    for (std::size_t i = 0; i < 4; ++i) bytes = bytes << 8 | from[isBig ? i : 3 - i];
    return bytes == 0xffffffff ? 0 : bytes;
}

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
        ChoosePage();
        info.width = spec.width;
        info.height = spec.height;
        CheckKind();
        ChooseType();
        ChooseChannels();
        CheckSize();
        CheckHeld(MostFromByte(info.format));
        if (ToldBytes(info.file, info.format) > std::filesystem::file_size(info.file)) Fail("is cut short");
        ChooseSampleBits();
        ListFrames();
        NoteRest();
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const auto decode = [&](const Rows& rows, std::span<unsigned char> frame) {
            if (info.type != DataBit) {
                ReadRows(wanted.frame, rows, frame);
                return;
            }
            RawPixels bytes(static_cast<std::size_t>(spec.width) * static_cast<std::size_t>(spec.height));
            ReadRows(wanted.frame, rows, bytes);
            PackBits(bytes, frame);
        };
        orientation.Read(info, wanted.rows, pixels, decode);
        return {};
    }

  private:
    void ReadRows(std::uint32_t frame, const Rows& rows, std::span<unsigned char> pixels) {
        const TypeDesc wanted = info.type == DataFloat ? TypeDesc(TypeDesc::FLOAT) : spec.format;
        const int subimage = subimages[frame];
        bool read = false;
        if (spec.tile_width > 0) {
            read = input->read_image(subimage, 0, 0, info.channels, wanted, pixels.data());
        } else {
            const std::size_t rowBytes = pixels.size() / static_cast<std::size_t>(spec.height);
            const int top = input->seek_subimage(subimage, 0) ? input->spec().y : spec.y;
            read = input->read_scanlines(subimage, 0, top + rows.first, top + rows.last + 1, 0, 0,
                                         info.channels, wanted,
                                         pixels.data() + static_cast<std::size_t>(rows.first) * rowBytes);
        }
        if (!read) Fail(FrameText(frame) + " cannot be read: " + Reason(input->geterror(), info.file));
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

    // Pages are counted from 0, as the file has them.
    void ChoosePage() {
        if (options.page && !input->seek_subimage(*options.page, 0))
            Fail("has no page " + std::to_string(*options.page));
        spec = input->spec();
    }

    void CheckKind() const {
        if (spec.depth > 1) Fail("holds a volume of depth " + std::to_string(spec.depth));
        if (spec.deep) Fail("holds several samples for each pixel (deep data)");
        const bool isCmyk = std::string_view(spec.get_string_attribute("oiio:ColorSpace")) == "CMYK" ||
                            spec.channel_name(0) == "C";
        if (isCmyk && spec.nchannels >= kCmykChannels) Fail("holds CMYK colour, which is not supported");
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
    }

    // How many bits of each sample the file stores, where that is less than the element type has.
    void ChooseSampleBits() {
        const int bits = spec.get_int_attribute("oiio:BitsPerSample");
        if (info.type != DataUInt8 && info.type != DataUInt16) return;
        const int elementBits = static_cast<int>(ElementBytes(info.type)) * 8;
        if (bits < 1 || bits >= elementBits) return;
        if (bits == 1 && info.channels == 1 && info.type == DataUInt8) {
            info.type = DataBit;
        } else {
            Note(std::to_string(bits) + "-bit samples stretched to " + std::to_string(elementBits) + " bits");
        }
    }

    // The frames of a stack are the images that agree with the first one.
    void ListFrames() {
        if (options.page) {
            subimages = {*options.page};
            return;
        }
        int others = 0;
        for (int i = 0; input->seek_subimage(i, 0); ++i) {
            (SameFrames(input->spec(), spec) ? subimages.emplace_back(i) : ++others);
        }
        (void)input->geterror();  // the end of the list leaves a message behind
        if (others > 0) Note(std::to_string(others) + " images of other size or type left out");
        info.frames = static_cast<std::uint32_t>(subimages.size());
    }

    void NoteRest() {
        const int paletteBits = spec.get_int_attribute("bmp:bitsperpixel", 0);
        if (paletteBits > 0 && paletteBits <= 8) Note("palette indices to colour");
        if (spec.width != spec.full_width || spec.height != spec.full_height || spec.x != spec.full_x ||
            spec.y != spec.full_y) {
            Note("a part of a picture of " + std::to_string(spec.full_width) + " x " +
                 std::to_string(spec.full_height) + ", shown alone");
        }
        orientation.Follow(spec.get_int_attribute("Orientation", 1), options, info);
    }

    // Bits arrive as bytes of 0 and 255.
    void PackBits(const RawPixels& bytes, std::span<unsigned char> packed) const {
        const auto width = static_cast<std::size_t>(spec.width);
        const std::size_t rowBytes = (width + 7) / 8;
        std::fill(packed.begin(), packed.end(), static_cast<unsigned char>(0));
        for (std::size_t y = 0; y < static_cast<std::size_t>(spec.height); ++y)
            for (std::size_t x = 0; x < width; ++x)
                if (bytes[y * width + x])
                    packed[y * rowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
    }

    std::string readerName;
    std::unique_ptr<ImageInput> input;
    ImageSpec spec;              // of the first image
    std::vector<int> subimages;  // frame number to image number
    Orientation orientation;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<OtherReader>(request);
}

}  // namespace pzel_io
