// From the stored samples of a DICOM frame to pixels as sources deliver them.
#pragma once

#include <cstddef>
#include <span>

#include "apps/io/readers/reader.h"

namespace pzel_io {

using Bytes = std::span<const unsigned char>;

/// How the samples of a file are stored.
struct DicomSamples {
    std::size_t pixels = 0;  ///< of one frame
    std::size_t channels = 1;
    ImageDataType type = DataNone;  ///< of one sample
    int bitsStored = 8;
    int highBit = 7;
    bool planar = false;  ///< channel by channel instead of pixel by pixel
};

/// Frame `frame` of one-bit pictures of width x height, which follow one another without padding, the first
/// pixel in the lowest bit: as padded rows, the first pixel in the highest bit. Empty where `stored` is too
/// short.
RawPixels UnpackDicomBits(Bytes stored, std::uint32_t frame, int width, int height);

/// Decodes a run-length coded frame to samples pixel by pixel, low byte first; empty where it is damaged.
RawPixels DecodeDicomRuns(Bytes coded, const DicomSamples& samples);

/// Orders a frame pixel by pixel and clears the bits beside the stored ones, keeping the sign.
RawPixels ArrangeDicomSamples(Bytes frame, const DicomSamples& samples);

/// value * slope + intercept as floats.
RawPixels RescaleDicomSamples(const RawPixels& pixels, ImageDataType type, double slope, double intercept);

/// Exchanges the 16-bit halves of 32-bit samples, in place.
void SwapHalves(RawPixels& pixels);

/// Turns the unsigned colour differences of 8-bit luminance pictures into signed ones, in place.
void CentreColourDifferences(RawPixels& pixels);

/// True where a JPEG stream holds luminance and colour differences for certain: files call them red, green
/// and blue now and then.
bool IsJpegYuv(Bytes stream);

}  // namespace pzel_io
