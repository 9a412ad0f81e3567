// JPEG: baseline, extended, progressive and lossless, of 8, 12 and 16 bits.
#include "apps/io/readers/dicom_codecs.h"

#include <dcmtk/dcmjpeg/djcparam.h>
#include <dcmtk/dcmjpeg/djdijg12.h>
#include <dcmtk/dcmjpeg/djdijg16.h>
#include <dcmtk/dcmjpeg/djdijg8.h>

#include <algorithm>

namespace pzel_io {

namespace {

constexpr unsigned char kMark = 0xFF;
constexpr unsigned char kEnd = 0xD9;

struct JpegHeader {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t channels = 0;
    int bits = 0;
    JpegColour colour = JpegColour::Unknown;
    std::size_t spectrum = 0;  ///< where the scan of a sequential stream tells its part of the spectrum
};

// Walks over the segments of a stream to its first scan.
class HeaderReader {
  public:
    explicit HeaderReader(Bytes of) : stream(of) {}

    JpegHeader Read() {
        constexpr unsigned char kScan = 0xDA, kJfif = 0xE0, kAdobe = 0xEE;
        std::size_t at = 2;
        while (at + 4 < stream.size() && stream[at] == kMark && stream[at + 1] != kScan) {
            const unsigned char mark = stream[at + 1];
            if (mark == kMark) {  // padding
                ++at;
                continue;
            }
            const bool isTable = mark == 0xC4 || mark == 0xC8 || mark == 0xCC;
            if (mark >= 0xC0 && mark <= 0xCF && !isTable) ReadFrame(at);
            if (mark == kJfif && Holds(at + 4, "JFIF")) isJfif = true;
            if (mark == kAdobe && Holds(at + 4, "Adobe")) ReadTransform(at);
            at += 2u + Word(at + 2);
        }
        header.colour = Colour();
        if (isSequential && at + 4 < stream.size()) header.spectrum = at + 5u + 2u * stream[at + 4];
        return header;
    }

  private:
    std::size_t Word(std::size_t at) const {
        return at + 1 < stream.size() ? stream[at] << 8 | stream[at + 1] : 0;
    }

    bool Holds(std::size_t at, std::string_view text) const {
        return at + text.size() <= stream.size() && std::equal(text.begin(), text.end(), stream.begin() + at);
    }

    void ReadFrame(std::size_t at) {
        constexpr std::size_t kHead = 10, kComponentBytes = 3;
        constexpr unsigned char kLastSequential = 0xC1;
        if (at + kHead > stream.size()) return;
        isSequential = stream[at + 1] <= kLastSequential;
        header.bits = stream[at + 4];
        header.height = Word(at + 5);
        header.width = Word(at + 7);
        header.channels = stream[at + 9];
        if (header.channels != 3 || at + kHead + 3 * kComponentBytes > stream.size()) return;
        const auto component = [&](std::size_t i) { return at + kHead + i * kComponentBytes; };
        namedColours =
            stream[component(0)] == 'R' && stream[component(1)] == 'G' && stream[component(2)] == 'B';
        // Only colour differences are stored coarser than the first channel.
        coarse = stream[component(0) + 1] != stream[component(1) + 1];
    }

    void ReadTransform(std::size_t at) {
        constexpr std::size_t kTransform = 15;
        if (at + kTransform >= stream.size()) return;
        transform = stream[at + kTransform];
    }

    JpegColour Colour() const {
        if (coarse || isJfif || transform == 1) return JpegColour::Luminance;
        return transform == 0 || namedColours ? JpegColour::Colour : JpegColour::Unknown;
    }

    Bytes stream;
    JpegHeader header;
    bool isJfif = false;
    bool isSequential = false;
    bool namedColours = false;
    bool coarse = false;
    int transform = -1;
};

// The library only reports what looks wrong in a stream, and goes on.
template <class Codec>
class Watched final : public Codec {
  public:
    using Codec::Codec;
    void emitMessage(int level) const override {
        if (level < 0) doubtful = true;
    }
    mutable bool doubtful = false;
};

// Whether all went well.
template <class Codec>
bool Decode(const CodedFrame& frame, const JpegHeader& header, std::span<unsigned char> to) {
    const DJCodecParameter parameters(ECC_lossyYCbCr, EDC_never, EUC_never, EPC_default);
    Watched<Codec> codec(parameters, OFFalse);
    if (codec.init().bad()) throw std::bad_alloc();
    // A stream whose end is missing is read up to there; one that needs no end is not harmed by another.
    RawPixels stream(frame.bytes.begin(), frame.bytes.end());
    stream.insert(stream.end(), {kMark, kEnd});
    // Some writers leave this out where it means nothing, and the library would doubt the stream.
    constexpr unsigned char kWholeSpectrum[] = {0, 63, 0};
    if (header.spectrum && header.spectrum + sizeof kWholeSpectrum <= stream.size()) {
        std::copy(std::begin(kWholeSpectrum), std::end(kWholeSpectrum), &stream[header.spectrum]);
    }
    const OFCondition done = codec.decode(stream.data(), static_cast<Uint32>(stream.size()), to.data(),
                                          static_cast<Uint32>(to.size()), OFFalse);
    if (done.bad() && !frame.partial)
        throw CodecError(std::string("its JPEG stream is damaged: ") + done.text());
    return done.good() && !codec.doubtful;
}

}  // namespace

JpegColour FindJpegColour(Bytes stream) {
    return HeaderReader(stream).Read().colour;
}

Decoded DecodeDicomJpeg(const CodedFrame& frame) {
    constexpr int kByte = 8, kExtended = 12;
    const JpegHeader header = HeaderReader(frame.bytes).Read();
    if (header.channels == 0) throw CodecError("holds no JPEG stream");
    CheckCodedSize(frame, header.width, header.height, header.channels, header.bits);
    Decoded decoded{header.bits};
    const std::size_t bytes = ElementBytes(frame.samples.type);
    if (header.bits > kByte) {
        if (bytes != 2) throw CodecError("16-bit JPEG in samples of " + std::to_string(8 * bytes) + " bits");
        decoded.whole = header.bits > kExtended ? Decode<DJDecompressIJG16Bit>(frame, header, frame.to)
                                                : Decode<DJDecompressIJG12Bit>(frame, header, frame.to);
    } else if (bytes == 1) {
        decoded.whole = Decode<DJDecompressIJG8Bit>(frame, header, frame.to);
    } else {
        RawPixels narrow(frame.samples.Count());
        decoded.whole = Decode<DJDecompressIJG8Bit>(frame, header, narrow);
        std::fill(frame.to.begin(), frame.to.end(), static_cast<unsigned char>(0));
        for (std::size_t i = 0; i < narrow.size(); ++i) frame.to[i * bytes] = narrow[i];
    }
    if (!decoded.whole && !frame.partial) throw CodecError("its JPEG stream is damaged");
    return decoded;
}

}  // namespace pzel_io
