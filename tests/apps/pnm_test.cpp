// Portable maps: every kind holds the values that were written, whatever the largest is; cut ends are
// refused.
#include <bit>
#include <cstring>

#include "opened.h"

namespace {

class PnmTest : public AppTest {
  protected:
    template <class T>
    Pixels<T> Random(int channels, unsigned most) {
        Pixels<T> pixels(13, 7, channels);
        std::uniform_int_distribution<unsigned> values(0, most);
        for (T& value : pixels.values) value = static_cast<T>(values(random));
        return pixels;
    }

    template <class T>
    static std::string Raw(const Pixels<T>& pixels) {
        std::string bytes;
        for (const T value : pixels.values)
            for (std::size_t i = sizeof(T); i-- > 0;) bytes += static_cast<char>(value >> 8 * i);
        return bytes;
    }
    template <class T>
    static std::string Text(const Pixels<T>& pixels) {
        std::string text;
        for (const T value : pixels.values)
            text += std::to_string(value) + (text.size() % 60 > 50 ? "\n" : " ");
        return text;
    }

    template <class T>
    void ExpectEveryForm(unsigned most) {
        for (const int channels : {1, 3}) {
            const Pixels<T> pixels = Random<T>(channels, most);
            const std::string head = " 13 # columns\n7\n" + std::to_string(most) + "\n";
            const std::string named = "P7\nWIDTH 13\nHEIGHT 7\nDEPTH " + std::to_string(channels) +
                                      "\nMAXVAL " + std::to_string(most) + "\n# of bytes\nENDHDR\n";
            for (const std::string& file :
                 {(channels == 1 ? "P2" : "P3") + head + Text(pixels),
                  (channels == 1 ? "P5" : "P6") + head + Raw(pixels), named + Raw(pixels)}) {
                const auto opened = OpenFrame<T>(WriteBytes("map", file));
                EXPECT_EQ(opened.pixels, pixels) << file.substr(0, 2) << most;
                EXPECT_EQ(opened.info.window.has_value(), most != 255 && most != 65535);
                EXPECT_EQ(opened.info.window.value_or(pzel_io::Window{0, double(most)}).high, most);
                ExpectCutsRefused<T>(Path("map"), Path("cut"), 9);
            }
        }
    }
};

TEST_F(PnmTest, KeepsValuesOfAnyRange) {
    for (const unsigned most : {1u, 15u, 255u}) ExpectEveryForm<std::uint8_t>(most);
    for (const unsigned most : {256u, 1000u, 65535u}) ExpectEveryForm<std::uint16_t>(most);
}

TEST_F(PnmTest, ReadsFloatsFromTheLowestRow) {
    for (const bool isBig : {false, true}) {
        std::string bytes = isBig ? "Pf\n2 3\n1.0\n" : "Pf\n2 3\n-1.0\n";
        for (const float value : {5.f, 6.f, 3.f, -4.5f, 1.f, 2.f}) {
            auto bits = std::bit_cast<std::uint32_t>(value);
            if (isBig) bits = __builtin_bswap32(bits);
            bytes.append(reinterpret_cast<const char*>(&bits), sizeof bits);
        }
        EXPECT_EQ(OpenFrame<float>(WriteBytes("floats.pfm", bytes)).pixels.values,
                  (std::vector<float>{1, 2, 3, -4.5f, 5, 6}));
        const pzel_io::Rows middle{1, 1};
        EXPECT_EQ(OpenFrame<float>(Path("floats.pfm"), {}, 0, &middle).pixels.At(1, 1), -4.5f);
    }
}

// Ink is black, both as text without spaces and as bytes.
TEST_F(PnmTest, ShowsBitsAsInk) {
    for (const std::string file : {"P1\n9 2\n100000001\n0 1 1 1 1 1 1 1 0\n", "P4\n9 2\n\x80\x80\x7F"}) {
        std::string bytes = file;
        if (bytes[1] == '4') bytes += '\0';
        const Shown shown = Picture(WriteBytes("bits.pbm", bytes));
        for (int x = 0; x < 9; ++x) {
            EXPECT_EQ(shown.At(x, 0), x == 0 || x == 8 ? 0 : 255) << x;
            EXPECT_EQ(shown.At(x, 1), x == 0 || x == 8 ? 255 : 0) << x;
        }
    }
}

TEST_F(PnmTest, TakesPicturesBehindOneAnotherForFrames) {
    const auto first = Random<std::uint8_t>(1, 255), second = Random<std::uint8_t>(1, 255);
    const std::string head = "P5 13 7 255\n", other = "P6 1 1 255\nabc";
    WriteBytes("stack.pgm", head + Raw(first) + other + head + Raw(second));
    const auto opened = OpenFrame<std::uint8_t>(Path("stack.pgm"), {}, 1);
    EXPECT_EQ(opened.info.frames, 2u);
    EXPECT_EQ(opened.pixels, second);
    ASSERT_EQ(opened.info.conversions.size(), 1u);
    pzel_io::OpenOptions page;
    page.page = 1;
    EXPECT_EQ(OpenFrame<std::uint8_t>(Path("stack.pgm"), page).pixels.values,
              (std::vector<std::uint8_t>{'a', 'b', 'c'}));
    page.page = 3;
    EXPECT_THROW(OpenFrame<std::uint8_t>(Path("stack.pgm"), page), pzel_io::FileError);
}

}  // namespace
