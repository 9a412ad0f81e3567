// JPEG: rows alone are those of the whole picture, marks turn it, damage is refused.
#include <algorithm>
#include <cstdio>

#include <jpeglib.h>

#include "opened.h"

namespace {

using pzel_io::OpenOptions;

constexpr int kWidth = 83, kHeight = 61;

class JpegTest : public AppTest {
  protected:
    enum class Coding { Sequential, Progressive };

    // A picture of slopes, with `mark` as its orientation where it is not 0.
    std::string Write(const std::string& name, J_COLOR_SPACE space, Coding coding, int mark = 0,
                      int density = 1) const {
        jpeg_compress_struct encoder;
        jpeg_error_mgr errors;
        encoder.err = jpeg_std_error(&errors);
        jpeg_create_compress(&encoder);
        std::FILE* const file = std::fopen(Path(name).c_str(), "wb");
        jpeg_stdio_dest(&encoder, file);
        encoder.image_width = kWidth;
        encoder.image_height = kHeight;
        encoder.input_components = space == JCS_GRAYSCALE ? 1 : space == JCS_CMYK ? 4 : 3;
        encoder.in_color_space = space;
        jpeg_set_defaults(&encoder);
        encoder.Y_density = static_cast<UINT16>(density);
        if (coding == Coding::Progressive) jpeg_simple_progression(&encoder);
        jpeg_start_compress(&encoder, TRUE);
        std::string exif("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0 \0\0\0\0\0\0", 32);
        exif[25] = static_cast<char>(mark);
        if (mark) {
            jpeg_write_marker(&encoder, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(exif.data()),
                              static_cast<unsigned>(exif.size()));
        }
        std::vector<JSAMPLE> row(static_cast<std::size_t>(kWidth * encoder.input_components));
        for (int y = 0; y < kHeight; ++y) {
            for (std::size_t i = 0; i < row.size(); ++i)
                row[i] = static_cast<JSAMPLE>((i * 3 + static_cast<std::size_t>(y) * 5 + i % 4 * 40) % 256);
            JSAMPROW rows = row.data();
            jpeg_write_scanlines(&encoder, &rows, 1);
        }
        jpeg_finish_compress(&encoder);
        std::fclose(file);
        jpeg_destroy_compress(&encoder);
        return Path(name);
    }
};

TEST_F(JpegTest, GivesRowsAsInTheWholePicture) {
    for (const J_COLOR_SPACE space : {JCS_GRAYSCALE, JCS_RGB, JCS_CMYK}) {
        for (const Coding coding : {Coding::Sequential, Coding::Progressive}) {
            const std::string file = Write("rows.jpg", space, coding);
            const auto whole = OpenFrame<std::uint8_t>(file);
            EXPECT_EQ(whole.info.channels, space == JCS_GRAYSCALE ? 1 : 3);
            EXPECT_EQ(whole.info.conversions.empty(), space == JCS_GRAYSCALE);
            for (const pzel_io::Rows rows : {pzel_io::Rows{0, 0}, {7, 8}, {15, 40}, {59, 60}}) {
                const auto part = OpenFrame<std::uint8_t>(file, {}, 0, &rows);
                const auto at = [&](const Shown& of, int y) {
                    return of.values.begin() + static_cast<std::ptrdiff_t>(y) * kWidth * of.channels;
                };
                EXPECT_TRUE(std::equal(at(whole.pixels, rows.first), at(whole.pixels, rows.last + 1),
                                       at(part.pixels, rows.first)))
                    << rows.first;
            }
        }
    }
}

TEST_F(JpegTest, TurnsEveryMarkUpright) {
    const Shown stored = OpenFrame<std::uint8_t>(Write("plain.jpg", JCS_RGB, Coding::Sequential)).pixels;
    for (int mark = 2; mark <= 8; ++mark) {
        const std::string file = Write("marked.jpg", JCS_RGB, Coding::Sequential, mark, 2);
        const auto upright = OpenFrame<std::uint8_t>(file);
        OpenOptions asStored;
        asStored.asStored = true;
        EXPECT_EQ(OpenFrame<std::uint8_t>(file, asStored).pixels, stored);
        EXPECT_EQ(upright.info.pixelAspect, mark >= 5 ? 0.5 : 2);
        // Where a mark says that row 0 and column 0 of the stored picture belong.
        const bool rowIsSide = mark >= 5;
        const bool rowIsLast = mark == 3 || mark == 4 || mark == 6 || mark == 7;
        const bool columnIsLast = mark == 2 || mark == 3 || mark == 7 || mark == 8;
        ASSERT_EQ(upright.pixels.width, rowIsSide ? kHeight : kWidth) << mark;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const int row = rowIsLast ? kHeight - 1 - y : y, column = columnIsLast ? kWidth - 1 - x : x;
                for (int c = 0; c < 3; ++c) {
                    ASSERT_EQ(upright.pixels.At(rowIsSide ? row : column, rowIsSide ? column : row, c),
                              stored.At(x, y, c))
                        << mark;
                }
            }
        }
    }
}

TEST_F(JpegTest, RefusesDamageOrShowsWhatIsWhole) {
    for (const Coding coding : {Coding::Sequential, Coding::Progressive}) {
        const std::string file = Write("whole.jpg", JCS_RGB, coding);
        ExpectCutsRefused<std::uint8_t>(file, Path("cut.jpg"), 20);
        const std::string bytes = ReadBytes(file);
        const std::string half = WriteBytes("half.jpg", bytes.substr(0, bytes.size() / 2));
        OpenOptions partial;
        partial.partial = true;
        const auto shown = OpenFrame<std::uint8_t>(half, partial);
        EXPECT_EQ(shown.notes.size(), 1u);
        if (coding == Coding::Progressive) continue;
        const Shown whole = OpenFrame<std::uint8_t>(file).pixels;
        EXPECT_TRUE(
            std::equal(whole.values.begin(), whole.values.begin() + kWidth * 3, shown.pixels.values.begin()));
        EXPECT_EQ(shown.pixels.At(0, kHeight - 1), 0);
    }
    // Next to nothing cannot be 60000 x 60000 pixels.
    std::string bytes = ReadBytes(Write("large.jpg", JCS_GRAYSCALE, Coding::Sequential));
    const std::size_t size = bytes.find("\xFF\xC0") + 5;
    bytes.replace(size, 4, "\xEA\x60\xEA\x60");
    EXPECT_THROW(OpenFrame<std::uint8_t>(WriteBytes("claims.jpg", bytes)), pzel_io::FileError);
}

}  // namespace
