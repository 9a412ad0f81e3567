// TIFF: one picture in every coding and every kind of sample is the same picture; what is missing is refused.
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "opened.h"

namespace {

using pzel_io::OpenOptions;

constexpr int kWidth = 45, kHeight = 37;

struct Kind {
    int bits = 16;
    int format = SAMPLEFORMAT_UINT;
    int compression = COMPRESSION_NONE;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int samples = 1;
    int planar = PLANARCONFIG_CONTIG;
    bool tiled = false;
    const char* mode = "w";
};

class TiffTest : public AppTest {
  protected:
    // The value of a sample: small numbers, so that every type can hold them.
    static unsigned Value(int x, int y, int sample, int bits) {
        return static_cast<unsigned>(x * 3 + y * 7 + sample * 5) & ((1u << std::min(bits, 7)) - 1);
    }

    // A row of samples as the library wants it: packed, or in elements of the machine.
    static std::vector<unsigned char> Row(const Kind& kind, int left, int y, int width, int first,
                                          int count) {
        std::vector<unsigned char> row((static_cast<std::size_t>(width * count * kind.bits) + 7) / 8 + 8);
        for (int i = 0; i < width * count; ++i) {
            const unsigned value = Value(left + i / count, y, first + i % count, kind.bits);
            const std::size_t place = static_cast<std::size_t>(i * kind.bits / 8);
            const auto number = static_cast<float>(value);
            if (kind.format == SAMPLEFORMAT_IEEEFP && kind.bits == 64) {
                const double wide = value;
                std::memcpy(&row[place], &wide, sizeof wide);
            } else if (kind.format == SAMPLEFORMAT_IEEEFP) {
                std::memcpy(&row[place], &number, sizeof number);
            } else if (kind.bits % 8 == 0) {
                for (int byte = 0; byte < kind.bits / 8; ++byte)
                    row[place + static_cast<std::size_t>(byte)] =
                        static_cast<unsigned char>(byte < 4 ? value >> 8 * byte : 0);
            } else {
                for (int bit = 0; bit < kind.bits; ++bit) {
                    const int at = i * kind.bits + bit;
                    if (value >> (kind.bits - 1 - bit) & 1)
                        row[static_cast<std::size_t>(at / 8)] |= static_cast<unsigned char>(0x80 >> at % 8);
                }
            }
        }
        return row;
    }

    std::string Write(const std::string& name, const Kind& kind, int pages = 1,
                      const std::function<void(TIFF*, int page)>& more = {}) const {
        TIFF* const tiff = TIFFOpen(Path(name).c_str(), kind.mode);
        for (int page = 0; page < pages; ++page) {
            TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
            TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
            TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
            TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, kind.format);
            TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
            TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, kind.planar);
            TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
            TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
            if (more) more(tiff, page);
            const bool apart = kind.planar == PLANARCONFIG_SEPARATE;
            for (int plane = 0; plane < (apart ? kind.samples : 1); ++plane)
                kind.tiled ? WriteTiles(tiff, kind, plane) : WriteRows(tiff, kind, plane);
            TIFFWriteDirectory(tiff);
        }
        TIFFClose(tiff);
        return Path(name);
    }

    static int InRow(const Kind& kind) { return kind.planar == PLANARCONFIG_SEPARATE ? 1 : kind.samples; }

    static void WriteRows(TIFF* tiff, const Kind& kind, int plane) {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 10);
        for (int y = 0; y < kHeight; ++y) {
            auto row = Row(kind, 0, y, kWidth, plane, InRow(kind));
            TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y),
                              static_cast<std::uint16_t>(plane));
        }
    }

    static void WriteTiles(TIFF* tiff, const Kind& kind, int plane) {
        constexpr int kSide = 16;
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kSide);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kSide);
        for (int top = 0; top < kHeight; top += kSide) {
            for (int left = 0; left < kWidth; left += kSide) {
                std::vector<unsigned char> tile;
                for (int y = top; y < top + kSide; ++y) {
                    auto row = Row(kind, left, y, kSide, plane, InRow(kind));
                    tile.insert(tile.end(), row.begin(), row.end() - 8);
                }
                TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(left),
                              static_cast<std::uint32_t>(top), 0, static_cast<std::uint16_t>(plane));
            }
        }
    }

    template <class T>
    static Pixels<T> Expected(const Kind& kind, int channels) {
        Pixels<T> pixels(kWidth, kHeight, channels);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < channels; ++c)
                    pixels.At(x, y, c) = static_cast<T>(Value(x, y, c, kind.bits));
        return pixels;
    }

    // In strips and tiles, planes together and apart, both byte orders: the whole, and rows of it.
    template <class T>
    void ExpectEveryLayout(Kind kind) {
        const auto expected = Expected<T>(kind, kind.samples);
        for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
            for (const bool tiled : {false, true}) {
                for (const char* mode : {"wl", "wb", "w8"}) {
                    kind.planar = planar;
                    kind.tiled = tiled;
                    kind.mode = mode;
                    const std::string file = Write("laid.tif", kind);
                    EXPECT_EQ(OpenFrame<T>(file).pixels, expected) << kind.bits << mode << planar << tiled;
                    const pzel_io::Rows rows{13, 17};
                    const auto part = OpenFrame<T>(file, {}, 0, &rows).pixels;
                    const auto at = [&](const Pixels<T>& of, int y) {
                        return of.values.begin() + static_cast<std::ptrdiff_t>(y) * kWidth * of.channels;
                    };
                    EXPECT_TRUE(std::equal(at(part, 13), at(part, 18), at(expected, 13)))
                        << kind.bits << mode;
                }
                if (kind.samples == 1) break;
            }
        }
    }
};

