// How the samples of a TIFF page lie in its strips or tiles, and their way from there into elements.
#pragma once

#include <tiffio.h>

#include <cstddef>
#include <vector>

#include "apps/io/picture_info.h"

namespace pzel_io {

/// The tags of a page that say where its samples are and what they mean.
struct TiffLayout {
    int width = 0;
    int height = 0;
    int bits = 1;                    ///< of a sample
    int format = SAMPLEFORMAT_UINT;  ///< of a sample
    int samples = 1;                 ///< of a pixel
    int photometric = -1;            ///< what they mean; -1 where the page does not say
    int compression = COMPRESSION_NONE;
    std::vector<std::uint16_t> extra;  ///< meanings of the last samples, beyond the colours
    bool isSeparate = false;           ///< each sample has strips or tiles of its own
    bool isTiled = false;
    int chunkWidth = 0;   ///< pixels of a tile or strip
    int chunkHeight = 0;  ///< its rows; of a strip at most those of the page

    int SamplesInChunk() const { return isSeparate ? 1 : samples; }
    /// Bytes of a row of a decoded strip or tile.
    std::size_t ChunkRowBytes() const;
    /// Strips or tiles side by side, among one another, and of one plane.
    int ChunksAcross() const { return (width + chunkWidth - 1) / chunkWidth; }
    int ChunksDown() const { return (height + chunkHeight - 1) / chunkHeight; }
    std::size_t ChunksInPlane() const {
        return static_cast<std::size_t>(ChunksAcross()) * static_cast<std::size_t>(ChunksDown());
    }
};

/// Of the page that the library has at hand.
TiffLayout ReadTiffLayout(TIFF* tiff);

/// The elements that hold samples of this kind; DataNone where there are none.
ImageDataType ElementOf(const TiffLayout& layout);
/// Whether decoded samples are elements already.
bool IsElement(const TiffLayout& layout);
/// What their type is called, where elements do not hold it exactly: "double". Otherwise null.
const char* NarrowedName(const TiffLayout& layout);
/// The values that the bits of a sample can stand for, where the elements have more bits.
std::optional<Window> SampleRange(const TiffLayout& layout);

/// Some samples of a decoded row: every `step`-th from `first` on.
struct SampleRun {
    const unsigned char* row;
    std::size_t first;
    std::size_t step;
    std::size_t count;
};

/// Stores samples as elements, `toStep` bytes from one to the next. Not for bits that stay bits.
void UnpackSamples(const TiffLayout& layout, const SampleRun& run, unsigned char* to, std::size_t toStep);

}  // namespace pzel_io
