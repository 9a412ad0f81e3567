// Histograms and values by rank against lists of all values, over types, layouts, channels and rectangles.
#include "pzel/bounds/histogram.h"

#include "tests/support/images.h"

namespace {

using namespace test;

constexpr double kInfinite = HUGE_VAL;

/// Random values: few different ones, all that the type can hold, or floats that are not all finite numbers.
void fill(TestImage& image, Random& random, int kind) {
    image.randomise(random);
    if (kind == 0) {
        for (int i = 0; i < image.pixels.size() && image.bytes() > 0; i += image.bytes())
            writeElement(image.data + i, image.type(), random(0, 5));
    } else if (image.type() == DataFloat) {
        for (int i = 0; i < image.pixels.size(); i += 4) {
            const int what = random(0, 9);
            const double v = what == 0 && kind == 2   ? std::nan("")
                             : what == 1 && kind == 2 ? (random.coin() ? kInfinite : -kInfinite)
                             : what == 2              ? random(-1, 1) * 1e-40  // and a negative zero
                             : what == 3              ? random(-9, 9) * 1e37
                                                      : random(-9999, 9999) / 7.0;
            writeElement(image.data + i, DataFloat, v);
        }
    }
}

struct Values {
    std::vector<double> finite;  // sorted
    std::uint64_t notNumbers = 0, negative = 0, positive = 0;

    void add(TestImage& image, const ImagePart& part) {
        for (int c = 0; c < image.channels; ++c) {
            if (part.channel != AllChannels && part.channel != c) continue;
            for (int y = std::max(part.y, 0); y < std::min<int>(part.y + part.height, image.height); ++y) {
                for (int x = std::max(part.x, 0); x < std::min<int>(part.x + part.width, image.width); ++x) {
                    const double v = image.at(x, y, c, image.trueType(c));
                    if (std::isfinite(v))
                        finite.push_back(v);
                    else
                        ++(std::isnan(v) ? notNumbers : v < 0 ? negative : positive);
                }
            }
        }
        std::sort(finite.begin(), finite.end());
    }

