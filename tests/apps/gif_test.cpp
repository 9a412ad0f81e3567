// Animations against a plain composition, and what damaged files come to.
#include <algorithm>
#include <array>

#include "program.h"
#include "reading.h"

namespace {

constexpr int kWidth = 23, kHeight = 17, kCodeBits = 4, kColours = 1 << kCodeBits;

struct Drawn {
    int x, y, width, height, disposal;
    int transparent;  // -1: none
    bool interlaced;
    std::vector<int> indices;  // row by row
};

void AddWord(std::string& bytes, int word) {
    bytes += static_cast<char>(word);
    bytes += static_cast<char>(word >> 8);
}

// Codes that only name pixels: the table is emptied before codes grow.
std::string Packed(const std::vector<int>& indices) {
    constexpr int kClear = kColours, kEnd = kColours + 1;
    std::vector<int> codes;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (i % (kColours - 3) == 0) codes.push_back(kClear);
        codes.push_back(indices[i]);
    }
    codes.push_back(kEnd);
    std::string bits;
    unsigned held = 0;
    int count = 0;
    for (const int code : codes) {
        held |= static_cast<unsigned>(code) << count;
        for (count += kCodeBits + 1; count >= 8; count -= 8, held >>= 8) bits += static_cast<char>(held);
    }
    bits += static_cast<char>(held);
    std::string blocks(1, static_cast<char>(kCodeBits));
    for (std::size_t at = 0; at < bits.size(); at += 255) {
        const std::string block = bits.substr(at, 255);
        blocks += static_cast<char>(block.size());
        blocks += block;
    }
    return blocks + '\0';
}

class GifTest : public AppTest {
  protected:
    GifTest() {
        for (auto& value : palette) value = static_cast<char>(random());
    }
    Drawn RandomFrame() {
        const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
        Drawn frame{};
        frame.width = 1 + below(kWidth), frame.height = 1 + below(kHeight);
        frame.x = below(kWidth - frame.width + 1), frame.y = below(kHeight - frame.height + 1);
        frame.disposal = below(4);
        frame.transparent = below(kColours + 4) - 4;
        frame.transparent = std::max(frame.transparent, -1);
        frame.interlaced = below(2);
        for (int i = 0; i < frame.width * frame.height; ++i) frame.indices.push_back(below(kColours));
        return frame;
    }
    std::string Bytes(const std::vector<Drawn>& frames) const {
        std::string bytes = "GIF89a";
        AddWord(bytes, kWidth);
        AddWord(bytes, kHeight);
        bytes += static_cast<char>(0xF0 | (kCodeBits - 1));
        bytes.append(2, '\0');
        bytes.append(palette.begin(), palette.end());
        for (const Drawn& frame : frames) {
            bytes += "\x21\xF9\x04";
            bytes += static_cast<char>(frame.disposal << 2 | (frame.transparent >= 0));
            AddWord(bytes, 10);
            bytes += static_cast<char>(std::max(frame.transparent, 0));
            bytes += '\0';
            bytes += '\x2C';
            for (const int number : {frame.x, frame.y, frame.width, frame.height}) AddWord(bytes, number);
            bytes += frame.interlaced ? '\x40' : '\0';
            std::vector<int> order;
            constexpr int kPasses[][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
            for (const auto& [first, step] : kPasses) {
                for (int y = first; frame.interlaced && y < frame.height; y += step) order.push_back(y);
            }
            for (int y = 0; !frame.interlaced && y < frame.height; ++y) order.push_back(y);
            std::vector<int> rows;
            for (const int y : order)
                rows.insert(rows.end(), &frame.indices[static_cast<std::size_t>(y * frame.width)],
                            &frame.indices[static_cast<std::size_t>(y * frame.width)] + frame.width);
            bytes += Packed(rows);
        }
        return bytes + ";";
    }
    // What each frame shows, pixel by pixel.
    std::vector<std::string> Composed(const std::vector<Drawn>& frames) const {
        std::string canvas(kWidth * kHeight * 3, '\0');
        std::vector<std::string> shown;
        for (const Drawn& frame : frames) {
            const std::string before = canvas;
            std::string cleared = canvas;
            for (int i = 0; i < frame.width * frame.height; ++i) {
                const int x = frame.x + i % frame.width, y = frame.y + i / frame.width;
                const int index = frame.indices[static_cast<std::size_t>(i)];
                for (int c = 0; c < 3; ++c) {
                    const auto at = static_cast<std::size_t>((y * kWidth + x) * 3 + c);
                    if (index != frame.transparent)
                        canvas[at] = palette[static_cast<std::size_t>(index * 3 + c)];
                    cleared[at] = '\0';
                }
            }
            shown.push_back(canvas);
            if (frame.disposal == 2) canvas = cleared;
            if (frame.disposal == 3) canvas = before;
        }
        return shown;
    }

    std::array<char, 3 * kColours> palette{};
};

TEST_F(GifTest, ComposesFramesInAnyOrder) {
    for (int n = 0; n < 8; ++n) {
        std::vector<Drawn> frames;
        for (int i = 0; i < 12; ++i) frames.push_back(RandomFrame());
        const std::string file = WriteBytes("a.gif", Bytes(frames));
        EXPECT_EQ(FramesOf(file), Composed(frames)) << n;
        ExpectSameInAnyOrder(file);
        EXPECT_NEAR(pzel_io::OpenPicture(file)->Info().frameRate, 10, 1e-9);
    }
}

TEST_F(GifTest, RefusesWhatIsNotWhole) {
    const std::string file = WriteBytes("a.gif", Bytes({RandomFrame(), RandomFrame(), RandomFrame()}));
    ExpectCutsRefused(file, Path("cut.gif"));
    std::string bytes = Bytes({RandomFrame()});
    bytes[6] = bytes[7] = bytes[8] = bytes[9] = '\x50';
    EXPECT_NE(ReasonAgainst(WriteBytes("bomb.gif", bytes)).find("bytes"), std::string::npos);
}

}  // namespace
