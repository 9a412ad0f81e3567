// The loops that show data take short cuts: integers for single precision, tables for rules, constants that
// repeat over a row, vectors. Hunts any byte that comes out otherwise than by the naive rules, over all
// values of small types and many of large ones.
#include <bit>

#include "tests/support/display_reference.h"

namespace {

using namespace test;

// Rows are longer than the blocks that loops work in, most of them by a part of one.

/// An interleaved image, its planar twin where it has three channels, and what both must show.
template <class T>
struct Shown {
    TestImage pixels, planes;
    int type = pixels.type();

    Shown(int width, int height, int channels, int dataType)
        : pixels({width, height, channels, dataType, true}), planes({width, height, channels, dataType}) {}

    T* values() { return reinterpret_cast<T*>(pixels.data); }
    int count() const { return pixels.width * pixels.height * pixels.channels; }
    /// To be called where the values have changed.
    void split() {
        const int channels = pixels.channels, plane = count() / channels;
        auto* to = reinterpret_cast<T*>(planes.data);
        for (int i = 0; i < count(); ++i) to[i % channels * plane + i / channels] = values()[i];
    }

    testing::AssertionResult exact(const std::vector<Pair>& levels, const u8* lut) {
        const int channels = pixels.channels;
        Pair pairs[3];
        for (int c = 0; c < channels; ++c) {
            for (TestImage* image : {&pixels, &planes}) setLevels(*image, c, levels[c]);
            pairs[c] = readPair(GetBound(&pixels), c, type);
        }
        Bytes wanted(count());
        for (int i = 0; i < count(); ++i) {
            const Pair& pair = pairs[i % channels];
            wanted[i] = lut ? throughTable(values()[i], pair, lut + 512 * (i % channels), type)
                            : throughLevels(values()[i], pair);
        }
        const View view{0, 0, pixels.width, pixels.height, channels * pixels.width, lut};
        for (TestImage* image : {&pixels, &planes}) {
            if (const auto result = same(mapped(*image, view), wanted); !result) {
                std::string text = lut ? "table" : "no table";
                for (int c = 0; c < channels; ++c)
                    text += ", " + std::to_string(pairs[c].first) + " to " + std::to_string(pairs[c].second);
                return testing::AssertionFailure() << result.message() << ": type " << type << ", " << text;
            }
            if (channels == 1) break;
        }
        return testing::AssertionSuccess();
    }
};

TEST(Exactness, EveryWindowOfBytesWithAndWithoutTables) {
    Random random(1);
    const Bytes table = random.bytes(3 * 512);
    Shown<u8> grey(293, 1, 1, DataUInt8), colour(293, 1, 3, DataUInt8);
    for (int i = 0; i < grey.count(); ++i) grey.values()[i] = u8(i);
    for (int i = 0; i < colour.count(); ++i) colour.values()[i] = u8(i / 3 + i % 3 * 85);
    colour.split();
    std::vector<Pair> windows;
    for (int i = 0; i < 65536; ++i) {
        const Pair pair(i / 256, i % 256);
        if (pair.first < pair.second) windows.push_back(pair);
        if (kSlow && i % 8) continue;
        ASSERT_TRUE(grey.exact({pair}, nullptr));
        if (i % 16 == 0) {
            ASSERT_TRUE(grey.exact({pair}, table.data()));
        }
    }
    // Every window in every channel, beside two others.
    const int n = int(windows.size());
    for (int i = 0; i < n; i += kSlow ? 8 : 1)
        ASSERT_TRUE(
            colour.exact({windows[i], windows[(7919 * i + 11) % n], windows[(10007 * i + 5) % n]}, nullptr));
    for (int round = 0; round < 1000; ++round) {
        std::vector<Pair> any(3);
        for (Pair& pair : any) pair = {random(0, 255), random(0, 255)};
        ASSERT_TRUE(colour.exact(any, round % 2 ? table.data() : nullptr));
    }
}

TEST(Exactness, EveryValueOf16BitsThroughManyLevels) {
    Random random(2);
    const Bytes table = random.bytes(3 * 512);
    const auto check = [&]<class T>(T, int type) {
        Shown<T> grey(4096, 16, 1, type), colour(1285, 17, 3, type);
        for (int i = 0; i < grey.count(); ++i) grey.values()[i] = T(i);
        for (int i = 0; i < colour.count(); ++i) colour.values()[i] = T(i);
        colour.split();
        const int low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
        std::vector<Pair> pairs = {{low, high}, {low + 1, high}, {low, high - 1}, {100, 101}, {100, 100},
                                   {90, 20},    {3, 250},        {high, low + 5}, {0, 32767}, {0, 255}};
        for (int i = 0; i < (kSlow ? 20 : 160); ++i) {
            const int start = random(low, high);
            pairs.emplace_back(start, i % 2 ? random(low, high) : std::min(high, start + random(1, 999)));
        }
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            for (const u8* lut : {static_cast<const u8*>(nullptr), table.data()}) {
                ASSERT_TRUE(grey.exact({pairs[i]}, lut));
                if (i % 3 == 0) {
                    ASSERT_TRUE(colour.exact({pairs[i], pairs[i / 2], pairs[pairs.size() - 1 - i]}, lut));
                }
            }
        }
    };
    check(std::uint16_t{}, DataUInt16);
    check(std::int16_t{}, DataInt16);
}

