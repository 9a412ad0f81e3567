// FITS files: every image of two dimensions or more is one frame for each plane. Integers with the usual
// offsets are unsigned integers; other scalings, 64-bit values and blank values become floats.
#include "apps/io/readers/reader.h"

#include <fitsio.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace pzel_io {

namespace {

constexpr int kMaxAxes = 9;

struct FileCloser {
    void operator()(fitsfile* file) const {
        int status = 0;
        fits_close_file(file, &status);
    }
};

std::string StatusText(int status) {
    char text[FLEN_STATUS] = {};
    fits_get_errstatus(status, text);
    fits_clear_errmsg();
    return text;
}

// How the values of one image unit come into a record.
struct UnitShape {
    int width = 0;
    int height = 0;
    ImageDataType type = DataNone;
    int readAs = 0;  // the type word of the reading library
    std::string note;

    bool operator==(const UnitShape& other) const {
        return width == other.width && height == other.height && type == other.type;
    }
};

struct Frame {
    int unit;    // header unit, from 1
    long plane;  // from 0
};

class FitsReader final : public Reader {
  public:
    explicit FitsReader(const OpenRequest& request) : Reader(request) {
        fitsfile* opened = nullptr;
        int status = 0;
        // The plain form: names are names here, never expressions.
        if (fits_open_diskfile(&opened, info.file.c_str(), READONLY, &status)) {
            Fail("cannot be opened as fits: " + StatusText(status));
        }
        fits.reset(opened);
        ListFrames();
        if (frames.empty()) Fail("holds no picture");
        info.width = shape.width;
        info.height = shape.height;
        info.type = shape.type;
        info.frames = static_cast<std::uint32_t>(frames.size());
        if (!shape.note.empty()) info.conversions.push_back(shape.note);
        info.conversions.push_back("rows turned over: the file's first row is the lowest");
        if (others > 0) {
            info.conversions.push_back(std::to_string(others) + " images of other size or type left out");
        }
        CheckSize();
    }

    FrameNotes ReadPixels(const FrameRequest& wanted, std::span<unsigned char> pixels) override {
        const RawPixels read = ReadFrame(wanted.frame);
        if (read.size() != pixels.size()) Fail("is cut short");
        std::copy(read.begin(), read.end(), pixels.begin());
        return {};
    }

  private:
    RawPixels ReadFrame(std::uint32_t number) {
        const Frame& frame = frames[number];
        int status = 0;
        fits_movabs_hdu(fits.get(), frame.unit, nullptr, &status);
        const UnitShape unit = ReadShape();
        std::array<long, kMaxAxes> first;
        first.fill(1);
        // Planes beyond the third axis follow one another like those along it.
        std::array<long, kMaxAxes> sizes = Sizes();
        long rest = frame.plane;
        for (int axis = 2; axis < kMaxAxes; ++axis) {
            first[axis] = rest % sizes[axis] + 1;
            rest /= sizes[axis];
        }
        const auto count = static_cast<LONGLONG>(info.width) * info.height;
        RawPixels pixels(static_cast<std::size_t>(count) * ElementBytes(info.type));
        if (info.type == DataFloat) {
            // Read as double and narrowed here: out of the range of float is infinite, not an error.
            std::vector<double> wide(static_cast<std::size_t>(count));
            double blank = std::numeric_limits<double>::quiet_NaN();
            int anyBlank = 0;  // not wanted, but the library writes it
            fits_read_pix(fits.get(), TDOUBLE, first.data(), count, &blank, wide.data(), &anyBlank, &status);
            for (std::size_t i = 0; i < wide.size(); ++i) {
                const float value = Narrow(wide[i]);
                std::memcpy(&pixels[i * sizeof value], &value, sizeof value);
            }
        } else {
            fits_read_pix(fits.get(), unit.readAs, first.data(), count, nullptr, pixels.data(), nullptr,
                          &status);
        }
        if (status) Fail("frame " + std::to_string(number) + " cannot be read: " + StatusText(status));
        return TurnOver(pixels);
    }

    static float Narrow(double value) {
        if (std::isnan(value)) return std::numeric_limits<float>::quiet_NaN();
        if (std::abs(value) > std::numeric_limits<float>::max()) {
            return std::copysign(std::numeric_limits<float>::infinity(),
                                 static_cast<float>(std::copysign(1, value)));
        }
        return static_cast<float>(value);
    }

    RawPixels TurnOver(const RawPixels& pixels) const {
        RawPixels turned(pixels.size());
        const auto rowBytes = static_cast<std::ptrdiff_t>(pixels.size() / info.height);
        for (int y = 0; y < info.height; ++y) {
            std::copy_n(pixels.begin() + (info.height - 1 - y) * rowBytes, rowBytes,
                        turned.begin() + y * rowBytes);
        }
        return turned;
    }

