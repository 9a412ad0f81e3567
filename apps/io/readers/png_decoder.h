// Unpacking the pixels of one frame of a PNG file with libpng, which gets a file of its own made of the
// chunks that matter: sizes, palette and pixels. What else a file holds never reaches it.
#pragma once

#include <string>

#include "apps/io/readers/png_chunks.h"

namespace pzel_io {

/// How rows are delivered. Samples of 16 bits come in the machine's order.
enum class PngRows {
    Bits,     ///< as stored
    Samples,  ///< each in a byte or a word of its own: palette indices, alpha
    Opaque,   ///< the same without alpha, and with the palette's colours in place of its indices
};

/// How far a frame was unpacked.
struct PngOutcome {
    int wholeRows = 0;
    bool isCut = false;  ///< the file ended
    std::string damage;  ///< what is wrong; empty: nothing
};

/// Unpacks a frame from its first to its `last` row into rows of `rowBytes` bytes; of interlaced ones all.
/// With `goOn`, wrong checksums are only told.
PngOutcome UnpackPng(const PngContent& content, const PngFrame& frame, PngRows as, int last,
                     std::size_t rowBytes, unsigned char* pixels, bool goOn);

}  // namespace pzel_io