TEST_F(TiffTest, KeepsSamplesOfEveryKindInEveryLayout) {
    for (const int samples : {1, 3}) {
        const int photometric = samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
        const auto with = [&](int bits, int format) {
            return Kind{bits, format, COMPRESSION_NONE, photometric, samples};
        };
        for (const int bits : {2, 4, 7, 8}) ExpectEveryLayout<std::uint8_t>(with(bits, SAMPLEFORMAT_UINT));
        for (const int bits : {10, 12, 14, 16})
            ExpectEveryLayout<std::uint16_t>(with(bits, SAMPLEFORMAT_UINT));
        for (const int bits : {24, 32}) ExpectEveryLayout<std::uint32_t>(with(bits, SAMPLEFORMAT_UINT));
        ExpectEveryLayout<std::int16_t>(with(12, SAMPLEFORMAT_INT));
        ExpectEveryLayout<float>(with(64, SAMPLEFORMAT_INT));
        for (const int bits : {32, 64}) ExpectEveryLayout<float>(with(bits, SAMPLEFORMAT_IEEEFP));
    }
    const auto window = OpenFrame<std::uint16_t>(Write("twelve.tif", {12})).info.window;
    ASSERT_TRUE(window.has_value());
    EXPECT_EQ(window->high, 4095);
}

TEST_F(TiffTest, DecodesEveryCodingAndRefusesItsCuts) {
    Kind kind;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                  COMPRESSION_PACKBITS, COMPRESSION_ZSTD, COMPRESSION_LZMA}) {
        for (const bool tiled : {false, true}) {
            kind.compression = compression;
            kind.tiled = tiled;
            const std::string file = Write("coded.tif", kind);
            EXPECT_EQ(OpenFrame<std::uint16_t>(file).pixels, Expected<std::uint16_t>(kind, 1)) << compression;
            ExpectCutsRefused<std::uint16_t>(file, Path("cut.tif"), 8);
        }
    }
    // A strip that is not there: refused, or black with a note.
    std::string bytes = ReadBytes(Write("damaged.tif", kind = {16, SAMPLEFORMAT_UINT, COMPRESSION_LZW}));
    std::fill(bytes.begin() + 8, bytes.begin() + 60, '\0');
    WriteBytes("damaged.tif", bytes);
    EXPECT_THROW(OpenFrame<std::uint16_t>(Path("damaged.tif")), pzel_io::FileError);
    OpenOptions partial;
    partial.partial = true;
    const auto shown = OpenFrame<std::uint16_t>(Path("damaged.tif"), partial);
    EXPECT_EQ(shown.notes.size(), 1u);
    EXPECT_EQ(shown.pixels.At(3, 0), 0);
    EXPECT_EQ(shown.pixels.At(3, 36), Value(3, 36, 0, 16));
}

