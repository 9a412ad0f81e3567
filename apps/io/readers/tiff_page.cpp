// From tags to what a page is shown as.
#include "apps/io/readers/tiff_page.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <string_view>

namespace pzel_io {

namespace {

constexpr int kColours = 3;
constexpr int kInks = 4;
constexpr std::uint32_t kNoDataTag = 42113;  // as geographic programs write it

std::string firstError;
std::string firstWarning;

std::string Formatted(const char* format, std::va_list arguments) {
    char text[1024];
    std::vsnprintf(text, sizeof text, format, arguments);
    std::string line = text;
    line.resize(std::min(line.find('\n'), line.size()));
    if (line.ends_with('.')) line.pop_back();
    return line;
}

void KeepError(const char*, const char* format, std::va_list arguments) {
    if (firstError.empty()) firstError = Formatted(format, arguments);
}

void KeepWarning(const char*, const char* format, std::va_list arguments) {
    const std::string text = Formatted(format, arguments);
    if (text.find("Old-style LZW codes") != std::string::npos) return;
    if (firstWarning.empty()) firstWarning = text;
}

float FloatTag(TIFF* tiff, std::uint32_t tag) {
    float value = 0;
    return TIFFGetField(tiff, tag, &value) == 1 ? value : 0;
}

std::string Count(int number, const std::string& what) {
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

// Fills in a page step by step.
class Describer {
  public:
    Describer(TIFF* opened, const OpenOptions& wishes) : tiff(opened), options(wishes) {}

    TiffPage Describe() {
        page.layout = ReadTiffLayout(tiff);
        CheckCoding();
        ChooseLibrary();
        page.shown.width = layout.width;
        page.shown.height = layout.height;
        if (layout.isSeparate && !page.byLibrary) page.shown.layout = Layout::Planar;
        ChooseColours();
        ChooseType();
        ChooseRest();
        return std::move(page);
    }

  private:
    [[noreturn]] static void Refuse(const std::string& reason) { throw std::runtime_error(reason); }
    void Note(const std::string& line) { page.shown.conversions.push_back(line); }

    void CheckCoding() const {
        if (layout.width < 1 || layout.height < 1) Refuse("holds no pixels");
        if (layout.chunkWidth < 1 || layout.chunkHeight < 1) Refuse("has tiles without pixels");
        const auto scheme = static_cast<std::uint16_t>(layout.compression);
        if (TIFFIsCODECConfigured(scheme)) return;
        const TIFFCodec* codec = TIFFFindCODEC(scheme);
        Refuse("is compressed in a way that cannot be read: " +
               (codec ? std::string(codec->name) : "number " + std::to_string(scheme)));
    }

    // Some codings ask the library for other samples than the tags tell.
    void ChooseLibrary() {
        const bool isYuv = layout.photometric == PHOTOMETRIC_YCBCR;
        const bool isLuminance =
            layout.photometric == PHOTOMETRIC_LOGL || layout.photometric == PHOTOMETRIC_LOGLUV;
        if (isYuv && layout.compression == COMPRESSION_JPEG && !layout.isSeparate) {
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        } else if (isYuv) {
            page.byLibrary = true;
            char why[1024] = "";
            if (!TIFFRGBAImageOK(tiff, why)) Refuse(std::string("cannot be read: ") + why);
        } else if (isLuminance) {
            if (layout.compression != COMPRESSION_SGILOG && layout.compression != COMPRESSION_SGILOG24)
                Refuse("holds logarithmic luminance in an unknown coding");
            TIFFSetField(tiff, TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_FLOAT);
            page.layout.bits = 32;
            page.layout.format = SAMPLEFORMAT_IEEEFP;
        }
    }

    // How many of the samples are colours, and what they are.
    int ColoursOf() {
        const int samples = layout.samples;
        const auto needs = [&](int count, const char* what) {
            if (samples < count) Refuse(std::string("holds too few channels for ") + what);
            return count;
        };
        switch (layout.photometric) {
            case PHOTOMETRIC_MINISWHITE:
                page.shown.lowIsWhite = true;
                Note("stored values kept, low values are white");
                return 1;
            case PHOTOMETRIC_MINISBLACK:
            case PHOTOMETRIC_MASK: return 1;
            case PHOTOMETRIC_RGB: return samples < kColours ? 1 : kColours;
            case PHOTOMETRIC_PALETTE:
                if (options.purpose == Purpose::Mask) {
                    Note("palette indices as labels");
                } else {
                    page.colour.conversion = TiffConversion::Palette;
                }
                return 1;
            case PHOTOMETRIC_SEPARATED: {
                std::uint16_t set = INKSET_CMYK;
                TIFFGetFieldDefaulted(tiff, TIFFTAG_INKSET, &set);
                if (set != INKSET_CMYK) Refuse("holds inks other than cyan, magenta, yellow and black");
                page.colour.conversion = TiffConversion::Inks;
                Note("CMYK to colour, without its profile");
                return needs(kInks, "CMYK");
            }
            case PHOTOMETRIC_YCBCR:
                Note("luminance and colour differences to colour");
                return page.byLibrary ? kColours : needs(kColours, "luminance and colour differences");
            case PHOTOMETRIC_CIELAB:
            case PHOTOMETRIC_ICCLAB:
                if (samples == 1) {
                    Note("lightness alone of L*a*b*, shown as grey");
                    return 1;
                }
                page.colour.conversion =
                    layout.photometric == PHOTOMETRIC_ICCLAB ? TiffConversion::IccLab : TiffConversion::Lab;
                ChooseWhite();
                Note("L*a*b* (CIE 1976) to sRGB, adapted to its white by Bradford's method");
                return needs(kColours, "L*a*b*");
            case PHOTOMETRIC_LOGL: Note("logarithmic luminance to float"); return 1;
            case PHOTOMETRIC_LOGLUV:
                page.colour.conversion = TiffConversion::Luminance;
                Note("logarithmic luminance and chromaticity to linear colour (BT.709), as float");
                return needs(kColours, "luminance and chromaticity");
            case PHOTOMETRIC_CFA: Note("the mosaic of a sensor, shown as grey"); return 1;
            case kLinearRaw:
                Note("linear values of a sensor, as they are");
                return samples < kColours ? 1 : kColours;
            case -1:
                Note(std::string("kind of colour not told, taken for ") +
                     (samples < kColours ? "grey" : "red, green and blue"));
                return samples < kColours ? 1 : kColours;
            default: Refuse("colour of the kind " + std::to_string(layout.photometric) + " is not supported");
        }
    }

    void ChooseWhite() {
        float* white = nullptr;
        if (TIFFGetField(tiff, TIFFTAG_WHITEPOINT, &white) != 1 || !white) return;
        if (white[0] > 0 && white[1] > 0 && white[0] + white[1] < 1)
            page.colour.white = {static_cast<double>(white[0]), static_cast<double>(white[1])};
    }

    bool IsAlpha(int sample, std::uint16_t kind) const {
        const int extra = sample - (layout.samples - static_cast<int>(layout.extra.size()));
        return extra >= 0 && layout.extra[static_cast<std::size_t>(extra)] == kind;
    }

    // Which samples are read: the colours; of grey the first three or both where there is no alpha.
    void ChooseColours() {
        int colours = ColoursOf();
        page.shown.channels = page.colour.conversion == TiffConversion::None ? colours : kColours;
        if (page.byLibrary) {
            page.shown.channels = kColours;
            page.shown.model = SubColour;
            return;
        }
        std::vector<int> alphas;
        bool isPremultiplied = false;
        const bool isPair = options.purpose == Purpose::Vectors && layout.samples == 2;
        for (int sample = colours; sample < layout.samples && !isPair; ++sample) {
            const bool multiplied = IsAlpha(sample, EXTRASAMPLE_ASSOCALPHA);
            if (!multiplied && !IsAlpha(sample, EXTRASAMPLE_UNASSALPHA)) continue;
            if (alphas.empty()) isPremultiplied = multiplied;
            alphas.push_back(sample);
        }
        std::vector<int> others;
        for (int sample = colours; sample < layout.samples; ++sample)
            if (std::find(alphas.begin(), alphas.end(), sample) == alphas.end()) others.push_back(sample);
        for (int sample = 0; sample < colours; ++sample) page.kept.push_back(sample);
        if (colours == 1 && page.colour.conversion == TiffConversion::None) TakeOthers(others);
        page.shown.model = page.shown.channels == kColours ? SubColour : SubGrey;
        if (!alphas.empty()) LeaveAlphaOut(alphas[0], isPremultiplied);
        if (!others.empty()) Note(Count(static_cast<int>(others.size()), "further channel") + " left out");
    }

    // Channels that are all grey are shown as colour, or are the two of a pair.
    void TakeOthers(std::vector<int>& others) {
        const int all = 1 + static_cast<int>(others.size());
        const int taken = std::min(all, kColours);
        page.kept.insert(page.kept.end(), others.begin(), others.begin() + (taken - 1));
        others.erase(others.begin(), others.begin() + (taken - 1));
        page.shown.channels = taken;
        if (taken == kColours)
            Note("the first 3 of " + std::to_string(all) + " grey channels as red, green and blue");
    }

    void LeaveAlphaOut(int alpha, bool isPremultiplied) {
        const bool isSigned = layout.format == SAMPLEFORMAT_INT;
        const bool isPlain = page.colour.conversion == TiffConversion::None && !isSigned && IsElementType();
        if (isPremultiplied && isPlain) {
            page.colour.conversion = TiffConversion::Alpha;
            page.kept.push_back(alpha);
            Note("alpha left out, and the colours divided by it, which they were multiplied by");
        } else {
            Note(isPremultiplied ? "alpha left out, which the colours are multiplied by" : "alpha left out");
        }
    }

    bool IsElementType() const { return ElementOf(layout) == DataFloat || IsElement(layout); }

    void ChooseType() {
        if (page.byLibrary) {
            page.shown.type = DataUInt8;
            return;
        }
        page.shown.type = page.colour.type = ElementOf(layout);
        page.colour.channels = page.shown.channels;
        if (page.shown.type == DataNone) {
            constexpr const char* kFormats[] = {"unsigned", "signed",  "float",
                                                "untyped",  "complex", "complex"};
            const int format = std::clamp(layout.format, 1, 6);
            Refuse(std::to_string(layout.bits) + "-bit " + kFormats[format - 1] +
                   " samples are not supported");
        }
        if (const char* name = NarrowedName(layout)) Note(std::string(name) + " to float");
        const bool isBit = layout.bits == 1 && layout.samples == 1 && layout.format == SAMPLEFORMAT_UINT;
        switch (page.colour.conversion) {
            case TiffConversion::Palette: ChoosePalette(); break;
            case TiffConversion::None:
                if (isBit) {
                    page.shown.type = DataBit;
                } else {
                    page.shown.window = SampleRange(layout);
                }
                break;
            case TiffConversion::Inks:
                if (layout.format == SAMPLEFORMAT_INT || !IsElementType()) RefuseBits("CMYK");
                break;
            case TiffConversion::Lab:
            case TiffConversion::IccLab:
                // The differences may be told to be signed, and are anyway.
                if (!IsElement(layout) || layout.bits > 16) RefuseBits("L*a*b*");
                page.shown.type = page.colour.type = layout.bits == 8 ? DataUInt8 : DataUInt16;
                break;
            default: break;
        }
    }

    [[noreturn]] void RefuseBits(const std::string& what) const {
        Refuse(what + " of " + std::to_string(layout.bits) + " bits is not supported");
    }

    // A palette has 16 bits; those whose bytes were only spread over them become bytes again.
    void ChoosePalette() {
        constexpr int kSpread = 257, kShifted = 256;
        const std::uint16_t* columns[kColours] = {};
        const bool found = layout.bits <= 16 && layout.format == SAMPLEFORMAT_UINT &&
                           TIFFGetField(tiff, TIFFTAG_COLORMAP, &columns[0], &columns[1], &columns[2]) == 1;
        if (!found) Refuse("has no palette for its indices");
        std::vector<std::uint16_t>& palette = page.colour.palette;
        for (std::size_t i = 0; i < std::size_t{1} << layout.bits; ++i)
            for (const std::uint16_t* column : columns) palette.push_back(column[i]);
        const auto all = [&](auto fits) { return std::all_of(palette.begin(), palette.end(), fits); };
        const bool isSmall = all([](int entry) { return entry < kShifted; });
        const bool isSpread = all([](int entry) { return entry % kSpread == 0; }) ||
                              all([](int entry) { return entry % kShifted == 0; });
        page.colour.isNarrowPalette = isSmall || isSpread;
        if (isSpread && !isSmall)
            for (std::uint16_t& entry : palette) entry = static_cast<std::uint16_t>(entry >> 8);
        page.shown.type = page.colour.isNarrowPalette ? DataUInt8 : DataUInt16;
        Note("palette indices to colour");
    }

    void ChooseRest() {
        const float x = FloatTag(tiff, TIFFTAG_XRESOLUTION), y = FloatTag(tiff, TIFFTAG_YRESOLUTION);
        constexpr float kRounding = 1e-4f;
        if (x > 0 && y > 0 && std::isfinite(x) && std::isfinite(y) && std::abs(x - y) > kRounding * y) {
            page.shown.pixelAspect = static_cast<double>(y) / static_cast<double>(x);
            Note("pixels " + NumberText(static_cast<double>(y / x)) + " times as wide as high");
        }
        std::uint32_t kind = 0;
        std::uint16_t oldKind = 0;
        if (TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &kind) == 1) {
            page.isSide = (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0;
        } else if (TIFFGetField(tiff, TIFFTAG_OSUBFILETYPE, &oldKind) == 1) {
            page.isSide = oldKind == OFILETYPE_REDUCEDIMAGE;
        }
        std::uint16_t orientation = 1;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
        page.orientation = orientation;
        std::uint16_t parts = 0;
        const toff_t* places = nullptr;
        if (TIFFGetField(tiff, TIFFTAG_SUBIFD, &parts, &places) == 1 && parts > 0)
            Note(Count(parts, "picture") + " inside of the page left out");
        std::uint32_t length = 0;
        const char* text = nullptr;
        if (TIFFGetField(tiff, kNoDataTag, &length, &text) == 1 && text) {
            std::string value(text, length);
            value.resize(std::min(value.find('\0'), value.size()));
            Note("pixels without data hold " + value);
        }
    }

    static constexpr int kLinearRaw = 34892;  // of cameras

    TIFF* tiff;
    const OpenOptions& options;
    TiffPage page;
    const TiffLayout& layout = page.layout;
};

}  // namespace

void TiffReports::Listen() {
    TIFFSetErrorHandler(KeepError);
    TIFFSetWarningHandler(KeepWarning);
}

void TiffReports::Clear() {
    firstError.clear();
    firstWarning.clear();
}

const std::string& TiffReports::Damage() {
    return firstError.empty() ? firstWarning : firstError;
}

std::size_t TiffPage::StoredRowBytes() const {
    const auto width = static_cast<std::size_t>(layout.width);
    if (shown.type == DataBit) return (width + 7) / 8;
    return width * kept.size() * ElementBytes(ElementOf(layout));
}

TiffPage DescribeTiffPage(TIFF* tiff, const OpenOptions& options) {
    return Describer(tiff, options).Describe();
}

bool Agree(const TiffPage& page, const TiffPage& other) {
    const PictureInfo &a = page.shown, &b = other.shown;
    const auto same = [](const std::optional<Window>& x, const std::optional<Window>& y) {
        return x.has_value() == y.has_value() && (!x || (x->low == y->low && x->high == y->high));
    };
    return a.width == b.width && a.height == b.height && a.channels == b.channels && a.type == b.type &&
           a.model == b.model && a.lowIsWhite == b.lowIsWhite && same(a.window, b.window) &&
           page.colour.conversion == other.colour.conversion && page.orientation == other.orientation;
}

double MostFromTiffByte(const TiffPage& page) {
    constexpr double kRowsFromByte = 8;  // of facsimiles, which have rows of one bit
    double most = 0;
    switch (page.layout.compression) {
        case COMPRESSION_NONE: most = 1; break;
        case COMPRESSION_PACKBITS: most = 64; break;
        case COMPRESSION_LZW: most = 4096; break;
        case COMPRESSION_DEFLATE:
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_PIXARLOG: most = 1100; break;
        case COMPRESSION_JPEG:
        case COMPRESSION_OJPEG: most = 2000; break;
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4: return kRowsFromByte * static_cast<double>(page.StoredRowBytes());
        default: most = 1e5;
    }
    // Of what is stored; what is shown may be larger, bits as colour for example.
    const double storedBits = static_cast<double>(page.layout.bits) * page.layout.samples;
    const double shownBits = page.shown.type == DataBit ? 1
                                                        : static_cast<double>(ElementBytes(page.shown.type)) *
                                                              8 * page.shown.channels;
    const double subsampling = page.byLibrary ? 4 : 1;
    return most * subsampling * shownBits / storedBits;
}

}  // namespace pzel_io
