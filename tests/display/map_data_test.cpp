// The way from elements to bitmap bytes against a naive reference: wrong rounding at the levels, wrong
// signedness, wrong strides of a layout or crop, bytes written outside the rectangle's rows, colour shifted
// by the windows.
#include "pzel/display/map_data.h"

#include <gtest/gtest.h>

#include "tests/support/images.h"

namespace {

using namespace test;

int unsignedOf(int type) {
    return GetTrueDataType(true, 3, 0, u8(type));
}

u8 throughLevels(double v, Pair levels) {
    const auto [black, white] = levels;
    if (!(v > black)) return 0;
    if (v >= white) return 255;
    return u8(float(v - black) * (255.0f / float(white - black)) + 0.5f);
}

u8 throughTable(double v, Pair levels, const u8* lut, int type) {
    const auto [black, white] = levels;
    if (type == DataUInt8 && levels == Pair(0, 255)) return lut[2 * int(v)];
    if (type == DataUInt16 && levels == Pair(0, 65535)) return lut[int(v) >> 7];
    if (!(v > black)) return lut[0];
    return lut[v >= white ? 511 : int(float(v - black) * (511.0f / float(white - black)))];
}

u8 clampToByte(double v) {
    return u8(std::clamp(v, 0.0, 255.0));
}

// One blue-green-red pixel from luminance and colour differences; the limits are the whites of the latter.
void showYuv(u8* pixel, const double v[3], const Pair levels[3], const u8* lut, int type) {
    if (lut) {
        const auto difference = [&](int c) {
            const float limit = float(levels[c].second), size = float(std::fabs(v[c]));
            const float value = lut[512 * c + (size < limit ? int(size * (511.0f / limit)) : 511)];
            return v[c] < 0 ? -value : value;
        };
        const float y = throughTable(v[0], levels[0], lut, unsignedOf(type)), du = difference(1),
                    dv = difference(2);
        pixel[0] = clampToByte(y + 0.88652f * du);
        pixel[1] = clampToByte(y - 0.172185f * du - 0.357204f * dv);
        pixel[2] = clampToByte(y + 0.512905f * dv);
        return;
    }
    const auto difference = [&](int c) {
        const double limit = levels[c].second;
        if (std::fabs(v[c]) >= limit) return v[c] < 0 ? -127.5f : 127.5f;
        return float(v[c] + limit) * (127.5f / float(limit)) - 127.5f;
    };
    const auto [black, white] = levels[0];
    const float scaled = float(v[0] - black) * (255.0f / float(white - black));
    const float y = v[0] > black ? v[0] < white ? scaled : 255 : 0, du = difference(1), dv = difference(2);
    pixel[0] = clampToByte(y + 1.77304 * du);
    pixel[1] = clampToByte(y - 0.34437f * du - 0.714407f * dv);
    pixel[2] = clampToByte(y + 1.402581f * dv);
}

struct View {
    int x0, y0, width, height, rowBytes;
    const u8* lut = nullptr;
    int mode = 0;
};

bool isYuvColour(const TestImage& image, int mode) {
    return image.channels == 3 && mode == 0 && (image.imageType & 0xFF) == SubYuv;
}

// 8-bit data compare as unsigned, YUV colour has an unsigned luminance and signed differences, the rest
// follows its code.
int shownType(const TestImage& image, int channel, int mode) {
    if (isYuvColour(image, mode)) return GetTrueDataType(true, 3, channel, u8(image.type()));
    return image.type() == DataInt8 ? unsignedOf(DataInt8) : image.type();
}

Bytes reference(TestImage& image, const View& view) {
    Bytes rows(view.rowBytes * view.height, Guarded::fill);
    const bool yuv = (image.imageType & 0xFF) == SubYuv, colour = image.channels == 3 && view.mode == 0;
    const int order = view.mode % 64 ? 0 : view.mode / 64;
    const int alone = image.channels < 3 || order == 0 ? 0 : yuv ? order - 1 : 3 - order;
    Pair levels[3];
    int types[3];
    for (int c = 0; c < image.channels; ++c) {
        types[c] = shownType(image, c, view.mode);
        levels[c] = readPair(GetBound(&image), c, types[c]);
    }
    for (int i = 0; i < view.width * view.height; ++i) {
        const int x = i % view.width, y = i / view.width;
        u8* pixel = &rows[y * view.rowBytes + x * (colour ? 3 : 1)];
        double v[3];
        for (int c = 0; c < image.channels; ++c) v[c] = image.at(view.x0 + x, view.y0 + y, c, types[c]);
        if (colour && yuv) showYuv(pixel, v, levels, view.lut, image.type());
        for (int c = 0; c < (!colour ? 1 : yuv ? 0 : 3); ++c) {
            const int from = colour ? c : alone;
            pixel[c] = view.lut ? throughTable(v[from], levels[from], view.lut + 512 * c, types[from])
                                : throughLevels(v[from], levels[from]);
        }
    }
    return rows;
}

Bytes mapped(TestImage& image, const View& view) {
    Guarded rows(view.rowBytes * view.height);
    MapData(rows.data(), u16(view.rowBytes), u16(view.width), u16(view.height), &image, short(view.x0),
            short(view.y0), view.lut, u8(view.mode));
    EXPECT_TRUE(rows.intact());
    return rows.bytes();
}

void setLevels(TestImage& image, int channel, Pair levels, int mode = 0) {
    writePair(GetBound(&image), channel, shownType(image, channel, mode), levels);
    image.state |= StateBoundSet;
}

TEST(MapData, EveryIntegerAndEverySpecialFloatThroughEveryKindOfLevels) {
    Random random(1);
    const Bytes table = random.bytes(512);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double special[] = {std::nan(""), infinity, -infinity, 0.0, -0.0, 1e-40,   -1e-40,
                              3e38,         -3e38,    1,         -1,  0.5,  254.999, 255};
    for (const int type : {2, 3, 4, 5, 8}) {
        TestImage image({256, type < 4 ? 1 : 256, 1, type, true, SubGrey});
        const int shown = shownType(image, 0, 0);
        image.randomise(random);
        for (int i = 0; i < 256 * image.height && type != DataFloat; ++i)
            std::memcpy(image.data + i * image.bytes(), &i, image.bytes());
        for (int i = 0; i < 14 && type == DataFloat; ++i) image.put(i, 0, 0, special[i]);
        const int low = int(rangeOf(shown).first), high = int(rangeOf(shown).second);
        std::vector<Pair> pairs = {{low, high}, {low + 1, high}, {low, high - 1}, {100, 101},
                                   {100, 100},  {90, 20},        {3, 250},        {high, low + 5}};
        for (int i = 0; i < 12; ++i) pairs.emplace_back(random(low, high), random(low, high));
        if (type > 3) pairs.insert(pairs.end(), {{0, 32767}, {0, 255}});
        if (type == 8)
            pairs.insert(pairs.end(), {{0, 0.3}, {-1, 1}, {-300, -299.75}, {1e-3, 250.125}, {0.25, 3e38}});
        for (const Pair& levels : pairs) {
            setLevels(image, 0, levels);
            for (const u8* lut : {static_cast<const u8*>(nullptr), table.data()}) {
                if (lut && levels.first == 0 && levels.second <= 0) continue;
                const View view{0, 0, 256, image.height, 260, lut};
                ASSERT_EQ(mapped(image, view), reference(image, view))
                    << type << ' ' << levels.first << ' ' << levels.second;
            }
        }
    }
}

TEST(MapData, EveryTypeLayoutModeAndCrop) {
    Random random(3);
    const Bytes table = random.bytes(3 * 512);
    for (int round = 0; round < 2000; ++round) {
        const int type = random.pick({2, 3, 4, 5, 8}), sub = random.pick({0, 1, 3, 0xFF});
        const int width = random(0, 40), height = random(1, 5), channels = random.pick({1, 3, 3});
        const u8* lut = random.coin() ? table.data() : nullptr;
        const int mode = random.pick({0, 0, 0x40, 0x80, 0xC0, 0x20, 0x7F});
        const View view{random(0, 9), random(0, 5), width, height, 128, lut, mode};
        TestImage image({view.x0 + width + round % 3, view.y0 + height, channels, type, random.coin(), sub});
        image.randomise(random);
        const bool yuv = isYuvColour(image, view.mode);
        if (yuv && random.coin()) image.state |= StateHsiBound;  // counts for colour only
        if (!yuv && type == DataFloat && view.width) image.put(view.x0, view.y0, 0, std::nan(""));
        for (int c = 0; c < image.channels; ++c) {
            const bool difference = yuv && c > 0;
            const Pair range = rangeOf(shownType(image, c, view.mode));
            const int low = difference ? 1 : int(range.first), high = int(range.second);
            const bool common = round % 5 == 0 && (c < 2 || round % 2);
            const int a = common ? 40 : random(low, high), b = common ? 60 : random(low, high);
            const Pair any = difference ? Pair(-b, b) : Pair(std::min(a, b), std::max({a, b, 1}));
            setLevels(image, c, round % 3 || difference ? any : range, view.mode);
        }
        ASSERT_EQ(mapped(image, view), reference(image, view))
            << "type " << type << " sub " << sub << " mode " << mode << " channels " << channels << " width "
            << width;
    }
}

TEST(MapData, YuvOverALatticeOfAllLuminances) {
    Random random(4);
    const Bytes table = random.bytes(3 * 512);
    for (int round = 0; round < 8; ++round) {
        const bool whole = round & 1;
        TestImage image({256, 43 * 43, 3, round & 2 ? DataUInt8 : DataInt8, whole, SubYuv});
        for (int i = 0; i < 256 * 43 * 43; ++i) {
            const int v[] = {i % 256, i / 256 % 43 * 6 - 128, i / 256 / 43 * 6 - 126};
            for (int c = 0; c < 3; ++c) image.put(i % 256, i / 256, c, v[c], image.trueType(c));
        }
        setLevels(image, 0, whole ? Pair(0, 255) : Pair(16, 235));
        for (const int c : {1, 2}) setLevels(image, c, {-1, whole ? 127 : 40 * c});
        const View view{0, 0, 256, 43 * 43, 768, round & 4 ? table.data() : nullptr};
        ASSERT_TRUE(mapped(image, view) == reference(image, view)) << round;
    }
}

TEST(MapData, CopiesWholeRowsOfBitsAndLeavesAloneWhatCannotBeShown) {
    Random random(5);
    TestImage bits({37, 6, 1, DataBit, true});
    bits.randomise(random);
    Bytes expected(8 * 4, Guarded::fill);
    for (int i = 0; i < 20; ++i) expected[i / 5 * 8 + i % 5] = bits.data[i];
    EXPECT_EQ(mapped(bits, {9, 2, 3, 4, 8, nullptr, 0x40}), expected) << "the rectangle does not count";
    for (const Shape& shape :
         {Shape{5, 4, 1, 0}, {5, 4, 3, 6}, {5, 4, 1, 7}, {5, 4, 1, 9}, {5, 4, 2, 2}, {5, 4, 4, 4}}) {
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