    void ListFrames() {
        int status = 0;
        int units = 0;
        fits_get_num_hdus(fits.get(), &units, &status);
        if (status) Fail("is damaged: " + StatusText(status));
        for (int unit = 1; unit <= units; ++unit) {
            int kind = 0;
            if (fits_movabs_hdu(fits.get(), unit, &kind, &status)) Fail("is damaged: " + StatusText(status));
            int axes = 0;
            fits_get_img_dim(fits.get(), &axes, &status);
            if ((kind != IMAGE_HDU && !fits_is_compressed_image(fits.get(), &status)) || axes < 2) {
                status = 0;
                fits_clear_errmsg();
                continue;
            }
            AddUnit(unit);
        }
    }

    void AddUnit(int unit) {
        const UnitShape found = ReadShape();
        const auto sizes = Sizes();
        long planes = 1;
        for (int axis = 2; axis < kMaxAxes; ++axis) planes *= sizes[axis];
        if (found.width == 0 || found.height == 0 || planes == 0) return;
        if (frames.empty()) shape = found;
        if (!(found == shape)) {
            ++others;
            return;
        }
        for (long plane = 0; plane < planes; ++plane) frames.push_back({unit, plane});
    }

    std::array<long, kMaxAxes> Sizes() const {
        std::array<long, kMaxAxes> sizes;
        sizes.fill(1);
        int status = 0;
        if (fits_get_img_size(fits.get(), kMaxAxes, sizes.data(), &status)) {
            Fail("is damaged: " + StatusText(status));
        }
        return sizes;
    }

    double Number(const char* key, double otherwise) const {
        int status = 0;
        double number = otherwise;
        if (fits_read_key(fits.get(), TDOUBLE, key, &number, nullptr, &status)) {
            fits_clear_errmsg();
            return otherwise;
        }
        return number;
    }

    // The shape of the current unit.
    UnitShape ReadShape() const {
        UnitShape unit;
        const auto sizes = Sizes();
        unit.width = static_cast<int>(std::min<long>(sizes[0], std::numeric_limits<int>::max()));
        unit.height = static_cast<int>(std::min<long>(sizes[1], std::numeric_limits<int>::max()));
        int status = 0;
        int bits = 0;
        if (fits_get_img_type(fits.get(), &bits, &status)) Fail("is damaged: " + StatusText(status));
        const double scale = Number("BSCALE", 1);
        const double zero = Number("BZERO", 0);
        const bool blank = bits > 0 && !std::isnan(Number("BLANK", std::numeric_limits<double>::quiet_NaN()));
        ChooseType(unit, bits, scale, zero);
        if (blank && unit.type != DataFloat) {
            unit.note = std::string(TypeName(unit.type)) + " to float: blank values are not numbers";
            unit.type = DataFloat;
        }
        return unit;
    }

    void ChooseType(UnitShape& unit, int bits, double scale, double zero) const {
        // Integers as they are, and with the offset that stands for the other signedness.
        struct Known {
            int bits;
            double zero;
            ImageDataType type;
            int readAs;
        };
        static constexpr Known kKnown[] = {
            {BYTE_IMG, 0, DataUInt8, TBYTE},   {BYTE_IMG, -128, DataInt8, TSBYTE},
            {SHORT_IMG, 0, DataInt16, TSHORT}, {SHORT_IMG, 32768, DataUInt16, TUSHORT},
            {LONG_IMG, 0, DataInt32, TINT},    {LONG_IMG, 2147483648.0, DataUInt32, TUINT},
        };
        unit.type = DataFloat;
        const bool scaled = scale != 1 || zero != 0;
        for (const Known& known : kKnown) {
            if (scale == 1 && known.bits == bits && known.zero == zero) {
                unit.type = known.type;
                unit.readAs = known.readAs;
                return;
            }
        }
        if (scaled) {
            unit.note =
                "stored values times " + NumberText(scale) + " plus " + NumberText(zero) + ", as float";
        } else if (bits == LONGLONG_IMG) {
            unit.note = "int64 to float";
        } else if (bits == DOUBLE_IMG) {
            unit.note = "double to float";
        }
    }

    std::unique_ptr<fitsfile, FileCloser> fits;
    UnitShape shape;
    std::vector<Frame> frames;
    int others = 0;
};

}  // namespace

std::unique_ptr<Reader> OpenReader(const OpenRequest& request) {
    return std::make_unique<FitsReader>(request);
}

}  // namespace pzel_io
