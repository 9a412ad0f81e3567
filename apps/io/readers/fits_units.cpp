// Going through the header units, and choosing what their values become.
#include "apps/io/readers/fits_units.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

namespace pzel_io {

namespace {

constexpr double kSignedAsUnsigned64 = 9223372036854775808.0;

class Lister {
  public:
    Lister(const FitsFile& of, const std::filesystem::path& called) : file(of), name(called) {}

    FitsContent List() {
        FitsContent content;
        content.isCut = file.IsCut();
        int status = 0;
        if (fits_get_num_hdus(file.Units(), &content.units, &status)) Damaged(status);
        LONGLONG end = 0;
        for (int number = 1; number <= content.units; ++number) {
            int kind = 0;
            LONGLONG header = 0, data = 0;
            if (fits_movabs_hdu(file.Units(), number, &kind, &status) ||
                fits_get_hduaddrll(file.Units(), &header, &data, &end, &status)) {
                Damaged(status);
            }
            auto unit = ReadImage(number, kind);
            if (!unit) continue;
            unit->data = data;
            if (CutToFile(*unit)) content.isCut = true;
            ChooseType(*unit);
            if (unit->planes > 0) content.images.push_back(std::move(*unit));
        }
        if (IsUnitAt(end)) content.isCut = true;
        content.isOpen = file.Size() < end;
        return content;
    }

  private:
    [[noreturn]] void Damaged(int status) const {
        throw FileError(name, "is damaged: " + FitsStatusText(status));
    }

    // Nothing where the unit is a table, or an image of less than two dimensions.
    std::optional<FitsUnit> ReadImage(int number, int kind) const {
        FitsUnit unit;
        unit.number = number;
        int status = 0;
        int axes = 0;
        unit.isCompressed = fits_is_compressed_image(file.Units(), &status) != 0;
        if (kind != IMAGE_HDU && !unit.isCompressed) return {};
        if (fits_get_img_dim(file.Units(), &axes, &status)) Damaged(status);
        if (axes < 2) return {};
        unit.sides.resize(static_cast<std::size_t>(axes));
        if (fits_get_img_size(file.Units(), axes, unit.sides.data(), &status) ||
            fits_get_img_type(file.Units(), &unit.bits, &status)) {
            Damaged(status);
        }
        for (std::size_t axis = 0; axis < unit.sides.size(); ++axis) {
            if (unit.sides[axis] < 1) return {};
            if (axis >= 2 && __builtin_mul_overflow(unit.planes, unit.sides[axis], &unit.planes)) TooLarge();
        }
        unit.scale = Number("BSCALE").value_or(1);
        unit.zero = Number("BZERO").value_or(0);
        LONGLONG blank = 0;
        if (unit.bits > 0 && !fits_read_key(file.Units(), TLONGLONG, "BLANK", &blank, nullptr, &status))
            unit.blank = blank;
        fits_clear_errmsg();
        return unit;
    }

    [[noreturn]] void TooLarge() const {
        throw FileError(name, "is damaged: it tells of an endless picture");
    }

    // Leaves what the file has. True where that is not all.
    bool CutToFile(FitsUnit& unit) const {
        if (unit.isCompressed) {
            const double table = Number("NAXIS1").value_or(0) * Number("NAXIS2").value_or(0);
            unit.bytes = file.Size() - unit.data;
            return table + Number("PCOUNT").value_or(0) > static_cast<double>(unit.bytes);
        }
        std::int64_t plane = 0;
        if (__builtin_mul_overflow(static_cast<std::int64_t>(unit.sides[0]), unit.sides[1], &plane) ||
            __builtin_mul_overflow(plane, std::int64_t{std::abs(unit.bits) / 8}, &plane) ||
            __builtin_mul_overflow(plane, unit.planes, &unit.bytes)) {
            TooLarge();
        }
        const std::int64_t there = std::max<std::int64_t>(0, file.Size() - unit.data);
        if (there >= unit.bytes) return false;
        unit.bytes = there;
        unit.planes = (there + plane - 1) / plane;
        return true;
    }