TEST_F(TiffTest, KeepsValuesWhereLowIsWhite) {
    for (const int bits : {8, 16}) {
        const Kind kind{bits, SAMPLEFORMAT_UINT, COMPRESSION_NONE, PHOTOMETRIC_MINISWHITE};
        const std::string file = Write("negative.tif", kind);
        const pzel_io::PictureInfo info = pzel_io::OpenPicture(file)->Info();
        EXPECT_TRUE(info.lowIsWhite);
        EXPECT_EQ(info.conversions.size(), 1u);
        EXPECT_EQ(Picture(file, {"--levels", "0:127"}).At(0, 0), 255);
        EXPECT_EQ(Render({file, "--pixel", "1,2"}).out.find("pixel 1,2: 17\n") == std::string::npos, false);
    }
    // Facsimiles, and bits without a word on their number.
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_CCITTFAX4}) {
        const Kind bit{1, SAMPLEFORMAT_UINT, compression, PHOTOMETRIC_MINISWHITE};
        const std::string file =
            Write("bits.tif", bit, 1, [](TIFF* tiff, int) { TIFFUnsetField(tiff, TIFFTAG_BITSPERSAMPLE); });
        const Shown shown = Picture(file);
        for (int x = 0; x < kWidth; ++x) EXPECT_EQ(shown.At(x, 4), Value(x, 4, 0, 1) ? 0 : 255) << x;
    }
}

TEST_F(TiffTest, ConvertsColoursAndTellsIt) {
    const auto first = [&](const Kind& kind, const std::function<void(TIFF*, int)>& more = {}) {
        const auto opened = OpenFrame<std::uint8_t>(Write("colour.tif", kind, 1, more));
        EXPECT_EQ(opened.info.conversions.size(), 1u);
        return std::vector<int>{opened.pixels.At(9, 2, 0), opened.pixels.At(9, 2, 1),
                                opened.pixels.At(9, 2, 2)};
    };
    // At this place the samples are 41, 46, 51, 56.
    const Kind cmyk{8, SAMPLEFORMAT_UINT, COMPRESSION_NONE, PHOTOMETRIC_SEPARATED, 4};
    EXPECT_EQ(first(cmyk), (std::vector<int>{167, 163, 159}));
    Kind rgba = cmyk;
    rgba.photometric = PHOTOMETRIC_RGB;
    const auto alpha = [](std::uint16_t meaning) {
        return [meaning](TIFF* tiff, int) { TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &meaning); };
    };
    EXPECT_EQ(first(rgba, alpha(EXTRASAMPLE_UNASSALPHA)), (std::vector<int>{41, 46, 51}));
    EXPECT_EQ(first(rgba, alpha(EXTRASAMPLE_ASSOCALPHA)), (std::vector<int>{187, 209, 232}));
    const Kind palette{8, SAMPLEFORMAT_UINT, COMPRESSION_NONE, PHOTOMETRIC_PALETTE};
    EXPECT_EQ(first(palette,
                    [](TIFF* tiff, int) {
                        std::vector<std::uint16_t> red(256), green(256), blue(256);
                        red[41] = 257 * 200;
                        blue[41] = 257 * 7;
                        TIFFSetField(tiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
                    }),
              (std::vector<int>{200, 0, 7}));
}

TEST_F(TiffTest, MakesFramesOfPagesThatAgree) {
    const auto mark = [](TIFF* tiff, int page) {
        if (page == 1) TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
        if (page == 2) TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    };
    const std::string file = Write("stack.tif", {}, 5, mark);
    const pzel_io::PictureInfo info = pzel_io::OpenPicture(file)->Info();
    EXPECT_EQ(info.frames, 3u);
    EXPECT_EQ(info.conversions.size(), 2u);
    OpenOptions page;
    page.page = 2;
    EXPECT_TRUE(OpenFrame<std::uint16_t>(file, page).info.lowIsWhite);
    ExpectCutsRefused<std::uint16_t>(file, Path("cut.tif"), 30);
    // One page that tells of more: they must be there.
    const std::string told = Write("slices.tif", {}, 1, [](TIFF* tiff, int) {
        TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, "ImageJ=1.53\nimages=2\n");
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kHeight);
    });
    EXPECT_THROW(pzel_io::OpenPicture(told), pzel_io::FileError);
    const std::string bytes = ReadBytes(told);
    WriteBytes("slices.tif", bytes + std::string(kWidth * kHeight * 2, '\1'));
    EXPECT_EQ(pzel_io::OpenPicture(told)->Info().frames, 2u);
}

}  // namespace
