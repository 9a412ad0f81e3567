// Runs of bytes, and JPEG-LS.
#include "apps/io/readers/dicom_codecs.h"

#include <charls/charls.h>

#include <algorithm>
#include <cstring>

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

}  // namespace

void CheckCodedSize(const CodedFrame& frame, std::size_t width, std::size_t height, std::size_t channels,
                    int bits) {
    const DicomSamples& told = frame.samples;
    const auto shape = [](std::size_t columns, std::size_t rows, std::size_t planes) {
        return std::to_string(columns) + " x " + std::to_string(rows) + " x " + std::to_string(planes);
    };
    if (width != told.width || height != told.height || channels != told.channels) {
        throw CodecError("its compressed pixels are " + shape(width, height, channels) + " instead of " +
                         shape(told.width, told.height, told.channels));
    }
    if (bits < 1 || bits > static_cast<int>(ElementBytes(told.type) * 8)) {
        throw CodecError("its compressed samples of " + std::to_string(bits) +
                         " bits are not those that the file tells of");
    }
}

Decoded DecodeDicomRuns(const CodedFrame& frame) {
    const DicomSamples& samples = frame.samples;
    const std::size_t bytes = ElementBytes(samples.type);
    if (frame.bytes.size() < kRunsHeader) throw CodecError("is cut short");
    const std::size_t segments = LittleEndian32(frame.bytes, 0);
    if (segments != bytes * samples.channels || segments > kMostRunSegments) {
        throw CodecError("its runs of bytes are not those of its samples");
    }
    Decoded decoded;
    for (std::size_t s = 0; s < segments; ++s) {
        const std::size_t start = LittleEndian32(frame.bytes, 4 * (s + 1));
        std::size_t end = s + 1 < segments ? LittleEndian32(frame.bytes, 4 * (s + 2)) : frame.bytes.size();
        end = std::min(end, frame.bytes.size());
        // Segments go channel by channel, from the highest byte of a sample to the lowest.
        const std::size_t place = s / bytes * bytes + (bytes - 1 - s % bytes);
        const bool whole =
            start <= end && DecodeSegment(frame.bytes.subspan(start, end - start), samples.Pixels(),
                                          frame.to.data() + place, samples.channels * bytes);
        if (!whole && !frame.partial) throw CodecError("its runs of bytes end early");
        decoded.whole = decoded.whole && whole;
    }
    return decoded;
}

Decoded DecodeDicomJpegLs(const CodedFrame& frame) {
    try {
        const charls::jpegls_decoder decoder(frame.bytes, true);
        const auto info = decoder.frame_info();
        const auto channels = static_cast<std::size_t>(info.component_count);
        CheckCodedSize(frame, info.width, info.height, channels, info.bits_per_sample);
        const std::size_t size = decoder.destination_size();
        const std::size_t sampleBytes = ElementBytes(frame.samples.type);
        if (size == frame.to.size() &&
            (channels == 1 || decoder.interleave_mode() != charls::interleave_mode::none)) {
            decoder.decode(frame.to.data(), frame.to.size());
            return {info.bits_per_sample};
        }
        RawPixels decoded(size);
        decoder.decode(decoded);
        DicomSamples samples = frame.samples;
        RawPixels widened;
        if (size < frame.to.size()) {
            widened.resize(frame.to.size());
            for (std::size_t i = 0; i < size; ++i) widened[i * sampleBytes] = decoded[i];
            decoded.swap(widened);
        }
        if (channels > 1 && decoder.interleave_mode() == charls::interleave_mode::none) {
            InterleaveDicomSamples(decoded, samples, frame.to);
        } else {
            std::copy(decoded.begin(), decoded.end(), frame.to.begin());
        }
        return {info.bits_per_sample};
    } catch (const charls::jpegls_error& error) {
        throw CodecError(std::string("its JPEG-LS stream is damaged: ") + error.what());
    }
}

}  // namespace pzel_io