    // A header that is not whole is not among the units.
    bool IsUnitAt(std::int64_t place) const {
        constexpr std::string_view kMark = "XTENSION";
        std::array<char, kMark.size()> head{};
        return file.Read(place, head.data(), head.size()) &&
               std::string_view(head.data(), head.size()) == kMark;
    }

    std::optional<double> Number(const char* key) const {
        int status = 0;
        double number = 0;
        if (!fits_read_key(file.Units(), TDOUBLE, key, &number, nullptr, &status)) return number;
        fits_clear_errmsg();
        return {};
    }

    void ChooseType(FitsUnit& unit) const {
        // Integers as they are, and with the offset that stands for the other signedness.
        struct Known {
            int bits;
            double zero;
            ImageDataType type;
        };
        static constexpr Known kKnown[] = {
            {BYTE_IMG, 0, DataUInt8},       {BYTE_IMG, -128, DataInt8}, {SHORT_IMG, 0, DataInt16},
            {SHORT_IMG, 32768, DataUInt16}, {LONG_IMG, 0, DataInt32},   {LONG_IMG, 2147483648.0, DataUInt32},
            {FLOAT_IMG, 0, DataFloat},
        };
        unit.type = DataFloat;
        const bool isPlain = unit.scale == 1 && !unit.blank;
        for (const Known& known : kKnown) {
            if (unit.scale == 1 && known.bits == unit.bits && known.zero == unit.zero) {
                if (isPlain) unit.type = known.type;
                if (unit.blank)
                    unit.note = std::string(TypeName(known.type)) + " to float: blank values are not numbers";
                return;
            }
        }
        if (unit.bits == LONGLONG_IMG && unit.scale == 1 &&
            (unit.zero == 0 || unit.zero == kSignedAsUnsigned64)) {
            ChooseForLong(unit, isPlain);
        } else if (unit.scale != 1 || unit.zero != 0) {
            unit.note = "stored values times " + NumberText(unit.scale) + " plus " + NumberText(unit.zero) +
                        ", as float";
        } else if (unit.bits == DOUBLE_IMG) {
            unit.note = "double to float";
        }
    }

    // 64-bit integers stay integers where 32 bits hold all of them.
    void ChooseForLong(FitsUnit& unit, bool isPlain) const {
        const std::string stored = unit.zero == 0 ? "int64" : "uint64";
        unit.note = stored + " to float";
        if (!isPlain || unit.isCompressed) return;
        const std::uint64_t flip = unit.zero == 0 ? 0 : std::uint64_t{1} << 63;
        std::int64_t low = std::numeric_limits<std::int64_t>::max();
        std::int64_t high = std::numeric_limits<std::int64_t>::min();
        std::vector<std::uint64_t> block(1 << 15);
        for (std::int64_t at = 0; at + 8 <= unit.bytes;) {
            const std::int64_t count = std::min<std::int64_t>((unit.bytes - at) / 8, 1 << 15);
            if (!file.Read(unit.data + at, block.data(), static_cast<std::size_t>(count) * 8)) return;
            for (std::int64_t i = 0; i < count; ++i) {
                const auto value =
                    std::bit_cast<std::int64_t>(__builtin_bswap64(block[static_cast<std::size_t>(i)]) ^ flip);
                low = std::min(low, value);
                high = std::max(high, value);
            }
            at += count * 8;
        }
        if (low >= std::numeric_limits<std::int32_t>::min() &&
            high <= std::numeric_limits<std::int32_t>::max()) {
            unit.type = DataInt32;
        } else if (low >= 0 && high <= std::numeric_limits<std::uint32_t>::max()) {
            unit.type = DataUInt32;
        } else {
            return;
        }
        unit.note = stored + " as " + TypeName(unit.type) + ", which holds all values";
    }

    const FitsFile& file;
    const std::filesystem::path& name;
};

}  // namespace

FitsContent ListFitsUnits(const FitsFile& file, const std::filesystem::path& name) {
    return Lister(file, name).List();
}

}  // namespace pzel_io
