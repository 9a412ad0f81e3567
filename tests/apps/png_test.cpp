// PNG files of every kind of pixel, animations against a plain composition, and damaged files.
#include <zlib.h>

#include <algorithm>
#include <cmath>

#include "program.h"
#include "reading.h"

namespace {

constexpr int kWidth = 21, kHeight = 13;
constexpr int kGrey = 0, kRgb = 2, kPalette = 3, kGreyAlpha = 4, kRgba = 6;
constexpr int kSamples[] = {1, 0, 3, 1, 2, 0, 4};

std::string Long(std::uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
    return bytes;
}

std::string Chunk(const std::string& name, const std::string& data) {
    const std::string checked = name + data;
    const uLong sum = crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), checked.size());
    return Long(static_cast<std::uint32_t>(data.size())) + checked + Long(static_cast<std::uint32_t>(sum));
}

std::string Deflated(const std::string& bytes) {
    uLongf size = compressBound(bytes.size());
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
             bytes.size());
    return packed.substr(0, size);
}

// Samples of a picture, or of a frame's area in an animation.
struct Drawn {
    int x = 0, y = 0, width = kWidth, height = kHeight, disposal = 0, blend = 0;
    std::vector<int> samples;
};

class PngTest : public AppTest {
  protected:
    Drawn RandomArea(int colour, int depth, bool whole) {
        const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
        Drawn area;
        if (!whole) {
            area.width = 1 + below(kWidth), area.height = 1 + below(kHeight);
            area.x = below(kWidth - area.width + 1), area.y = below(kHeight - area.height + 1);
        }
        area.disposal = below(3), area.blend = below(2);
        for (int i = 0; i < area.width * area.height * kSamples[colour]; ++i)
            area.samples.push_back(below(1 << depth));
        return area;
    }

    static std::string Head(int colour, int depth, bool interlaced) {
        std::string data = Long(kWidth) + Long(kHeight);
        for (const int byte : {depth, colour, 0, 0, static_cast<int>(interlaced)})
            data += static_cast<char>(byte);
        return "\x89PNG\r\n\x1A\n" + Chunk("IHDR", data);
    }

