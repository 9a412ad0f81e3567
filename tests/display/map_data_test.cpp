// The way from elements to bitmap bytes against a naive reference: wrong rounding at the levels, wrong
// signedness, wrong strides of a layout or crop, bytes written outside the rectangle's rows, colour shifted
// by the windows.
#include "pzel/display/map_data.h"

#include <gtest/gtest.h>

#include "tests/support/display_reference.h"

namespace {

using namespace test;

TEST(MapData, LeavesOutWhatLiesOutsideTheImage) {
    Random random(7);
    for (int round = 0; round < 600; ++round) {
        const int channels = random.pick({1, 3}), pixel = channels, type = random.pick({1, 2, 5, 8});
        TestImage image({random(1, 9), random(1, 6), type == DataBit ? 1 : channels, type, random.coin()});
        image.randomise(random);
        SetDefaultBound(&image);
        const View view{random(-9, 12), random(-9, 9), random(0, 14), random(0, 9), 64};
        Bytes wanted(64 * view.height, Guarded::fill);
        for (int y = 0; y < view.height; ++y) {
            if (type == DataBit && y < image.height)
                std::memcpy(&wanted[64 * y], image.data + y * image.rowBytes, image.rowBytes);
            for (int x = 0; x < view.width && type != DataBit; ++x) {
                const int fromX = view.x0 + x, fromY = view.y0 + y;
                if (fromX < 0 || fromY < 0 || fromX >= image.width || fromY >= image.height) continue;
                const Bytes one = mapped(image, {fromX, fromY, 1, 1, pixel});
                std::copy(one.begin(), one.end(), &wanted[64 * y + pixel * x]);
            }
        }
        ASSERT_TRUE(same(mapped(image, view), wanted)) << type << " at " << view.x0 << ',' << view.y0;
    }
}

TEST(MapData, YuvOfAnyLevels) {
    Random random(4);
    const Bytes table = random.bytes(3 * 512);
    for (int round = 0; round < 128; ++round) {
        TestImage image({97, 64, 3, random.pick({DataUInt8, DataInt8}), random.coin(), SubYuv});
        image.randomise(random);
        // Every end at its standard place or one step beside it, or anywhere.
        const auto end = [&](int bit, int standard, int step, int anywhere) {
            return round < 64 ? standard + (round >> bit & 1 ? step : 0) : anywhere;
        };
        setLevels(image, 0, {end(0, 0, 1, 16), end(1, 255, -1, random(17, 235))});
        for (const int c : {1, 2}) setLevels(image, c, {-1, end(1 + c, 127, -1, random(1, 127))});
        const View view{0, 0, 97, 64, 291, round & 16 ? table.data() : nullptr};
        ASSERT_TRUE(same(mapped(image, view),
                         mappedSlowly(image, view, Bytes(view.rowBytes * view.height, Guarded::fill))))
            << round;
    }
}

TEST(MapData, CopiesWholeRowsOfBitsAndLeavesAloneWhatCannotBeShown) {
    Random random(5);
    TestImage bits({37, 6, 1, DataBit, true});
    bits.randomise(random);
    Bytes expected(8 * 4, Guarded::fill);
    for (int i = 0; i < 20; ++i) expected[i / 5 * 8 + i % 5] = bits.data[i];
    EXPECT_EQ(mapped(bits, {9, 2, 3, 4, 8, nullptr, 0x40}), expected) << "the rectangle does not count";
    for (int rowBytes = 1; rowBytes < 5; ++rowBytes) {
        Bytes narrow;
        for (int y = 0; y < 4; ++y)
            narrow.insert(narrow.end(), bits.data + 5 * y, bits.data + 5 * y + rowBytes);
        EXPECT_EQ(mapped(bits, {0, 0, 8 * rowBytes, 4, rowBytes}), narrow) << "as much as a row holds";
    }
    for (const Shape& shape : {Shape{5, 4, 1, 0},
                               {5, 4, 3, 6},
                               {5, 4, 1, 7},
                               {5, 4, 1, 9},
                               {5, 4, 2, 2},
                               {5, 4, 4, 4},
                               {5, 4, 0, 1}}) {
        TestImage image(shape);
        EXPECT_EQ(mapped(image, {0, 0, 5, 4, 16}), Bytes(64, Guarded::fill))
            << shape.type << ' ' << shape.channels;
    }
}

// Colour through windows of hue, saturation and intensity.
struct Windows : testing::TestWithParam<std::pair<int, bool>> {
    static constexpr View view{1, 2, 60, 38, 180};
    int type = GetParam().first;
    TestImage image{{61, 40, 3, type, GetParam().second}};