TEST(Exactness, FloatsOfAllKindsThroughManyLevels) {
    Random random(3);
    const Bytes table = random.bytes(3 * 512);
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::vector<Pair> pairs = {{0, 255},        {0, 1},          {-1, 1},       {0, 0.3},
                                     {-300, -299.75}, {1e-3, 250.125}, {-3e4, 70001}, {0.25, 3e38},
                                     {7, 7},          {9, -9},         {1e-30, 3e-29}};
    Shown<float> grey(3063, 21, 1, DataFloat), colour(1023, 21, 3, DataFloat);
    std::uint32_t pattern = 1;  // meets all bits before it repeats; odd images, so that either half does
    for (int round = 0; round < (kSlow ? 44 : 440); ++round) {
        Shown<float>& image = round % 4 ? grey : colour;
        const std::size_t k = std::size_t(round) % pairs.size();
        const auto [black, white] = pairs[k];
        float* values = image.values();
        // Any bits, a little beyond the levels, or far; without the first, nothing is too large for an
        // integer.
        const bool hasAll = round / 4 % 2;
        for (int i = 0; i < image.count(); ++i) {
            pattern += 0x9E3779B9u;
            const double share = (pattern * 0x1.2p-32 - 0x1p-4) * (i % 4999 ? i % 16 ? 1 : 100 : 1e30);
            values[i] =
                hasAll && i % 2 ? std::bit_cast<float>(pattern) : float(black + (white - black) * share);
        }
        std::copy_n(std::begin({std::nanf(""), infinity, -infinity, -0.0f, 1e-40f, -1e-40f, 3e38f, -3e38f}),
                    8, values);
        for (int i = 0; i < 3; ++i) values[20 + i] = float(black), values[23 + i] = float(white);
        image.split();
        for (const u8* lut : {static_cast<const u8*>(nullptr), table.data()})
            ASSERT_TRUE(image.exact({pairs[k], pairs[(k + round / 11) % 8], pairs[(k + 5) % 8]}, lut));
    }
}

// Levels further apart than floats reach.
TEST(Exactness, LevelsOfImmenseWidth) {
    constexpr double most = std::numeric_limits<float>::max();
    Random random(4);
    const Bytes table = random.bytes(3 * 512);
    const std::vector<Pair> pairs = {{-most, most}, {-3e38, 2e38}, {-1e38, 3e38}};
    Shown<float> grey(501, 3, 1, DataFloat), colour(501, 3, 3, DataFloat);
    for (Shown<float>* image : {&grey, &colour}) {
        for (int i = 0; i < image->count(); ++i)
            image->values()[i] = float(most * (random(-65535, 65535) / 65535.0));
        std::copy_n(std::begin({std::nanf(""), HUGE_VALF, -HUGE_VALF, 0.0f, 3e38f, -3e38f}), 6,
                    image->values());
        image->split();
        for (std::size_t k = 0; k < pairs.size(); ++k)
            for (const u8* lut : {static_cast<const u8*>(nullptr), table.data()})
                ASSERT_TRUE(image->exact({pairs[k], pairs[(k + 1) % 3], k ? pairs[0] : Pair(0, 1)}, lut));
    }
    // Luminance and differences, in eighths of their limits.
    TestImage yuv({9, 9, 3, DataFloat, true, SubYuv});
    for (int i = 0; i < 81; ++i)
        for (const int c : {0, 1, 2}) yuv.put(i % 9, i / 9, c, most * ((c == 2 ? i / 9 : i % 9) / 4.0 - 1));
    const Pair levels[] = {{-most, most}, {-most, most}, {-most, most}};
    for (int c = 0; c < 3; ++c) setLevels(yuv, c, levels[c]);
    const Bytes shown = mapped(yuv, {0, 0, 9, 9, 27});
    for (int i = 0; i < 81; ++i) {
        const double y = i % 9 * 255 / 8.0, u = (i % 9 - 4) * 127.5 / 4, v = (i / 9 - 4) * 127.5 / 4;
        const u8 wanted[] = {clampToByte(y + 1.77304 * u), clampToByte(y - 0.34437 * u - 0.714407 * v),
                             clampToByte(y + 1.402581 * v)};
        for (int c = 0; c < 3; ++c) ASSERT_NEAR(shown[3 * i + c], wanted[c], 1) << i;
    }
}

TEST(Exactness, EveryYuvPixelOfStandardLevels) {
    TestImage pixels({1024, 64, 3, DataUInt8, true, SubYuv}), planes({1024, 64, 3, DataUInt8, false, SubYuv});
    const Pair levels[] = {{0, 255}, {-128, 127}, {-128, 127}};
    for (TestImage* image : {&pixels, &planes})
        for (int c = 0; c < 3; ++c) setLevels(*image, c, levels[c]);
    Bytes wanted(3 * 65536);
    for (int v = -128; v < 128; v += kSlow ? 4 : 1) {  // 44 among them, whose greens lie closest to a step
        for (int i = 0; i < 65536; ++i) {
            const int values[] = {i % 256, i / 256 - 128, v};
            for (int c = 0; c < 3; ++c) pixels.data[3 * i + c] = planes.data[65536 * c + i] = u8(values[c]);
            const double pixel[] = {double(values[0]), double(values[1]), double(v)};
            showYuv(&wanted[3 * i], pixel, levels, nullptr, DataUInt8);
        }
        const View view{0, 0, 1024, 64, 3072};
        ASSERT_TRUE(same(mapped(pixels, view), wanted)) << v;
        ASSERT_TRUE(same(mapped(planes, view), wanted)) << v;
    }
}

}  // namespace