    // Rows of every `stepY`-th row and `stepX`-th column.
    static std::string Rows(const Drawn& area, int colour, int depth, int x0, int y0, int stepX, int stepY) {
        std::string rows;
        for (int y = y0; y < area.height && x0 < area.width; y += stepY) {
            rows += '\0';
            int held = 0, count = 0;
            for (int x = x0; x < area.width; x += stepX) {
                for (int c = 0; c < kSamples[colour]; ++c) {
                    held =
                        held << depth |
                        area.samples[static_cast<std::size_t>((y * area.width + x) * kSamples[colour] + c)];
                    for (count += depth; count >= 8; count -= 8)
                        rows += static_cast<char>(held >> (count - 8));
                    held &= (1 << count) - 1;
                }
            }
            if (count > 0) rows += static_cast<char>(held << (8 - count));
        }
        return rows;
    }
    static std::string Packed(const Drawn& area, int colour, int depth, bool interlaced) {
        if (!interlaced) return Deflated(Rows(area, colour, depth, 0, 0, 1, 1));
        constexpr int kPasses[][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                      {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        std::string rows;
        for (const auto& pass : kPasses)
            rows += Rows(area, colour, depth, pass[0], pass[1], pass[2], pass[3]);
        return Deflated(rows);
    }

    std::string Palette(int depth) {
        palette.resize(std::size_t{3} << depth);
        for (char& value : palette) value = static_cast<char>(random());
        return Chunk("PLTE", palette);
    }

    std::string Still(int colour, int depth, bool interlaced, const Drawn& area,
                      const std::string& more = "") {
        return Head(colour, depth, interlaced) + more + (colour == kPalette ? Palette(depth) : "") +
               Chunk("IDAT", Packed(area, colour, depth, interlaced)) + Chunk("IEND", "");
    }

    static std::string Animation(const std::vector<Drawn>& frames) {
        std::string bytes =
            Head(kRgba, 8, false) + Chunk("acTL", Long(static_cast<std::uint32_t>(frames.size())) + Long(0));
        std::uint32_t sequence = 0;
        for (const Drawn& frame : frames) {
            std::string control = Long(sequence++);
            for (const int number : {frame.width, frame.height, frame.x, frame.y})
                control += Long(static_cast<std::uint32_t>(number));
            for (const int byte : {0, 1, 0, 10, frame.disposal, frame.blend})
                control += static_cast<char>(byte);
            bytes += Chunk("fcTL", control);
            const std::string packed = Packed(frame, kRgba, 8, false);
            const bool first = &frame == &frames.front();
            bytes += first ? Chunk("IDAT", packed) : Chunk("fdAT", Long(sequence) + packed);
            if (!first) ++sequence;
        }
        return bytes + Chunk("IEND", "");
    }

    std::string palette;
};

TEST_F(PngTest, KeepsValuesOfEveryKind) {
    struct Kind {
        int colour, depth;
    };
    constexpr Kind kKinds[] = {{kGrey, 1},    {kGrey, 2},      {kGrey, 4},       {kGrey, 8},    {kGrey, 16},
                               {kRgb, 8},     {kRgb, 16},      {kPalette, 1},    {kPalette, 2}, {kPalette, 4},
                               {kPalette, 8}, {kGreyAlpha, 8}, {kGreyAlpha, 16}, {kRgba, 8},    {kRgba, 16}};
    for (const auto& [colour, depth] : kKinds) {
        for (const bool interlaced : {false, true}) {
            const Drawn area = RandomArea(colour, depth, true);
            const auto source =
                pzel_io::OpenPicture(WriteBytes("a.png", Still(colour, depth, interlaced, area)));
            const int stored = kSamples[colour];
            const int shown = stored - (stored % 2 == 0);  // without alpha
            std::string expected;
            for (std::size_t i = 0; i < area.samples.size(); ++i) {
                const int value = area.samples[i];
                if (static_cast<int>(i) % stored >= shown) continue;
                if (colour == kPalette) {
                    expected += palette.substr(static_cast<std::size_t>(value) * 3, 3);
                } else {
                    expected += static_cast<char>(value);
                    if (depth == 16) expected += static_cast<char>(value >> 8);
                }
            }
            std::string read = FrameOf(*source, 0);
            if (source->Info().type == DataBit) {
                std::string bits;
                for (int i = 0; i < kWidth * kHeight; ++i) {
                    const int x = i % kWidth;
                    const auto at = static_cast<std::size_t>(i / kWidth * ((kWidth + 7) / 8) + x / 8);
                    bits += static_cast<char>(read[at] >> (7 - x % 8) & 1);
                }
                read = bits;
            }
            EXPECT_EQ(read, expected) << colour << " " << depth << " " << interlaced;
            EXPECT_EQ(source->Info().window.has_value(), colour == kGrey && (depth == 2 || depth == 4));
        }
    }
}

TEST_F(PngTest, ComposesFramesInAnyOrder) {
    std::vector<Drawn> frames;
    for (int i = 0; i < 14; ++i) frames.push_back(RandomArea(kRgba, 8, i == 0 || i == 9));
    const std::string file = WriteBytes("a.png", Animation(frames));
    // Colours weighed by how much of them is seen.
    std::vector<double> canvas(kWidth * kHeight * 4);
    const std::vector<std::string> read = FramesOf(file);
    ASSERT_EQ(read.size(), frames.size());
    for (std::size_t n = 0; n < frames.size(); ++n) {
        const Drawn& frame = frames[n];
        const std::vector<double> before = canvas;
        std::vector<double> cleared = canvas;
        for (int i = 0; i < frame.width * frame.height; ++i) {
            const auto at =
                static_cast<std::size_t>((frame.y + i / frame.width) * kWidth + frame.x + i % frame.width) *
                4;
            const int* const from = &frame.samples[static_cast<std::size_t>(i) * 4];
            const double front = from[3] / 255.0;
            const double back = frame.blend == 1 ? canvas[at + 3] / 255 * (1 - front) : 0;
            for (std::size_t c = 0; c < 3; ++c) {
                if (front == 0 && frame.blend == 1) break;
                const double whole = front + back;
                canvas[at + c] =
                    whole > 0 ? std::round((from[c] * front + canvas[at + c] * back) / whole) : from[c];
            }
            canvas[at + 3] = std::round(255 * (front + back));
            std::fill_n(&cleared[at], 4, 0.0);
        }
        int worst = 0;
        for (std::size_t i = 0; i < kWidth * kHeight * 3; ++i) {
            const int shown = static_cast<unsigned char>(read[n][i]);
            worst = std::max(worst, std::abs(shown - static_cast<int>(canvas[i / 3 * 4 + i % 3])));
        }
        EXPECT_LE(worst, 1) << n;
        if (frame.disposal == 1 || (n == 0 && frame.disposal == 2)) canvas = cleared;
        if (frame.disposal == 2 && n > 0) canvas = before;
    }
    ExpectSameInAnyOrder(file);
    ExpectCutsRefused(file, Path("cut.png"));
}

TEST_F(PngTest, RefusesDamageAndFollowsMarks) {
    Drawn area = RandomArea(kRgb, 8, true);
    const std::string whole = Still(kRgb, 8, false, area);
    ExpectCutsRefused(WriteBytes("a.png", whole), Path("cut.png"));
    ExpectCutsRefused(WriteBytes("b.png", Still(kRgb, 8, true, area)), Path("cut.png"));
    for (int i = 0; i < 20; ++i) {
        std::string damaged = whole;
        damaged[8 + random() % (whole.size() - 8)] ^= static_cast<char>(1 << random() % 8);
        EXPECT_NE(ReasonAgainst(WriteBytes("damaged.png", damaged)), "") << i;
    }
    std::string bomb = whole;
    bomb.replace(8, 25, Chunk("IHDR", Long(20000) + Long(20000) + std::string("\x08\x02\0\0\0", 5)));
    EXPECT_NE(ReasonAgainst(WriteBytes("bomb.png", bomb)).find("its bytes can hold"), std::string::npos);

    using namespace std::string_literals;
    const std::string turned =
        Chunk("eXIf", "MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0"s);
    const std::string wide = Chunk("pHYs", Long(100) + Long(200) + "\0"s);
    const std::string file = WriteBytes("turned.png", Still(kRgb, 8, false, area, turned + wide));
    const auto upright = pzel_io::OpenPicture(file);
    EXPECT_EQ(upright->Info().width, kHeight);
    EXPECT_EQ(upright->Info().pixelAspect, 0.5);
    const std::string pixels = FrameOf(*upright, 0);
    const std::string stored = FramesOf(Path("a.png"))[0];
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const auto to = static_cast<std::size_t>(x * kHeight + kHeight - 1 - y) * 3;
            ASSERT_EQ(pixels.substr(to, 3), stored.substr(static_cast<std::size_t>(y * kWidth + x) * 3, 3));
        }
    }
    pzel_io::OpenOptions asStored;
    asStored.asStored = true;
    EXPECT_EQ(FramesOf(file, asStored)[0], stored);
}

}  // namespace