    std::uint64_t within(double low, double high) const {  // low <= v < high
        if (!(low < high)) return 0;
        return std::uint64_t(std::lower_bound(finite.begin(), finite.end(), high) -
                             std::lower_bound(finite.begin(), finite.end(), low));
    }
};

void expectStatistics(const ValueStatistics& told, const Values& values) {
    ASSERT_EQ(told.count, values.finite.size());
    EXPECT_EQ(told.notNumbers, values.notNumbers);
    EXPECT_EQ(told.negativeInfinite, values.negative);
    EXPECT_EQ(told.positiveInfinite, values.positive);
    if (values.finite.empty()) {
        EXPECT_TRUE(std::isnan(told.minimum) && std::isnan(told.maximum) && std::isnan(told.mean));
        return;
    }
    long double sum = 0, magnitude = 0, squares = 0;
    for (const double v : values.finite) sum += v, magnitude += std::fabs(v);
    const long double n = values.finite.size(), mean = sum / n;
    for (const double v : values.finite) squares += (v - mean) * (v - mean);
    EXPECT_EQ(told.minimum, values.finite.front());
    EXPECT_EQ(told.maximum, values.finite.back());
    EXPECT_NEAR(told.sum, double(sum), double(magnitude) * 1e-15);
    EXPECT_NEAR(told.mean, double(mean), double(magnitude / n) * 1e-15);
    const double deviation = double(std::sqrt(squares / n));
    EXPECT_NEAR(told.deviation, deviation, deviation * 1e-12 + double(magnitude / n) * 1e-15);
}

/// Bins of equal width: what lies clearly inside a bin is in it, and nothing is lost.
void expectBins(const Histogram& counted, const Values& values) {
    const int bins = counted.GetNumbBins();
    const double low = counted.GetBinStart(0), high = counted.GetBinStart(bins);
    std::uint64_t all = counted.GetBelow() + counted.GetAbove();
    EXPECT_EQ(counted.GetBelow(), values.within(-kInfinite, low));
    EXPECT_EQ(counted.GetAbove(),
              values.finite.size() - values.within(-kInfinite, std::nextafter(high, 1e300)));
    const double margin = (high - low) * 1e-12 + std::max(std::fabs(low), std::fabs(high)) * 1e-15;
    for (int bin = 0; bin < bins; ++bin) {
        all += counted.GetCount(bin);
        const bool first = bin == 0, last = bin == bins - 1;
        const double start = counted.GetBinStart(bin), end = counted.GetBinStart(bin + 1);
        const double innerEnd = last ? std::nextafter(high, 1e300) : end - margin;
        EXPECT_GE(counted.GetCount(bin), values.within(first ? low : start + margin, innerEnd)) << bin;
        EXPECT_LE(counted.GetCount(bin),
                  values.within(first ? low : start - margin, last ? innerEnd : end + margin))
            << bin;
    }
    EXPECT_EQ(all, values.finite.size());
}

void expectExactBins(const Histogram& counted, const Values& values) {
    const int bins = counted.GetNumbBins();
    EXPECT_EQ(counted.GetBinStart(bins) - counted.GetBinStart(0), bins);
    std::vector<std::uint64_t> told, wanted(bins);
    for (int bin = 0; bin < bins; ++bin) told.push_back(counted.GetCount(bin));
    for (const double v : values.finite) ++wanted.at(std::size_t(v - counted.GetBinStart(0)));
    EXPECT_TRUE(told == wanted);
}

void expectRanks(TestImage& image, const ImagePart& part, const Values& values, Random& random) {
    const ValueRanks ranks(&image, part);
    ASSERT_EQ(ranks.GetCount(), values.finite.size());
    if (values.finite.empty()) {
        EXPECT_TRUE(std::isnan(ranks.GetValue(0)));
        return;
    }
    const int last = int(values.finite.size()) - 1;
    for (const int rank : {0, random(0, last), random(0, last), last})
        ASSERT_EQ(ranks.GetValue(std::uint64_t(rank)), values.finite[std::size_t(rank)]) << "rank " << rank;
    EXPECT_EQ(ranks.GetValue(std::uint64_t(last) + 5), values.finite.back());
}

TEST(Histogram, CountsWhatALoopOverAllValuesDoes) {
    Random random(31);
    for (int round = 0; round < 8 * 2 * (kSlow ? 15 : 90); ++round) {
        const int type = 1 + round % 8, shape = round / 16;
        const int width = shape % 9 == 0 ? random(1000, 1100) : random(1, 70);
        TestImage image(
            {width, random(1, 6), random(1, 5), type, round / 8 % 2 == 0, shape % 3 ? 0 : SubYuv});
        fill(image, random, shape % 4);
        const int channel = random.coin() ? AllChannels : random(0, image.channels - 1);
        ImagePart part{channel};
        if (shape % 2) part = {channel, random(-3, width), random(-1, 5), random(0, width), random(0, 6)};
        SCOPED_TRACE("type " + std::to_string(type) + ", round " + std::to_string(round));
        Values values;
        values.add(image, part);

        Histogram counted(random(1, 40));
        ASSERT_TRUE(counted.Add(&image, part));
        expectStatistics(counted.GetStatistics(), values);
        if (type < DataUInt32 && !values.finite.empty()) {
            EXPECT_TRUE(counted.IsExact());
            expectExactBins(counted, values);
        } else if (!values.finite.empty()) {
            EXPECT_FALSE(counted.IsExact());
            expectBins(counted, values);
        }
        expectRanks(image, part, values, random);

        // A range that holds some of them, counted twice as two frames are.
        const double low = values.finite.empty() ? 0 : values.finite[values.finite.size() / 4] - 0.3;
        Histogram ranged(low, low + (shape % 5 ? 77.7 : 5e37), random(1, 5000)), more = ranged;
        TestImage next({3, 3, image.channels, type, false, image.imageType});
        fill(next, random, 2);
        ASSERT_TRUE(ranged.Add(&image, part) && more.Add(&next) && ranged.Add(more));
        values.add(next, {});
        expectStatistics(ranged.GetStatistics(), values);
        expectBins(ranged, values);
        EXPECT_TRUE(image.pixels.intact());
    }
}

TEST(Histogram, MergesExactCountsOfAnyTypesAndRefusesWhatDoesNotFit) {
    Random random(32);
    for (int round = 0; round < (kSlow ? 10 : 60); ++round) {
        Histogram all, parts, ranged(-40.5, 300, 11);
        Values values;
        for (int frame = 0; frame < 4; ++frame) {
            TestImage image({9, 4, 3, random(1, 5), random.coin(), frame % 2});
            fill(image, random, 1);
            Histogram one;
            ASSERT_TRUE(all.Add(&image) && one.Add(&image) && parts.Add(one) && ranged.Add(one));
            values.add(image, {});
        }
        for (const Histogram* counted : {&all, &parts}) {
            expectExactBins(*counted, values);
            expectStatistics(counted->GetStatistics(), values);
            const int rank = random(0, int(values.finite.size()) - 1);
            EXPECT_EQ(counted->GetValue(std::uint64_t(rank)), values.finite[std::size_t(rank)]);
        }
        expectBins(ranged, values);
        expectStatistics(ranged.GetStatistics(), values);
    }
    TestImage bytes({2, 2, 1, DataUInt8}), floats({2, 2, 1, DataFloat});
    Histogram exact, byRange(0, 1, 4), other(0, 1, 5);
    EXPECT_TRUE(exact.Add(&bytes) && byRange.Add(&floats) && other.Add(&floats));
    EXPECT_FALSE(exact.Add(&floats) || exact.Add(byRange) || byRange.Add(other));
    EXPECT_FALSE(exact.Add(&bytes, {1}) || exact.Add(nullptr) || ValueRanks(&bytes, {1}).GetCount());
    EXPECT_EQ(exact.GetStatistics().count, 4U);
    EXPECT_EQ(byRange.GetStatistics().count, 4U);
    EXPECT_TRUE(std::isnan(byRange.GetValue(0)));
}

TEST(Histogram, KeepsCloseValuesFarFromZeroApart) {
    TestImage image({500, 1, 1, DataInt32});
    for (int x = 0; x < 500; ++x) image.put(x, 0, 0, 2147483000 + x % 5);
    Histogram counted(5);
    counted.Add(&image);
    EXPECT_NEAR(counted.GetStatistics().deviation, std::sqrt(2.0), 1e-12);
    EXPECT_EQ(counted.GetStatistics().sum, 500 * 2147483002.0);
    for (int bin = 0; bin < 5; ++bin) EXPECT_EQ(counted.GetCount(bin), 100U);
    EXPECT_EQ(RankOfPercent(0, 500), 0U);
    EXPECT_EQ(RankOfPercent(0.35, 500), 1U);
    EXPECT_EQ(RankOfPercent(100, 500), 499U);
    EXPECT_EQ(RankOfPercent(50, 0), 0U);
}

}  // namespace
