// Bound arrays: wrong ranges or signedness, entries written beyond the array, sections mixed up, conversions
// between element types and between data and HSI bounds that lose the range.
#include "pzel/bounds/bounds.h"

#include <gtest/gtest.h>

#include "pzel/bounds/min_max.h"
#include "tests/support/images.h"

namespace {

using namespace test;

// Unsigned 32-bit data compare as signed.
int comparedType(int type) {
    return type == DataUInt32 ? int(DataInt32) : type;
}
Pair bound(TestImage& image, int channel, int type) {
    return readPair(GetBound(&image), channel, type);
}

// The range of all elements (NaN aside), widened where it is a single value.
Pair dataRange(TestImage& image) {
    const int type = comparedType(image.type());
    Pair range{HUGE_VAL, -HUGE_VAL};
    for (int i = 0; i < image.pixels.size(); i += image.bytes()) {
        const double v = readElement(image.data + i, type);
        if (!std::isnan(v)) range = {std::min(range.first, v), std::max(range.second, v)};
    }
    if (range.first < range.second) return range;
    if (type == DataFloat && range.second > 1e10) return {float(range.first - 1), range.second};
    if (type != DataFloat && range.second == rangeOf(type).second) return {range.first - 1, range.second};
    return {range.first, range.second + 1};
}

TEST(ComputeBound, IsOneRangeOfAllElementsOrOfTheirMagnitudes) {
    Random random(21);
    for (int round = 0; round < 1400; ++round) {
        const int type = 2 + round % 7;
        TestImage image({random(1, 9), random(1, 4), random(1, 5), type, random.coin()});
        image.randomise(random);
        if (type == DataFloat && image.width > 1) image.put(1, 0, 0, std::nan(""));
        const bool constant = round % 3 == 0;
        const Pair limits = rangeOf(comparedType(type));
        const double v = round % 5 == 0 ? 1 : round % 2 ? limits.first : type == 8 ? 2e10 : limits.second;
        for (int i = 0; i < image.pixels.size() && constant; i += image.bytes())
            writeElement(image.data + i, comparedType(type), v);
        const Pair range = dataRange(image);
        u8 pair[8];
        MinMaxBound(&image, pair, pair + image.bytes());
        EXPECT_EQ(readPair(pair, 0, comparedType(type)), range) << type;
        ComputeBound(&image);
        for (int c = 0; c < image.channels; ++c)
            EXPECT_EQ(bound(image, c, comparedType(type)), type < 4 ? limits : range) << type << ' ' << c;
        EXPECT_EQ(image.state, StateBoundSet);
        // Nothing is promised for constants, magnitudes of the lowest value and values that read as negative.
        if (constant || (type == DataUInt32 && range.first < 0) || (type % 2 && range.first == limits.first))
            continue;
        ComputeVctBound(&image);
        const double largest = std::max(std::fabs(range.first), std::fabs(range.second));
        for (int c = 0; c < image.channels; ++c)
            EXPECT_EQ(bound(image, c, type), Pair(0, largest)) << type << ' ' << c;
    }
}

TEST(MinMax, FindsItsEndsAtAnyPlaceOfAnyLength) {
    Random random(20);
    for (int round = 0; round < 7 * 600; ++round) {
        const int type = 2 + round % 7, compared = comparedType(type), count = 1 + round / 7;
        TestImage image({count, 1, 1, type});
        const double middle = type % 2 || type > 5 ? 0 : 128;
        for (int x = 0; x < count; ++x) image.put(x, 0, 0, middle + random(-50, 50), compared);
        // NaN counts nowhere but at the start.
        for (int k = 0; k < count / 4 && type == DataFloat; ++k)
            image.put(random(1, count - 1), 0, 0, std::nan(""));
        image.put(random(0, count - 1), 0, 0, middle - 100, compared);
        image.put(random(0, count - 1), 0, 0, middle + 100.0, compared);
        u8 pair[8];
        MinMaxBound(&image, pair, pair + image.bytes());
        ASSERT_EQ(readPair(pair, 0, compared), dataRange(image)) << type << ", length " << count;
    }
}

// Planes stand where the record says, whatever lies between them.
TEST(MinMax, FindsPlanesThatAreFurtherApartThanTheirPixels) {
    Random random(25);
    for (int round = 0; round < 70; ++round) {
        const int type = 2 + round % 7, compared = comparedType(type), channels = random(2, 5);
        TestImage wide({random(8, 20), 3, channels, type});
        wide.randomise(random);
        wide.width = u16(random(1, 7));  // and the rows as long as before
        Pair range{HUGE_VAL, -HUGE_VAL};
        for (int c = 0; c < channels; ++c) {
            for (int i = 0; i < int(GetImageSize(&wide)); ++i) {
                const double v = readElement(GetImageData(&wide, c) + i * wide.bytes(), compared);
                range = {std::min(range.first, v), std::max(range.second, v)};
            }
        }
        u8 pair[8];
        MinMaxBound(&wide, pair, pair + wide.bytes());
        EXPECT_EQ(readPair(pair, 0, compared), range) << type;
    }
}

TEST(ComputeBound, ScansTheLuminanceAndDerivesTheDifferences) {
    Random random(22);
    for (int round = 0; round < 900; ++round) {
        const int type = random.pick({DataUInt16, DataInt16, DataFloat});
        const bool real = type == DataFloat, together = random.coin();
        const int first = real ? type : int(DataUInt16), other = real ? type : int(DataInt16);
        TestImage image({random(1, 3), random(real, 3), random(1, 5), type, together, SubYuv});
        image.randomise(random);
        if (round % 4 == 0) std::memset(image.data, round % 8 ? 0 : 0x41, image.pixels.size());
        // A value that lowers the minimum is not tested against the maximum; the interleaved scan steps three
        // elements whatever the number of channels, and ends with the data.
        const int step = together && image.channels > 1 ? 3 : 1;
        Pair range = real ? Pair(image.at(0, 0, 0), image.at(0, 0, 0)) : Pair(65535, 0);
        for (int i = 0; i < image.width * image.height; ++i) {
            const int place = i / image.width * image.rowBytes + i % image.width * step * image.bytes();
            if (place >= image.pixels.size()) continue;
            const double v = readElement(image.data + place, first);
            if (v < range.first)
                range.first = v;
            else if (v > range.second)
                range.second = v;
        }
        if (image.height && range.first == range.second)
            range = real ? Pair(range.first, range.first + 1) : Pair(0, 65535);
        ComputeBound(&image);
        EXPECT_EQ(bound(image, 0, first), range) << type << " channels " << int(image.channels);
        const double half = real ? range.second / 2 : std::floor(range.second / 2);
        for (int c = 1; c < image.channels; ++c)
            EXPECT_EQ(bound(image, c, other), Pair(-half, half)) << type << ' ' << c;
    }
    for (const int type : {DataUInt8, DataInt8}) {
        TestImage image({3, 3, 3, type, true, SubYuv});
        writePair(GetBound(&image), 0, DataUInt8, {7, 201});
        ComputeBound(&image);
        EXPECT_EQ(bound(image, 0, DataUInt8), type == DataUInt8 ? Pair(0, 255) : Pair(7, 201));
        EXPECT_EQ(bound(image, 2, DataInt8), type == DataUInt8 ? Pair(-128, 127) : Pair(-100, 100));
    }
}

TEST(CheckBound, RepairsEmptyAndInvertedPairsOnly) {
    for (int round = 0; round < 7 * 2 * 3 * 3 * 2; ++round) {
        const int type = 2 + round % 7, channels = round < 7 * 2 * 3 * 3 ? 3 : 1, c = round / 14 % channels;
        TestImage image({2, 2, channels, type, true, round / 7 % 2});
        // Signed 16-bit pairs of a first channel compare as unsigned in such sub types, also alone.
        const int compared =
            image.bytes() == 2 ? GetTrueDataType(round / 7 % 2, 3, c, u8(type)) : comparedType(type);
        const Pair fine = compared == DataUInt16  ? Pair(5, 60000)
                          : compared == DataUInt8 ? Pair(5, 200)
                                                  : Pair(-9, -5);
        const int kind = round / 42 % 3;
        const Pair pair = kind == 0 ? fine : kind == 1 ? Pair(7, 7) : Pair(8, 3);
        for (int other = 0; other < channels; ++other)
            writePair(GetBound(&image), other, comparedType(type), {1, 2});
        writePair(GetBound(&image), c, compared, pair);
        image.state = StateBoundSet;
        CheckBound(&image);
        Pair repaired = image.bytes() == 4 ? Pair(-2147385345, 2147385345) : rangeOf(compared);
        if (type == DataFloat) repaired = {0, 1};
        EXPECT_EQ(bound(image, c, compared), pair == fine ? fine : repaired) << type << ' ' << c;
        if (channels > 1) {
            EXPECT_EQ(bound(image, (c + 1) % 3, comparedType(type)), Pair(1, 2));
        }
        image.state = 0;
        CheckBound(&image);  // unset: computed
        EXPECT_EQ(image.state, StateBoundSet);
    }
}

TEST(BoundArray, SectionsAndFlagsForEveryChannelCount) {
    for (int round = 0; round < 255 * 8 * 4; ++round) {
        const int channels = 1 + round % 255, type = 1 + round / 255 % 8, sub = round / 255 / 8;
        TestImage image({3, 1, channels, type, channels % 2 == 0, sub});
        TestImage like({2, 2, 256 - channels, channels % 8 + 1, true, sub});
        const int bytes = DataBytes(u16(type)) * channels * 2;
        u8* data = GetBound(&image);
        ASSERT_TRUE((data == nullptr) == (type == DataBit) && GetBoundBytes(&image) == bytes);
        if (data) {
            u8 *spatial = channels < 3 ? data : data + bytes, *hsi = channels < 3 ? data : data + 2 * bytes;
            ASSERT_TRUE(GetSpatialBound(&image) == data + bytes && GetHSIBound(&image) == hsi);
            ASSERT_TRUE(GetBound(&image, BoundSpatial) == spatial && GetBound(&image, BoundHsi) == hsi);
            SetBoundType(&image, BoundSpatial);
            ASSERT_EQ(GetSelectedBound(&image), data);
            SetBoundType(&image, BoundHsi);
            SetBoundType(&image, 0x30);
            ASSERT_EQ(GetSelectedBound(&image), hsi);
            ASSERT_EQ(image.state, StateSpatialBound | StateHsiBound);
            SetBoundType(&image, BoundSpatial);
            ASSERT_EQ(GetBoundType(&image), BoundData);
        }
        SetDefaultSpatialBounds(&image);
        SetDefaultBound(&image);
        ASSERT_TRUE(!data || std::memcmp(data, data + bytes, bytes) == 0);
        for (int c = 0; c < 3 && channels > 2 && type > 1 && type < 6 && sub < 2; ++c)
            ASSERT_EQ(image.pair(c), rangeOf(image.trueType(c)));
        SwitchBoundType(&image, BoundData, BoundHsi);
        ASSERT_EQ(GetBoundType(&image), channels < 3 ? BoundData : BoundHsi);
        SwitchBoundType(&image, BoundHsi, BoundData);
        SetBound(&image, AnyType{}, AnyType{});
        CheckBound(&image);
        ComputeBound(&image);
        ComputeVctBound(&image);
        CopyBoundToSpatialBound(&image);
        ASSERT_TRUE(!data || std::memcmp(data, data + bytes, bytes) == 0);
        CopyBound(&like, &image);
        CopyBound(&image, &like);
    }
}

Pair convertPair(Pair p, int from, int to, Pair kept) {
    const auto flip = [low = int(rangeOf(to).first)](double v) { return low + ((int(v) + 128 - low) & 255); };
    if (from == to || comparedType(from) == DataInt32 || comparedType(to) == DataInt32) return kept;
    if (from == DataBit) return {0, 1};
    if (from == DataFloat) return rangeOf(to);
    if (from < 4 && to < 4) return {flip(p.first), flip(p.second)};
    if (from < 4 || to == DataFloat)
        return from == DataInt8 && to == DataUInt16 ? Pair(p.first + 128, p.second + 128) : p;
    const auto [low, high] = rangeOf(to);
    if (to < 4 && from == DataInt16 && low <= p.first && p.second <= high) return p;
    if (to < 4) return {low, low + std::min(p.second - p.first, 255.0)};
    return to == DataInt16 ? Pair(p.first - 32768, p.second - 32768)
                           : Pair(p.first + 32768, p.second + 32768);
}

TEST(CopyBound, ConvertsPairsBetweenTypes) {
    Random random(23);
    for (int round = 0; round < 6000; ++round) {
        const int from = 1 + round % 8, to = 2 + round / 8 % 7, sub = random.pick({0, 1, 3});
        TestImage src({2, 2, 3, from, true, sub}), dst({2, 2, 3, to, true, random.coin() ? sub : 0xFF});
        for (int c = 0; c < 3; ++c) {
            writePair(GetBound(&dst), c, to, {3, 4});
            const auto [low, high] = rangeOf(src.trueType(c));
            const int a = random(int(low), int(std::min(2e9, high)) - 1);
            src.setPair(c, {a, std::min<double>(high, a + random(0, round % 2 ? 300 : 70000))});
        }
        CopyBound(&dst, &src);
        EXPECT_EQ(dst.imageType, sub);
        EXPECT_EQ(dst.state, from == to ? 0 : StateBoundSet);
        for (int c = 0; c < 3; ++c) {
            const Pair p = from == DataBit ? Pair() : src.pair(c);
            const Pair expected = from == to ? p : convertPair(p, src.trueType(c), dst.trueType(c), {3, 4});
            ASSERT_EQ(dst.pair(c), expected) << from << " to " << to << " channel " << c << " sub " << sub;
        }
        if (from == to) continue;
        ASSERT_EQ(std::memcmp(GetBound(&dst), GetSpatialBound(&dst), GetBoundBytes(&dst)), 0);
        const Bytes hsi(GetHSIBound(&dst), GetHSIBound(&dst) + GetBoundBytes(&dst));
        SwitchBoundType(&dst, BoundData, BoundHsi);
        ASSERT_TRUE(sub != 0 || std::memcmp(hsi.data(), GetHSIBound(&dst), hsi.size()) == 0) << to;
    }
    TestImage colour({2, 2, 3, DataUInt16, true}), yuv({2, 2, 3, DataUInt8, true, SubYuv});
    CopyBound(&yuv, &colour);
    EXPECT_EQ(yuv.pair(1), Pair(-128, 127)) << "other sub types get defaults";
    EXPECT_EQ(yuv.state, StateBoundSet | StateBoundDefault);
}

TEST(SwitchBoundType, KeepsRangesOnTheWayThroughIntensity) {
    Random random(24);
    for (int round = 0; round < 1000; ++round) {
        const int type = random.pick({2, 3, 4, 5, 8}), stored = GetTrueDataType(true, 3, 0, u8(type));
        const double tolerance = type == DataFloat ? 1e-3 : 1.01,
                     full = type == 8 ? 1 : rangeOf(stored).second;
        const int low = int(rangeOf(type).first), high = int(rangeOf(type).second);
        const bool whole = round % 4 == 0, common = round % 2 == 0;
        TestImage image({1, 1, 3, type, true});
        SetDefaultBound(&image);
        Pair mean{0, 0}, pair = rangeOf(type), scale = pair;
        if (round % 4 == 1)
            scale = {std::floor(low / 2.0), std::floor(high / 2.0)};  // values beyond it are clamped
        for (int c = 0; c < 3; ++c) {
            const int a = random(low, high - 1), b = random(a + 1, high);
            if (!whole && (c == 0 || !common)) pair = {a, b};
            image.setPair(c, pair);
            writePair(GetSpatialBound(&image), c, type, scale);
            mean.first += (std::clamp(pair.first, scale.first, scale.second) - scale.first) / 3;
            mean.second += (std::clamp(pair.second, scale.first, scale.second) - scale.first) / 3;
        }
        SwitchBoundType(&image, 0x77, BoundHsi);
        const u8* hsi = GetHSIBound(&image);
        EXPECT_NEAR(readPair(hsi, 0, stored).first, mean.first, tolerance) << type;
        EXPECT_NEAR(readPair(hsi, 0, stored).second, mean.second, whole ? 0 : tolerance) << type;
        EXPECT_EQ(readPair(hsi, 1, stored), Pair(0, full));
        EXPECT_EQ(readPair(hsi, 2, stored), Pair(0, type == DataFloat ? 6.2831855f : full));
        SwitchBoundType(&image, BoundHsi, BoundData);
        for (int c = 0; c < 3 && common; ++c) {
            EXPECT_NEAR(image.pair(c).first, pair.first, 2 * tolerance) << type;
            EXPECT_NEAR(image.pair(c).second, pair.second, 2 * tolerance) << type;
        }
    }
}

TEST(CompareBounds, ComparesValuesAcrossTypesAndCreatesNothing) {
    for (int a = DataBit; a <= DataFloat; ++a) {
        for (int b = DataBit; b <= DataFloat; ++b) {
            TestImage left({2, 2, 2, a}), right({2, 2, 2, b}), wider({2, 2, 3, b});
            EXPECT_EQ(CompareBounds(&left, &right), 1);
            EXPECT_TRUE(!left.bound && !right.bound);
            left.setPair(1, {3, 100});
            EXPECT_EQ(CompareBounds(&left, &right), left.bound ? 0 : 1) << "only one has a bound";
            right.setPair(1, {3, 100});
            wider.setPair(1, {3, 100});
            const bool comparable = a != DataUInt32 && a != DataInt32 && b != DataUInt32 && b != DataInt32;
            if (!left.bound || !right.bound) continue;
            EXPECT_EQ(CompareBounds(&left, &right), comparable) << a << ' ' << b;
            EXPECT_EQ(CompareBounds(&left, &wider), 0);
            right.setPair(1, {3, 101});
            EXPECT_EQ(CompareBounds(&left, &right), 0);
        }
    }
}

}  // namespace
