// From the stored samples of a DICOM frame to pixels as readers deliver them.
#pragma once

#include <cstddef>
#include <span>

#include "apps/io/readers/dicom_file.h"
#include "apps/io/readers/dicom_table.h"

namespace pzel_io {

/// The samples of a frame.
struct DicomSamples {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t channels = 1;
    ImageDataType type = DataNone;  ///< of one sample
    int bitsStored = 8;
    int highBit = 7;

    std::size_t Pixels() const { return width * height; }
    std::size_t Count() const { return Pixels() * channels; }
    std::size_t Size() const { return Count() * ElementBytes(type); }  ///< bytes
};

/// One-bit pictures of width x height, the first pixel in the lowest bit: `stored` begins with the byte of
/// the frame's first bit, which is bit `first` there. To padded rows, the first pixel in the highest bit.
/// Pixels behind the end of `stored` are left alone.
void UnpackDicomBits(Bytes stored, unsigned first, std::size_t width, std::size_t height,
                     std::span<unsigned char> to);

/// From channel by channel to pixel by pixel.
void InterleaveDicomSamples(Bytes planes, const DicomSamples& samples, std::span<unsigned char> to);

/// Two pixels in four samples (two luminances, and differences that both share) become two of three.
void SpreadDicomDifferences(Bytes pairs, const DicomSamples& samples, std::span<unsigned char> to);

/// Clears the bits beside the stored ones and moves these down, keeping the sign.
void ClearSpareBits(const DicomSamples& samples, std::span<unsigned char> pixels);

/// value * slope + intercept as floats.
void RescaleDicomSamples(Bytes pixels, ImageDataType type, double slope, double intercept,
                         std::span<unsigned char> to);

/// What tables have for each sample: one after the other of `tables` for each sample.
void LookUpDicomSamples(Bytes pixels, ImageDataType type, std::span<const DicomTable> tables,
                        std::span<unsigned char> to);

void NarrowDoubles(Bytes doubles, std::span<unsigned char> to);

/// Exchanges the 16-bit halves of 32-bit samples, in place.
void SwapHalves(std::span<unsigned char> pixels);

/// Turns the unsigned colour differences of 8-bit luminance pictures into signed ones, in place.
void CentreColourDifferences(std::span<unsigned char> pixels);

}  // namespace pzel_io
