// Pictures that say how they are to be held. A mark of 1 to 8, as TIFF and EXIF number them, tells where the
// first stored row and column belong; readers decode such a picture as it is stored and turn it upright.
#pragma once

#include <functional>
#include <span>

#include "apps/io/picture_info.h"

namespace pzel_io {

/// The mark in a block of EXIF data (which starts with its byte order, as a TIFF file does); 1, which is
/// upright, where it has none that makes sense.
int ExifOrientation(std::span<const unsigned char> block);

/// Follows the mark of a file, or does nothing where there is none or the user wants the picture as stored.
class Orientation {
  public:
    /// Takes the mark of a file whose `info` tells of the stored picture so far, and turns sizes and pixel
    /// aspect; says what was done.
    void Follow(int ofFile, const OpenOptions& options, PictureInfo& info);

    /// Decodes the stored rows that are asked for, each at its place in the stored frame.
    using Decode = std::function<void(const Rows& stored, std::span<unsigned char> frame)>;
    /// Has the wanted rows of the upright picture decoded into `pixels`, as Reader::ReadPixels gets them.
    void Read(const PictureInfo& info, const Rows& wanted, std::span<unsigned char> pixels,
              const Decode& decode) const;

  private:
    bool SwapsSides() const { return mark >= 5; }
    Rows StoredRows(const Rows& upright, int height) const;

    int mark = 1;
};

}  // namespace pzel_io
