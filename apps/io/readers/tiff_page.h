// One page of a TIFF file: what it is shown as, and its pixels.
#pragma once

#include <tiffio.h>

#include <span>
#include <string>

#include "apps/io/readers/tiff_colour.h"
#include "apps/io/readers/tiff_layout.h"

namespace pzel_io {

/// What the library said since the last Clear. Its messages are lines without the file's name.
class TiffReports {
  public:
    /// Makes the library report here. It speaks of all files in one way.
    static void Listen();
    static void Clear();
    /// The first error, or else the first warning that means damage; empty where there was none.
    static const std::string& Damage();
};

/// What stands between a page and the pixels of a frame.
struct TiffPage {
    TiffLayout layout;
    std::vector<int> kept;   ///< the samples that are read, in the order of their channels
    TiffColour colour;       ///< what is done to them then
    bool byLibrary = false;  ///< decoded to 8-bit colour by the library, which knows the coding
    int orientation = 1;
    bool isSide = false;  ///< a smaller copy, or a mask, of another page
    PictureInfo shown;    ///< what it is shown as, and what was changed

    ImageDataType StoredType() const { return shown.type == DataBit ? DataBit : ElementOf(layout); }
    /// Bytes of a row of the samples that are kept.
    std::size_t StoredRowBytes() const;
};

/// Describes the page that the library has at hand, and makes the library deliver what is described.
/// @throws std::runtime_error with the reason why it cannot be shown
TiffPage DescribeTiffPage(TIFF* tiff, const OpenOptions& options);

/// Whether both can be frames of one stack.
bool Agree(const TiffPage& page, const TiffPage& other);

/// Bytes of pixels that a byte of the page can hold at most.
double MostFromTiffByte(const TiffPage& page);

}  // namespace pzel_io
