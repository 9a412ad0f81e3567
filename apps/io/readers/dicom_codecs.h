// Compressed DICOM frames: one frame's bytes become its samples. Every codec is used without the file around
// it, so that a frame needs no other.
#pragma once

#include <optional>
#include <stdexcept>

#include "apps/io/readers/dicom_pixels.h"

namespace pzel_io {

/// Why a frame cannot be decoded.
class CodecError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A frame to be decoded, and where to: samples pixel by pixel in the file's type.
struct CodedFrame {
    Bytes bytes;
    DicomSamples samples;
    std::span<unsigned char> to;
    bool partial;  ///< what can be decoded of a damaged frame is wanted
};

/// What the stream itself tells of the samples.
struct Decoded {
    int bits = 0;       ///< of each sample, in the lowest bits; 0: not told
    bool whole = true;  ///< false where parts are missing, or doubtful
};

/// @throws CodecError where the frame is damaged, or its size differs from `frame.samples`
Decoded DecodeDicomRuns(const CodedFrame& frame);
Decoded DecodeDicomJpeg(const CodedFrame& frame);
Decoded DecodeDicomJpegLs(const CodedFrame& frame);
Decoded DecodeDicomJpeg2000(const CodedFrame& frame);

/// What a JPEG stream tells of its colours: files call luminance and differences red, green and blue now and
/// then, and the other way round.
enum class JpegColour { Unknown, Colour, Luminance };
JpegColour FindJpegColour(Bytes stream);
/// Whether the samples of a JPEG 2000 stream are signed, if it tells.
std::optional<bool> HasSignedSamples(Bytes stream);

/// Throws where a stream tells of another picture than the file.
void CheckCodedSize(const CodedFrame& frame, std::size_t width, std::size_t height, std::size_t channels,
                    int bits);

}  // namespace pzel_io
