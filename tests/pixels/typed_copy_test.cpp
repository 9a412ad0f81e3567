// Rectangle copies against a slow reference: wrong clipping, strides or borders, a method chosen or rounded
// wrongly, bits beside the rectangle changed, pictures that change their look between colour models.
#include "pzel/pixels/typed_copy.h"

#include <gtest/gtest.h>

#include <bit>

#include "pzel/display/map_data.h"
#include "tests/support/copy_reference.h"

namespace {

using namespace test;

Rect randomRect(Random& random, int reach) {
    const auto origin = [&] { return random(-4, reach); };
    return {origin(), origin(), origin(), origin(), random(-1, 24), random(-1, 15)};
}

void copy(TestImage& src, TestImage& dst, const Rect& r) {
    CopyImage(&src, &dst, r.sx, r.sy, r.dx, r.dy, r.w, r.h, u16(r.mode));
}

// Pairs of both images: none (kind 0), equal ones (1), shifted ones (2), or any (3).
void setPairs(Random& random, TestImage& src, TestImage& dst, int kind) {
    for (int c = 0; c < std::max(src.channels, dst.channels) && kind > 0; ++c) {
        const int low = random(0, 60), width = random(1, 40), shift = kind == 2 ? random(1, 27) : 0;
        for (TestImage* image : {&src, &dst}) {
            if (c >= image->channels || image->type() == DataBit || wide(image->type())) continue;
            const Pair range = rangeOf(image->trueType(c));
            const int a = random(int(range.first), int(range.second) - 1),
                      b = random(a + 1, int(range.second));
            const int start = low + (image == &dst ? shift : 0);
            image->setPair(c, kind == 3 ? Pair(a, b) : Pair(start, start + width));
        }
    }
}

TEST(TypedCopy, AllTypesLayoutsChannelsRectanglesAndBorders) {
    Random random(11);
    for (int round = 0; round < 64 * 160; ++round) {
        const int sType = 1 + round % 8, dType = 1 + round / 8 % 8, kind = round / 64 % 4,
                  sub = random.pick({0, 1, 0x42});
        const bool bits = sType == DataBit && dType == DataBit,
                   converts = sType != dType && !wide(sType) && !wide(dType);
        const int sChannels = random(1, bits ? 2 : 4),
                  dChannels = converts || (sType == dType && !bits) ? random(1, 4) : sChannels;
        const bool sTogether = bits || random.coin(), dTogether = bits || random.coin();
        TestImage src({random(1, 30), random(1, 12), sChannels, sType, sTogether, sub});
        const Shape shape{random(1, 30), random(1, 12), dChannels, dType, dTogether, sub};
        TestImage dst(shape), expected(shape);
        src.randomise(random);
        dst.randomise(random);
        std::memcpy(expected.data, dst.data, dst.pixels.size());
        if (sType == DataFloat)
            src.put(0, 0, 0, (kind - 1) / 2 == 0 && kind && dType != DataBit ? std::nan("") : HUGE_VAL);
        setPairs(random, src, dst, kind);
        for (int c = 0; c < dChannels && dst.bound; ++c) expected.setPair(c, dst.pair(c));
        Rect r = randomRect(random, 12);
        if (random.coin()) r.mode = random(0, 5) | random(0, 15) << 4;
        // What stands beside an untreated strip in a repeated row is not promised.
        if ((r.mode & 15) == CopyBorderFill && r.mode & CopySkipRight) r.mode |= CopySkipBottom;
        copySlowly(src, expected, r);
        copy(src, dst, r);
        ASSERT_TRUE(dst.pixels.intact());
        ASSERT_EQ(dst.pixels.bytes(), expected.pixels.bytes())
            << sType << " to " << dType << " channels " << sChannels << " to " << dChannels << " sub " << sub
            << " pairs " << kind << " rect " << r.sx << ',' << r.sy << ' ' << r.dx << ',' << r.dy << ' '
            << r.w << 'x' << r.h << " mode " << r.mode;
    }
}

// Pairs whose ends come out exact take a shorter way than others.
TEST(TypedCopy, EveryValueBetweenManyPairs) {
    Random random(12);
    for (int round = 0; round < 8 * (kSlow ? 6 : 40); ++round) {
        const int kind = round % 8, sType = kind < 4 ? 4 + kind / 2 : int(DataFloat),
                  dType = kind < 4 ? 2 + kind % 2 : kind - 2;
        TestImage src({256, 256, 1, sType, true, SubGrey}), dst({256, 256, 1, dType, true, SubGrey});
        const auto pairOf = [&](Pair range, bool whole) {
            const double low = random(int(range.first), int(range.second) - 1);
            if (whole) return Pair(low, random(int(low) + 1, int(range.second)));
            return Pair(low, std::min(range.second, low + random(1, 2000)));
        };
        Pair s = pairOf(sType == DataFloat ? Pair(-3000, 3000) : rangeOf(sType), round & 8);
        if (sType == DataFloat && round & 16) s = {s.first / 7, s.second / 3 + 1200};
        src.setPair(0, s), dst.setPair(0, round & 32 ? rangeOf(dType) : pairOf(rangeOf(dType), round & 64));
        std::uint32_t pattern = unsigned(round);
        const bool hasAll = round / 8 % 3;  // or else few large floats
        for (int i = 0; i < 65536; ++i) {
            pattern += 0x9E3779B9u;
            const double share = (pattern * 0x1.2p-32 - 0x1p-4) * (i % 4999 ? i % 16 ? 1 : 100 : 1e30);
            const float near = float(s.first + (s.second - s.first) * share);
            const float value = hasAll && i % 2 ? std::bit_cast<float>(pattern) : near;
            sType == DataFloat ? std::memcpy(src.data + 4 * i, &value, 4)
                               : std::memcpy(src.data + 2 * i, &i, 2);
        }
        const Pair from = src.pair(0), to = dst.pair(0);
        const bool shift = from.second - from.first == to.second - to.first;
        Bytes wanted(dst.pixels.size());
        for (int i = 0; i < 65536; ++i)
            writeElement(&wanted[i * dst.bytes()], dType,
                         convert(readElement(src.data + i * src.bytes(), sType), shift, from, to, dType));
        copy(src, dst, {0, 0, 0, 0, 256, 256});
        ASSERT_TRUE(same(dst.pixels.bytes(), wanted))
            << sType << " to " << dType << ": " << from.first << " ... " << from.second << " to " << to.first
            << " ... " << to.second;
    }
}

TEST(TypedCopy, LayoutsChangeAtEveryWidth) {
    Random random(15);
    for (int round = 0; round < 131 * 6; ++round) {
        const int width = round / 6, type = round % 3 * 2 + random(2, 3);  // 1, 2, 4 bytes
        const Rect r{random(0, 3), random(0, 2), random(0, 3), random(0, 2), width, 3};
        TestImage src({r.sx + width + random(0, 2), r.sy + 3, 3, type, round % 6 < 3});
        const Shape shape{r.dx + width + random(0, 2), r.dy + 3, 3, type, round % 6 >= 3};
        TestImage dst(shape), expected(shape);
        random.fill(src.data, src.pixels.size());
        copySlowly(src, expected, r);
        copy(src, dst, r);
        ASSERT_TRUE(dst.pixels.intact());
        ASSERT_TRUE(same(dst.pixels.bytes(), expected.pixels.bytes()))
            << "width " << width << " type " << type;
    }
}

TEST(TypedCopy, LargeOnesAreTheirParts) {
    Random random(16);
    for (int round = 0; round < 24; ++round) {
        const int sType = random.pick({DataUInt8, DataUInt16, DataFloat}),
                  dType = sType == DataUInt8 ? DataFloat : DataUInt8, width = round % 2 ? 5000 : 90,
                  height = round % 2 ? 3 : 300, sub = random.pick({SubColour, SubYuv});
        TestImage src({width, height, 3, sType, round % 3 != 0, sub});
        const Shape shape{width + 3, height + 2, 3, dType, round % 3 != 1, sub};
        TestImage whole(shape), parts(shape);
        src.randomise(random);
        for (int c = 0; c < 3; ++c) src.setPair(c, {random(0, 9), random(99, 120)});
        const Rect all{1, 1, 2, 1, width - 1, height - 1};
        copy(src, whole, all);
        for (int y = 0; y < all.h; ++y)
            for (int x = 0; x < all.w; x += 500)
                copy(src, parts,
                     {all.sx + x, all.sy + y, all.dx + x, all.dy + y, std::min(500, all.w - x), 1});
        ASSERT_TRUE(whole.pixels.intact());
        ASSERT_TRUE(same(whole.pixels.bytes(), parts.pixels.bytes())) << sType << " to " << dType;
    }
}

// Codes without elements are sized like bits; records may have no channels and no pixels.
TEST(TypedCopy, RecordsWithoutElementsChannelsOrPixelsGiveNothing) {
    Random random(16);
    for (int round = 0; round < 16 * 16 * 20; ++round) {
        const auto shape = [&](int type) {
            return Shape{random(1, 30), random(1, 12), random(0, 4),
                         type,          random.coin(), random.pick({0, 1, 3, 0x42})};
        };
        TestImage src(shape(round % 16)), dst(shape(round / 16 % 16));
        src.randomise(random);
        dst.randomise(random);
        u8* const pixels = src.data;
        if (round % 9 == 0) src.data = nullptr;
        const Bytes before = dst.pixels.bytes();
        const auto hasElements = [](const TestImage& image) {
            return image.type() % 9 > 0 && image.type() < 9;
        };
        const bool nothing = !src.data || src.channels == 0 || dst.channels == 0 ||
                             (src.imageType != dst.imageType && !(hasElements(src) && hasElements(dst)));
        copy(src, dst, randomRect(random, 12));
        src.data = pixels;
        ASSERT_TRUE(dst.pixels.intact());
        ASSERT_TRUE(!nothing || same(dst.pixels.bytes(), before)) << src.type() << " to " << dst.type();
    }
}

// Pairs further apart than floats reach give what exact arithmetic does.
TEST(TypedCopy, PairsOfImmenseWidth) {
    constexpr double most = std::numeric_limits<float>::max();
    Random random(17);
    for (const Pair& immense : {Pair(-most, most), Pair(-3e38, 2e38), Pair(-2e38, 3e38), Pair(3e38, -3e38)}) {
        for (const int type : {DataUInt8, DataInt8, DataUInt16, DataInt16}) {
            for (const Pair& small : {rangeOf(type), Pair(3, 101)}) {
                const auto scaled = [](double v, Pair from, Pair to) {
                    if (v < from.first) return to.first;
                    if (v > from.second) return to.second;
                    return (v - from.first) * (to.second - to.first) / (from.second - from.first) + to.first;
                };
                TestImage floats({300, 2, 1, DataFloat, true, SubGrey}),
                    integers({300, 2, 1, type, true, SubGrey});
                for (int i = 0; i < 600; ++i) {
                    floats.put(i % 300, i / 300, 0, float(most * (random(-65535, 65535) / 65535.0)));
                    integers.put(i % 300, i / 300, 0,
                                 random(int(rangeOf(type).first), int(rangeOf(type).second)));
                }
                floats.put(0, 0, 0, HUGE_VAL), floats.put(1, 0, 0, -HUGE_VAL),
                    floats.put(2, 0, 0, std::nan(""));
                floats.put(3, 0, 0, immense.first), floats.put(4, 0, 0, immense.second),
                    floats.put(5, 0, 0, 0);
                floats.setPair(0, immense), integers.setPair(0, small);
                const auto check = [&](TestImage& src, TestImage& dst) {
                    TestImage shown({300, 2, 1, dst.type(), true, SubGrey});
                    shown.setPair(0, dst.pair(0));
                    copy(src, shown, {0, 0, 0, 0, 300, 2});
                    for (int i = 0; i < 600; ++i) {
                        const double v = src.at(i % 300, i / 300, 0);
                        double wanted = scaled(v, src.pair(0), dst.pair(0));
                        wanted = std::isnan(v)             ? std::clamp(0.0, small.first, small.second)
                                 : dst.type() == DataFloat ? double(float(wanted))
                                                           : std::trunc(wanted);
                        ASSERT_EQ(shown.at(i % 300, i / 300, 0), wanted) << v << ", type " << type;
                    }
                };
                check(floats, integers);
                check(integers, floats);
            }
        }
    }
}

TEST(TypedCopy, ColourModelsOfImmenseWidth) {
    constexpr double most = std::numeric_limits<float>::max();
    TestImage deep({256, 1, 1, DataFloat, true, SubGrey}), grey({256, 1, 1, DataUInt8, true, SubGrey});
    for (int x = 0; x < 256; ++x) deep.put(x, 0, 0, (x / 127.5 - 1) * most), grey.put(x, 0, 0, x);
    deep.setPair(0, {-most, most});
    grey.setPair(0, {0, 255});
    TestImage colour({256, 1, 3, DataUInt8, true, SubColour}),
        deepColour({256, 1, 3, DataFloat, true, SubColour});
    for (int c = 0; c < 3; ++c) colour.setPair(c, {0, 255}), deepColour.setPair(c, {-most, most});
    copy(deep, colour, {0, 0, 0, 0, 256, 1});
    copy(grey, deepColour, {0, 0, 0, 0, 256, 1});
    for (int i = 0; i < 3 * 256; ++i) {
        ASSERT_NEAR(colour.at(i / 3, 0, i % 3), i / 3, 0.5);
        ASSERT_NEAR(deepColour.at(i / 3, 0, i % 3) / most, deep.at(i / 3, 0, 0) / most, 1e-6);
    }
}

TEST(TypedCopy, NegativeCharModeTreatsNoBorderAndSubTypesNotSetAreTakenOver) {
    TestImage src({4, 4, 1, DataUInt8, true, SubGrey}), dst({9, 9, 1, DataUInt8, true, SubNotSet});
    for (const int mode : {-1, 1}) {
        CopyImage(&src, &dst, 0, 0, 2, 2, 4, 4, char(mode));
        EXPECT_EQ(dst.at(1, 2, 0), mode == 1 ? 0 : Guarded::fill);
        EXPECT_EQ(dst.imageType, SubGrey);
    }
}

// The picture in levels, blue-green-red; signed 8-bit pictures by their numbers, which the screen would
// misread.
std::vector<double> look(TestImage& image) {
    const int n = image.width * image.height, width = image.width, channels = image.channels;
    const bool byNumbers = image.type() == DataInt8 && image.imageType != SubYuv;
    Bytes rows(n * channels);
    MapData(rows.data(), u16(width * channels), image.width, image.height, &image, 0, 0, nullptr, 0);
    std::vector<double> levels(3 * n);
    for (int i = 0; i < 3 * n; ++i) {
        const int pixel = i / 3, c = i % channels;
        levels[i] = byNumbers ? image.at(pixel % width, pixel / width, c) + 128 : rows[pixel * channels + c];
    }
    return levels;
}

TEST(TypedCopy, ColourModelsLookAlike) {
    Random random(14);
    for (int round = 0; round < 100; ++round) {
        const int types[] = {2, 3, 4, 5, 8}, from = types[round % 5], to = types[round / 5 % 5];
        const bool a = round / 25 & 1, b = round / 25 & 2;
        TestImage colour({40, 30, 3, from, a, SubColour}), yuv({40, 30, 3, to, b, SubYuv}),
            back({40, 30, 3, from, !b, SubColour});
        TestImage grey({40, 30, 1, from, true, SubGrey}), greyOfColour({40, 30, 1, to, true, SubGrey}),
            greyOfYuv({40, 30, 1, from, true, SubGrey});
        TestImage colourOfGrey({40, 30, 3, to, b, SubColour}), yuvOfGrey({40, 30, 3, to, b, SubYuv});
        for (TestImage* image :
             {&colour, &yuv, &back, &grey, &greyOfColour, &greyOfYuv, &colourOfGrey, &yuvOfGrey})
            SetDefaultBound(image);
        const auto [low, high] = rangeOf(from);
        for (int i = 0; i < 3 * 1200; ++i) {
            const double share = i < 24 ? i / 3 >> i % 3 & 1 : random(0, 65535) / 65535.0;
            colour.put(i / 3 % 40, i / 120, i % 3, std::floor(low + (high - low) * share));
            grey.put(i / 3 % 40, i / 120, 0, colour.at(i / 3 % 40, i / 120, 0));
        }
        std::vector<double> picture = look(colour), luminance = picture;
        for (int i = 0; i < 3600; ++i) {
            const double* p = &picture[i / 3 * 3];
            luminance[i] = 0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2];
        }
        const auto expectLook = [&](TestImage& src, TestImage& dst, const std::vector<double>& expected,
                                    const char* what) {
            copy(src, dst, {0, 0, 0, 0, 40, 30});
            const std::vector<double> levels = look(dst);
            double worst = 0;
            for (int i = 0; i < 3600; ++i) worst = std::max(worst, std::fabs(levels[i] - expected[i]));
            EXPECT_LE(worst, 2) << what << ' ' << from << ' ' << to << ' ' << a << b;
        };
        expectLook(colour, yuv, picture, "colour to YUV");
        expectLook(yuv, back, picture, "and back");
        expectLook(colour, greyOfColour, luminance, "colour to grey");
        expectLook(yuv, greyOfYuv, luminance, "YUV to grey");
        expectLook(grey, colourOfGrey, look(grey), "grey to colour");
        expectLook(grey, yuvOfGrey, look(grey), "grey to YUV");
    }
}

}  // namespace
