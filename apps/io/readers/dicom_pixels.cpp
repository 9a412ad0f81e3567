// Orders, widens and rescales the samples of DICOM frames.
#include "apps/io/readers/dicom_pixels.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace pzel_io {

namespace {

template <class T>
T SampleAt(Bytes pixels, std::size_t i) {
    T value;
    std::memcpy(&value, &pixels[i * sizeof value], sizeof value);
    return value;
}

template <class T>
void PutSample(std::span<unsigned char> pixels, std::size_t i, T value) {
    std::memcpy(&pixels[i * sizeof value], &value, sizeof value);
}

template <class T>
void ClearSpareBitsOf(const DicomSamples& samples, std::span<unsigned char> pixels) {
    using U = std::make_unsigned_t<T>;
    constexpr int kBits = sizeof(T) * 8;
    if (samples.bitsStored >= kBits) return;
    // Up to the top and down again: an arithmetic shift for signed samples carries the sign.
    const int up = kBits - 1 - samples.highBit;
    const int down = kBits - samples.bitsStored;
    for (std::size_t i = 0; i < pixels.size() / sizeof(T); ++i) {
        const auto raised = static_cast<T>(static_cast<U>(static_cast<U>(SampleAt<T>(pixels, i)) << up));
        PutSample(pixels, i, static_cast<T>(raised >> down));
    }
}

// Calls `use` with a value of the type that holds samples of `type`.
template <class Use>
void WithSampleType(ImageDataType type, Use use) {
    switch (type) {
        case DataUInt8: return use(std::uint8_t{});
        case DataInt8: return use(std::int8_t{});
        case DataUInt16: return use(std::uint16_t{});
        case DataInt16: return use(std::int16_t{});
        case DataUInt32: return use(std::uint32_t{});
        case DataInt32: return use(std::int32_t{});
        case DataFloat: return use(float{});
        default: return;
    }
}

template <class T, class Entry>
void LookUp(Bytes pixels, std::span<const DicomTable> tables, std::span<unsigned char> to) {
    std::size_t place = 0;
    for (std::size_t i = 0; i < pixels.size() / sizeof(T); ++i) {
        const auto value = static_cast<std::int64_t>(SampleAt<T>(pixels, i));
        for (const DicomTable& table : tables) PutSample(to, place++, static_cast<Entry>(table.At(value)));
    }
}

}  // namespace

void UnpackDicomBits(Bytes stored, unsigned first, std::size_t width, std::size_t height,
                     std::span<unsigned char> to) {
    const std::size_t rowBytes = (width + 7) / 8;
    const std::size_t there =
        std::min(width * height, stored.size() * 8 - std::min<std::size_t>(first, stored.size() * 8));
    for (std::size_t i = 0; i < there; ++i) {
        unsigned char& byte = to[i / width * rowBytes + i % width / 8];
        const auto mask = static_cast<unsigned char>(0x80 >> i % width % 8);
        const bool set = stored[(first + i) / 8] >> (first + i) % 8 & 1;
        byte = static_cast<unsigned char>(set ? byte | mask : byte & ~mask);
    }
}

void InterleaveDicomSamples(Bytes planes, const DicomSamples& samples, std::span<unsigned char> to) {
    WithSampleType(samples.type, [&](auto type) {
        using T = decltype(type);
        for (std::size_t c = 0; c < samples.channels; ++c) {
            for (std::size_t i = 0; i < samples.Pixels(); ++i) {
                PutSample(to, i * samples.channels + c, SampleAt<T>(planes, c * samples.Pixels() + i));
            }
        }
    });
}

void SpreadDicomDifferences(Bytes pairs, const DicomSamples& samples, std::span<unsigned char> to) {
    for (std::size_t pair = 0; pair < samples.Pixels() / 2; ++pair) {
        const unsigned char* const from = &pairs[4 * pair];
        unsigned char* const pixels = &to[6 * pair];
        pixels[0] = from[0];
        pixels[3] = from[1];
        pixels[1] = pixels[4] = from[2];
        pixels[2] = pixels[5] = from[3];
    }
}

void ClearSpareBits(const DicomSamples& samples, std::span<unsigned char> pixels) {
    WithSampleType(samples.type, [&](auto type) {
        if constexpr (std::is_integral_v<decltype(type)>) ClearSpareBitsOf<decltype(type)>(samples, pixels);
    });
}

void RescaleDicomSamples(Bytes pixels, ImageDataType type, double slope, double intercept,
                         std::span<unsigned char> to) {
    WithSampleType(type, [&](auto sample) {
        using T = decltype(sample);
        for (std::size_t i = 0; i < pixels.size() / sizeof(T); ++i) {
            const auto value = static_cast<double>(SampleAt<T>(pixels, i));
            PutSample(to, i, static_cast<float>(value * slope + intercept));
        }
    });
}

void LookUpDicomSamples(Bytes pixels, ImageDataType type, std::span<const DicomTable> tables,
                        std::span<unsigned char> to) {
    WithSampleType(type, [&](auto sample) {
        using T = decltype(sample);
        if constexpr (std::is_integral_v<T>) {
            if (tables[0].Type() == DataUInt8) {
                LookUp<T, std::uint8_t>(pixels, tables, to);
            } else {
                LookUp<T, std::uint16_t>(pixels, tables, to);
            }
        }
    });
}

void NarrowDoubles(Bytes doubles, std::span<unsigned char> to) {
    for (std::size_t i = 0; i < doubles.size() / sizeof(double); ++i) {
        PutSample(to, i, static_cast<float>(SampleAt<double>(doubles, i)));
    }
}

void SwapHalves(std::span<unsigned char> pixels) {
    for (std::size_t i = 0; i + 3 < pixels.size(); i += 4) {
        std::swap(pixels[i], pixels[i + 2]);
        std::swap(pixels[i + 1], pixels[i + 3]);
    }
}

void CentreColourDifferences(std::span<unsigned char> pixels) {
    constexpr unsigned char kHalf = 0x80;
    for (std::size_t i = 0; i + 2 < pixels.size(); i += 3) {
        pixels[i + 1] ^= kHalf;
        pixels[i + 2] ^= kHalf;
    }
}

}  // namespace pzel_io
