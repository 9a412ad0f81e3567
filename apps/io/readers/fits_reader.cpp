// FITS files: every image of two dimensions or more is one frame for each plane. Integers with the usual
// offsets are unsigned integers; other scalings and blank values become floats. Values are read and converted
// here, so that they stay what they are; tiles that are compressed are left to the library.
#include "apps/io/readers/reader.h"

#include <algorithm>
#include <limits>

#include "apps/io/readers/fits_values.h"

namespace pzel_io {

namespace {

constexpr std::size_t kBlockBytes = 1 << 18;
constexpr double kMostFromPackedByte = 1e4;  // of empty tiles

class FitsReader final : public Reader {
  public:
    explicit FitsReader(const OpenRequest& request) : Reader(request), file(info.file, options.partial) {
        FitsContent content = ListFitsUnits(file, info.file);
        if (content.isCut && !options.partial) Fail("is cut short");
        ChooseUnits(content);
        if (units.empty()) Fail(options.page ? PageText() + " holds no picture" : "holds no picture");
        const FitsUnit& first = units.front();
        info.width = first.Width();
        info.height = first.Height();
        info.type = first.type;
        CheckSize();
        CountFrames();
        if (content.isCut) {
            Note("is cut short: shown as far as it goes");
        } else if (content.isOpen) {
            Note("its last block is not full: units may be cut off behind");
        }
        if (file.IsPacked()) Note("unpacked from gzip");
        if (!first.note.empty()) Note(first.note);
        Note("rows turned over: the file's first row is the lowest");
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        std::uint32_t plane = wanted.frame;
        auto unit = units.begin();
        while (plane >= static_cast<std::uint64_t>(unit->planes)) {
            plane -= static_cast<std::uint32_t>(unit->planes);
            ++unit;
        }
        if (unit->isCompressed) return Unpack(*unit, plane, pixels);
        return ReadRows(*unit, plane, wanted.rows, pixels);
    }

  private:
    std::string PageText() const { return "header unit " + std::to_string(*options.page); }

    // The units that make up the frames: the chosen one, or all that are like the first.
    void ChooseUnits(FitsContent& content) {
        if (options.page && (*options.page < 0 || *options.page >= content.units)) {
            Fail("has no " + PageText() + "; its units are 0 to " + std::to_string(content.units - 1));
        }
        int others = 0;
        for (FitsUnit& unit : content.images) {
            if (options.page && unit.number != *options.page + 1) continue;
            if (units.empty() || unit.IsLike(units.front())) {
                units.push_back(std::move(unit));
            } else {
                ++others;
            }
        }
        if (others > 0) Note(std::to_string(others) + " images of other size or type left out");
    }

    void CountFrames() {
        std::int64_t frames = 0;
        for (const FitsUnit& unit : units) {
            if (unit.planes > std::numeric_limits<std::int32_t>::max()) Fail("is damaged: too many planes");
            frames += unit.planes;
            if (unit.isCompressed) CheckHeld(kMostFromPackedByte);
        }
        info.frames = static_cast<std::uint32_t>(
            std::min<std::int64_t>(frames, std::numeric_limits<std::int32_t>::max()));
    }

    // Rows of one plane, a block at a time, turned over on the way.
    FrameNotes ReadRows(const FitsUnit& unit, std::uint32_t plane, const Rows& wanted,
                        std::span<unsigned char> pixels) const {
        const std::size_t rowBytes = unit.RowBytes();
        const auto width = static_cast<std::size_t>(info.width);
        const std::size_t toBytes = PlaneRowBytes(info);
        const int most = static_cast<int>(std::max<std::size_t>(1, kBlockBytes / rowBytes));
        RawPixels block(static_cast<std::size_t>(most) * rowBytes);
        const auto planeBytes = static_cast<std::int64_t>(rowBytes) * info.height;
        const std::int64_t there = unit.bytes - plane * planeBytes;
        const int wholeRows = static_cast<int>(
            std::min<std::int64_t>(there / static_cast<std::int64_t>(rowBytes), info.height));
        const int first = info.height - 1 - wanted.last;
        const int last = info.height - 1 - wanted.first;
        for (int y = first; y <= std::min(last, wholeRows - 1); y += most) {
            const int count = std::min(most, std::min(last + 1, wholeRows) - y);
            const std::int64_t at = unit.data + plane * planeBytes + y * static_cast<std::int64_t>(rowBytes);
            if (!file.Read(at, block.data(), static_cast<std::size_t>(count) * rowBytes))
                Fail("is cut short");
            for (int i = 0; i < count; ++i) {
                const auto to = static_cast<std::size_t>(info.height - 1 - y - i);
                ConvertFitsValues(unit, &block[static_cast<std::size_t>(i) * rowBytes], &pixels[to * toBytes],
                                  width);
            }
        }
        if (wholeRows == info.height) return {};
        std::fill_n(pixels.begin(), static_cast<std::size_t>(info.height - wholeRows) * toBytes,
                    static_cast<unsigned char>(0));
        return {{},
                {"is cut short: " + std::to_string(wholeRows) + " of " + std::to_string(info.height) +
                 " rows are there"}};
    }

    // The library's type words for values of a record.
    int ReadAs() const {
        switch (info.type) {
            case DataUInt8: return TBYTE;
            case DataInt8: return TSBYTE;
            case DataUInt16: return TUSHORT;
            case DataInt16: return TSHORT;
            case DataUInt32: return TUINT;
            case DataInt32: return TINT;
            default: return TFLOAT;
        }
    }

    FrameNotes Unpack(const FitsUnit& unit, std::uint32_t plane, std::span<unsigned char> pixels) const {
        int status = 0;
        fits_movabs_hdu(file.Units(), unit.number, nullptr, &status);
        // Planes beyond the third axis follow one another like those along it.
        std::vector<long> first(unit.sides.size(), 1);
        long rest = plane;
        for (std::size_t axis = 2; axis < first.size(); ++axis) {
            first[axis] = rest % unit.sides[axis] + 1;
            rest /= unit.sides[axis];
        }
        float blank = std::numeric_limits<float>::quiet_NaN();
        int anyBlank = 0;  // not wanted, but the library writes it
        const auto count = static_cast<LONGLONG>(info.width) * info.height;
        fits_read_pix(file.Units(), ReadAs(), first.data(), count, info.type == DataFloat ? &blank : nullptr,
                      pixels.data(), &anyBlank, &status);
        FrameNotes notes;
        if (status) {
            const std::string reason =
                "plane " + std::to_string(plane) + " cannot be unpacked: " + FitsStatusText(status);
            if (!options.partial) Fail(reason);
            notes.notes.push_back(reason);
        }
        const auto rowBytes = static_cast<std::ptrdiff_t>(PlaneRowBytes(info));
        for (int y = 0; y < info.height / 2; ++y) {
            std::swap_ranges(pixels.begin() + y * rowBytes, pixels.begin() + (y + 1) * rowBytes,
                             pixels.begin() + (info.height - 1 - y) * rowBytes);
        }
        return notes;
    }

    FitsFile file;
    std::vector<FitsUnit> units;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<FitsReader>(request);
}

}  // namespace pzel_io
