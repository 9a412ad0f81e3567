// Orders, widens and rescales the samples of DICOM frames. The decoding library's own way with run-length
// coded samples of more than 8 bits in colour mixes up their bytes, so that coding is undone here.
#include "apps/io/readers/dicom_pixels.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace pzel_io {

namespace {

constexpr std::size_t kRunsHeader = 64;  // bytes: a count and up to 15 offsets of 4 bytes
constexpr std::size_t kMostRunSegments = 15;

std::uint32_t LittleEndian32(Bytes bytes, std::size_t at) {
    return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 |
           static_cast<std::uint32_t>(bytes[at + 3]) << 24;
}

// One segment holds one byte of each sample of one channel. False where it ends early.
bool DecodeSegment(Bytes coded, std::size_t count, unsigned char* to, std::size_t step) {
    std::size_t at = 0;
    for (std::size_t done = 0; done < count;) {
        if (at + 1 >= coded.size()) return false;
        const auto head = static_cast<signed char>(coded[at++]);
        if (head == -128) continue;
        const bool repeats = head < 0;
        const std::size_t length = std::min<std::size_t>(repeats ? 1 - head : head + 1, count - done);
        if (!repeats && at + length > coded.size()) return false;
        for (std::size_t i = 0; i < length; ++i) to[(done + i) * step] = coded[repeats ? at : at + i];
        at += repeats ? 1 : static_cast<std::size_t>(head) + 1;
        done += length;
    }
    return true;
}

template <class T>
T ClearSpareBits(T value, int bitsStored, int highBit) {
    using U = std::make_unsigned_t<T>;
    constexpr int kBits = sizeof(T) * 8;
    // Up to the top and down again: an arithmetic shift for signed samples carries the sign.
    const int up = kBits - 1 - highBit;
    const auto raised = static_cast<T>(static_cast<U>(static_cast<U>(value) << up));
    return static_cast<T>(raised >> (kBits - bitsStored));
}

template <class T>
void ClearSpareBits(RawPixels& pixels, const DicomSamples& samples) {
    if (samples.bitsStored >= static_cast<int>(sizeof(T) * 8)) return;
    for (std::size_t i = 0; i + sizeof(T) <= pixels.size(); i += sizeof(T)) {
        T value;
        std::memcpy(&value, &pixels[i], sizeof value);
        value = ClearSpareBits(value, samples.bitsStored, samples.highBit);
        std::memcpy(&pixels[i], &value, sizeof value);
    }
}

template <class T>
void Rescale(const RawPixels& pixels, double slope, double intercept, RawPixels& to) {
    for (std::size_t i = 0; i < pixels.size() / sizeof(T); ++i) {
        T value;
        std::memcpy(&value, &pixels[i * sizeof value], sizeof value);
        const auto scaled = static_cast<float>(static_cast<double>(value) * slope + intercept);
        std::memcpy(&to[i * sizeof scaled], &scaled, sizeof scaled);
    }
}

// Calls `use` with a value of the integer type that holds samples of `type`.
template <class Use>
void WithSampleType(ImageDataType type, Use use) {
    switch (type) {
        case DataUInt8: return use(std::uint8_t{});
        case DataInt8: return use(std::int8_t{});
        case DataUInt16: return use(std::uint16_t{});
        case DataInt16: return use(std::int16_t{});
        case DataUInt32: return use(std::uint32_t{});
        case DataInt32: return use(std::int32_t{});
        default: return;
    }
}

}  // namespace

RawPixels UnpackDicomBits(Bytes stored, std::uint32_t frame, int width, int height) {
    const auto columns = static_cast<std::size_t>(width);
    const auto rows = static_cast<std::size_t>(height);
    const std::size_t rowBytes = (columns + 7) / 8;
    const std::size_t first = frame * columns * rows;
    if ((first + columns * rows + 7) / 8 > stored.size()) return {};
    RawPixels packed(rowBytes * rows);
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < columns; ++x) {
            const std::size_t bit = first + y * columns + x;
            if (stored[bit / 8] >> bit % 8 & 1) {
                packed[y * rowBytes + x / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
            }
        }
    }
    return packed;
}

