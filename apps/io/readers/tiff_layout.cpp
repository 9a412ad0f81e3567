// Tags, types, and samples of any number of bits.
#include "apps/io/readers/tiff_layout.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace pzel_io {

namespace {

int Tag(TIFF* tiff, std::uint32_t tag, int otherwise) {
    std::uint16_t value = 0;
    return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : otherwise;
}

int LongTag(TIFF* tiff, std::uint32_t tag) {
    std::uint32_t value = 0;
    if (TIFFGetField(tiff, tag, &value) != 1) return 0;
    return static_cast<int>(std::min<std::uint32_t>(value, 0x7fffffff));
}

template <class T>
T Loaded(const unsigned char* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// A float of any width: a sign, `Exponent` bits, `Fraction` bits.
template <int Exponent, int Fraction>
float SmallFloat(std::uint32_t bits) {
    constexpr int kBias = (1 << (Exponent - 1)) - 1;
    constexpr int kSpecial = (1 << Exponent) - 1;
    const auto fraction = static_cast<float>(bits & ((1u << Fraction) - 1));
    const auto exponent = static_cast<int>(bits >> Fraction & kSpecial);
    float value;
    if (exponent == kSpecial) {
        value = fraction != 0 ? std::nanf("") : INFINITY;
    } else if (exponent == 0) {
        value = std::ldexp(fraction, 1 - kBias - Fraction);
    } else {
        value = std::ldexp(fraction + static_cast<float>(1u << Fraction), exponent - kBias - Fraction);
    }
    return bits >> (Exponent + Fraction) & 1 ? -value : value;
}

std::uint32_t ThreeBytes(const unsigned char* from) {
    static_assert(std::endian::native == std::endian::little);
    return from[0] | static_cast<std::uint32_t>(from[1]) << 8 | static_cast<std::uint32_t>(from[2]) << 16;
}

// Samples of whole bytes, each by a function of its own.
template <std::size_t Bytes, class T, class Convert>
void ConvertRun(const SampleRun& run, unsigned char* to, std::size_t toStep, Convert convert) {
    const unsigned char* from = run.row + run.first * Bytes;
    for (std::size_t i = 0; i < run.count; ++i, from += run.step * Bytes, to += toStep) {
        const T value = convert(from);
        std::memcpy(to, &value, sizeof value);
    }
}

template <class T>
void CopyRun(const SampleRun& run, unsigned char* to, std::size_t toStep) {
    if (run.step == 1 && toStep == sizeof(T)) {
        std::memcpy(to, run.row + run.first * sizeof(T), run.count * sizeof(T));
        return;
    }
    ConvertRun<sizeof(T), T>(run, to, toStep, Loaded<T>);
}

// Samples of any number of bits up to 32, the most significant bit first.
template <class T>
void UnpackBits(const TiffLayout& layout, const SampleRun& run, unsigned char* to, std::size_t toStep) {
    const auto bits = static_cast<std::size_t>(layout.bits);
    const std::uint64_t sign = layout.format == SAMPLEFORMAT_INT ? std::uint64_t{1} << (bits - 1) : 0;
    for (std::size_t i = 0; i < run.count; ++i, to += toStep) {
        const std::size_t start = (run.first + i * run.step) * bits;
        std::uint64_t value = 0;
        for (std::size_t byte = start / 8; byte <= (start + bits - 1) / 8; ++byte)
            value = value << 8 | run.row[byte];
        value >>= 7 - (start + bits - 1) % 8;
        value &= (std::uint64_t{1} << bits) - 1;
        const auto element = static_cast<T>((value ^ sign) - sign);
        std::memcpy(to, &element, sizeof element);
    }
}

void UnpackTriples(const TiffLayout& layout, const SampleRun& run, unsigned char* to, std::size_t toStep) {
    const std::uint32_t sign = layout.format == SAMPLEFORMAT_INT ? 1u << 23 : 0;
    ConvertRun<3, std::uint32_t>(
        run, to, toStep, [sign](const unsigned char* from) { return (ThreeBytes(from) ^ sign) - sign; });
}

void UnpackFloats(const TiffLayout& layout, const SampleRun& run, unsigned char* to, std::size_t toStep) {
    const auto convert = [&]<std::size_t Bytes>(auto function) {
        ConvertRun<Bytes, float>(run, to, toStep, function);
    };
    if (layout.format != SAMPLEFORMAT_IEEEFP) {
        if (layout.format == SAMPLEFORMAT_INT) {
            convert.operator()<8>(
                [](const unsigned char* from) { return static_cast<float>(Loaded<std::int64_t>(from)); });
        } else {
            convert.operator()<8>(
                [](const unsigned char* from) { return static_cast<float>(Loaded<std::uint64_t>(from)); });
        }
        return;
    }
    switch (layout.bits) {
        case 16:
            convert.operator()<2>(
                [](const unsigned char* from) { return SmallFloat<5, 10>(Loaded<std::uint16_t>(from)); });
            break;
        case 24:
            convert.operator()<3>(
                [](const unsigned char* from) { return SmallFloat<7, 16>(ThreeBytes(from)); });
            break;
        case 32: CopyRun<float>(run, to, toStep); break;
        default:
            convert.operator()<8>(
                [](const unsigned char* from) { return static_cast<float>(Loaded<double>(from)); });
    }
}

}  // namespace

std::size_t TiffLayout::ChunkRowBytes() const {
    const std::size_t rowBits = static_cast<std::size_t>(chunkWidth) *
                                static_cast<std::size_t>(SamplesInChunk()) * static_cast<std::size_t>(bits);
    return (rowBits + 7) / 8;
}

TiffLayout ReadTiffLayout(TIFF* tiff) {
    TiffLayout layout;
    layout.width = LongTag(tiff, TIFFTAG_IMAGEWIDTH);
    layout.height = LongTag(tiff, TIFFTAG_IMAGELENGTH);
    layout.bits = Tag(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    layout.format = Tag(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    if (layout.format == SAMPLEFORMAT_VOID) layout.format = SAMPLEFORMAT_UINT;
    layout.samples = Tag(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.compression = Tag(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    std::uint16_t photometric = 0;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) == 1) layout.photometric = photometric;
    layout.isSeparate = layout.samples > 1 && Tag(tiff, TIFFTAG_PLANARCONFIG, 1) == PLANARCONFIG_SEPARATE;
    std::uint16_t extras = 0;
    const std::uint16_t* meanings = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &extras, &meanings) == 1 && meanings)
        layout.extra.assign(meanings, meanings + extras);
    layout.isTiled = TIFFIsTiled(tiff) != 0;
    if (layout.isTiled) {
        layout.chunkWidth = LongTag(tiff, TIFFTAG_TILEWIDTH);
        layout.chunkHeight = LongTag(tiff, TIFFTAG_TILELENGTH);
    } else {
        layout.chunkWidth = layout.width;
        const int rows = LongTag(tiff, TIFFTAG_ROWSPERSTRIP);
        layout.chunkHeight = rows > 0 ? std::min(rows, layout.height) : layout.height;
    }
    return layout;
}

ImageDataType ElementOf(const TiffLayout& layout) {
    const int bits = layout.bits;
    switch (layout.format) {
        case SAMPLEFORMAT_IEEEFP:
            return bits == 16 || bits == 24 || bits == 32 || bits == 64 ? DataFloat : DataNone;
        case SAMPLEFORMAT_UINT:
        case SAMPLEFORMAT_INT: {
            const bool isSigned = layout.format == SAMPLEFORMAT_INT;
            if (bits == 64) return DataFloat;
            if (bits < 1 || bits > 32) return DataNone;
            if (bits > 16) return isSigned ? DataInt32 : DataUInt32;
            if (bits > 8) return isSigned ? DataInt16 : DataUInt16;
            return isSigned ? DataInt8 : DataUInt8;
        }
        default: return DataNone;
    }
}

bool IsElement(const TiffLayout& layout) {
    return static_cast<std::size_t>(layout.bits) == ElementBytes(ElementOf(layout)) * 8;
}

const char* NarrowedName(const TiffLayout& layout) {
    if (ElementOf(layout) != DataFloat) return nullptr;
    if (layout.format == SAMPLEFORMAT_UINT) return "uint64";
    if (layout.format == SAMPLEFORMAT_INT) return "int64";
    switch (layout.bits) {
        case 16: return "half";
        case 24: return "24-bit float";
        case 64: return "double";
        default: return nullptr;
    }
}

std::optional<Window> SampleRange(const TiffLayout& layout) {
    if (ElementOf(layout) == DataFloat || IsElement(layout)) return {};
    const double values = std::ldexp(1, layout.bits);
    if (layout.format == SAMPLEFORMAT_INT) return Window{-values / 2, values / 2 - 1};
    return Window{0, values - 1};
}

void UnpackSamples(const TiffLayout& layout, const SampleRun& run, unsigned char* to, std::size_t toStep) {
    const ImageDataType type = ElementOf(layout);
    if (type == DataFloat) {
        UnpackFloats(layout, run, to, toStep);
    } else if (layout.bits == 24) {
        UnpackTriples(layout, run, to, toStep);
    } else {
        const bool whole = IsElement(layout);
        switch (ElementBytes(type)) {
            case 1:
                whole ? CopyRun<std::uint8_t>(run, to, toStep)
                      : UnpackBits<std::uint8_t>(layout, run, to, toStep);
                break;
            case 2:
                whole ? CopyRun<std::uint16_t>(run, to, toStep)
                      : UnpackBits<std::uint16_t>(layout, run, to, toStep);
                break;
            default:
                whole ? CopyRun<std::uint32_t>(run, to, toStep)
                      : UnpackBits<std::uint32_t>(layout, run, to, toStep);
        }
    }
}

}  // namespace pzel_io
