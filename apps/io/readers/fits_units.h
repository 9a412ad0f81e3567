// The image units of a FITS file: where each one's values are, how they are coded, and what they become.
#pragma once

#include <fitsio.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/picture_info.h"

namespace pzel_io {

/// A file that is open for reading, or its content where it is packed by gzip.
class FitsFile {
  public:
    /// @throws FileError where it cannot be opened or unpacked, or is cut short and `partial` is not set
    FitsFile(const std::filesystem::path& file, bool partial);
    ~FitsFile();
    FitsFile(const FitsFile&) = delete;
    FitsFile& operator=(const FitsFile&) = delete;

    fitsfile* Units() const { return fits.get(); }
    std::int64_t Size() const { return size; }
    bool IsPacked() const { return isPacked; }
    /// Whether the packed content ends early.
    bool IsCut() const { return isCut; }
    /// Bytes of the content. False where there are fewer.
    bool Read(std::int64_t at, void* to, std::size_t count) const;

  private:
    struct Closer {
        void operator()(fitsfile* file) const {
            int status = 0;
            fits_close_file(file, &status);
        }
    };
    void Unpack(const std::filesystem::path& file, bool partial);

    int descriptor = -1;
    std::int64_t size = 0;
    bool isPacked = false;
    bool isCut = false;
    std::unique_ptr<fitsfile, Closer> fits;
};

/// An image of two dimensions or more.
struct FitsUnit {
    int number = 0;             ///< from 1
    bool isCompressed = false;  ///< in tiles, which the library unpacks
    int bits = 0;               ///< of a stored value; below 0: of a float
    std::vector<long> sides;    ///< along each axis
    std::int64_t planes = 1;    ///< that are there
    std::int64_t data = 0;      ///< where its values begin
    std::int64_t bytes = 0;     ///< of its values, as far as they are there
    double scale = 1;           ///< value = stored * scale + zero
    double zero = 0;
    std::optional<long long> blank;  ///< the stored integer that stands for no value
    ImageDataType type = DataNone;
    std::string note;  ///< what is changed, or nothing

    int Width() const { return static_cast<int>(std::min<long>(sides[0], INT32_MAX)); }
    int Height() const { return static_cast<int>(std::min<long>(sides[1], INT32_MAX)); }
    std::size_t RowBytes() const { return static_cast<std::size_t>(sides[0]) * std::abs(bits) / 8; }
    bool IsLike(const FitsUnit& other) const {
        return sides[0] == other.sides[0] && sides[1] == other.sides[1] && type == other.type;
    }
};

/// What a file holds.
struct FitsContent {
    std::vector<FitsUnit> images;
    int units = 0;        ///< of all kinds
    bool isCut = false;   ///< values that the headers tell of are not there
    bool isOpen = false;  ///< the last block is not full, so that something may follow it
};

/// Goes through all header units.
/// @throws FileError for a damaged file
FitsContent ListFitsUnits(const FitsFile& file, const std::filesystem::path& name);

/// The library's text for a status.
std::string FitsStatusText(int status);

}  // namespace pzel_io