RawPixels DecodeDicomRuns(Bytes coded, const DicomSamples& samples) {
    const std::size_t bytes = ElementBytes(samples.type);
    if (coded.size() < kRunsHeader) return {};
    const std::size_t segments = LittleEndian32(coded, 0);
    if (segments != bytes * samples.channels || segments > kMostRunSegments) return {};
    RawPixels pixels(samples.pixels * samples.channels * bytes);
    for (std::size_t s = 0; s < segments; ++s) {
        const std::size_t start = LittleEndian32(coded, 4 * (s + 1));
        const std::size_t end = s + 1 < segments ? LittleEndian32(coded, 4 * (s + 2)) : coded.size();
        if (start > end || end > coded.size()) return {};
        // Segments go channel by channel, from the highest byte of a sample to the lowest.
        const std::size_t place = s / bytes * bytes + (bytes - 1 - s % bytes);
        if (!DecodeSegment(coded.subspan(start, end - start), samples.pixels, pixels.data() + place,
                           samples.channels * bytes)) {
            return {};
        }
    }
    return pixels;
}

RawPixels ArrangeDicomSamples(Bytes frame, const DicomSamples& samples) {
    RawPixels pixels(frame.begin(), frame.end());
    if (samples.planar && samples.channels > 1) {
        const std::size_t bytes = ElementBytes(samples.type);
        for (std::size_t c = 0; c < samples.channels; ++c) {
            for (std::size_t i = 0; i < samples.pixels; ++i) {
                std::memcpy(&pixels[(i * samples.channels + c) * bytes],
                            &frame[(c * samples.pixels + i) * bytes], bytes);
            }
        }
    }
    WithSampleType(samples.type, [&](auto value) { ClearSpareBits<decltype(value)>(pixels, samples); });
    return pixels;
}

RawPixels RescaleDicomSamples(const RawPixels& pixels, ImageDataType type, double slope, double intercept) {
    RawPixels scaled(pixels.size() / ElementBytes(type) * sizeof(float));
    WithSampleType(type, [&](auto value) { Rescale<decltype(value)>(pixels, slope, intercept, scaled); });
    return scaled;
}

void SwapHalves(RawPixels& pixels) {
    for (std::size_t i = 0; i + 3 < pixels.size(); i += 4) {
        std::swap(pixels[i], pixels[i + 2]);
        std::swap(pixels[i + 1], pixels[i + 3]);
    }
}

void CentreColourDifferences(RawPixels& pixels) {
    constexpr unsigned char kHalf = 0x80;
    for (std::size_t i = 0; i + 2 < pixels.size(); i += 3) {
        pixels[i + 1] ^= kHalf;
        pixels[i + 2] ^= kHalf;
    }
}

bool IsJpegYuv(Bytes stream) {
    constexpr unsigned char kMark = 0xFF, kJfif = 0xE0, kScan = 0xDA;
    constexpr std::size_t kFrameComponents = 9, kFirstFactors = 11, kComponentBytes = 3;
    for (std::size_t at = 2; at + 4 < stream.size() && stream[at] == kMark && stream[at + 1] != kScan;) {
        const unsigned char mark = stream[at + 1];
        if (mark == kJfif) return true;
        const bool isTable = mark == 0xC4 || mark == 0xC8 || mark == 0xCC;
        const bool isFrame = mark >= 0xC0 && mark <= 0xCF && !isTable;
        if (isFrame && at + kFirstFactors + kComponentBytes < stream.size() &&
            stream[at + kFrameComponents] == 3) {
            // Only colour differences are stored coarser than the first channel.
            return stream[at + kFirstFactors] != stream[at + kFirstFactors + kComponentBytes];
        }
        at += 2u + (stream[at + 2] << 8 | stream[at + 3]);
    }
    return false;
}

}  // namespace pzel_io