    void fill(bool grey) {
        Random random(6);
        const auto [low, high] = rangeOf(type);
        for (int i = 0; i < 61 * 40; ++i) {
            for (int c = 0; c < 3; ++c) {
                const double share = i % 61 < 9 ? i >> c & 1 : random(0, 65535) / 65535.0;
                const double v = grey && c ? image.at(i % 61, i / 61, 0) : low + (high - low) * share;
                image.put(i % 61, i / 61, c, std::floor(v));
            }
        }
        SetDefaultBound(&image);
    }
    void expectNear(const Bytes& a, const Bytes& b, bool grey) {
        for (std::size_t i = 0; i < a.size(); ++i) {
            ASSERT_NEAR(a[i], b[i], 2) << i;
            ASSERT_TRUE(!grey || a[i] == a[i / 3 * 3]) << i;
        }
    }
};

TEST_P(Windows, ShowWhatTheDataBoundShowsOfGreyAndAtFullRangeOfColour) {
    Bytes inverted(3 * 512);
    for (int i = 0; i < 3 * 512; ++i) inverted[i] = u8(i < 512 ? 255 - i / 2 : i % 512 / 2);
    for (int round = 0; round < 3; ++round) {
        const bool grey = round > 0;
        fill(grey);
        const auto [low, high] = rangeOf(type);
        const Pair window{std::floor(low + (high - low) / 4), std::floor(low + (high - low) * 0.7)};
        for (int c = 0; c < 3 && round == 2; ++c) image.setPair(c, window);
        const Bytes plain = mapped(image, view);
        SwitchBoundType(&image, BoundData, BoundHsi);
        expectNear(mapped(image, view), plain, grey);
        Bytes negative = mapped(image, {1, 2, 60, 38, 180, inverted.data()});
        for (u8& v : negative) v = u8(255 - v);
        if (grey) expectNear(negative, plain, grey);
        SetBoundType(&image, BoundData);
    }
}

TEST_P(Windows, SaturationBelowItsWindowIsGreyAndAnEqualHueWindowChangesNothing) {
    fill(false);
    SwitchBoundType(&image, BoundData, BoundHsi);
    const Bytes before = mapped(image, view);
    const double full = GetHSIFullScale(u8(type));
    const int stored = unsignedOf(type);
    writePair(GetHSIBound(&image), 2, stored, {1, 1});
    expectNear(mapped(image, view), before, false);
    writePair(GetHSIBound(&image), 1, stored, type == DataFloat ? Pair(1.5, 2) : Pair(full - 1, full));
    const Bytes shown = mapped(image, view);
    SetBoundType(&image, BoundData);
    Guarded alone(shown.size());
    MapDataHSI(alone.data(), u16(view.rowBytes), u16(view.width), u16(view.height), &image, 1, 2, nullptr);
    ASSERT_EQ(alone.bytes(), shown) << "whatever bound is selected";
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const u8* p = &before[i / 3 * 3];
        const bool pure = std::min({p[0], p[1], p[2]}) < 3;  // as saturated as the window's end
        ASSERT_NEAR(shown[i], pure ? shown[i] : (p[0] + p[1] + p[2]) / 3.0, 3) << i;
    }
}

const std::pair<int, bool> windowed[] = {{2, true}, {2, false}, {4, true}, {5, false}, {8, true}, {8, false}};
INSTANTIATE_TEST_SUITE_P(MapData, Windows, testing::ValuesIn(windowed));

}  // namespace
