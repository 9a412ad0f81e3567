// Hunts wrong operand orders, sums that lose digits, layouts that fill or print the wrong element.
#include "pzel/pixels/arithmetic.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/images.h"

using namespace test;

namespace {

struct Floats : TestImage {
    explicit Floats(Random& random, int columns = 7, int planes = 3)
        : TestImage({columns, 5, planes, DataFloat}) {
        randomise(random);
    }
    float* values() { return reinterpret_cast<float*>(data); }
    std::vector<float> copy() { return {values(), values() + GetImageVolume(this)}; }
};

TEST(Arithmetic, SumsAreAtLeastAsExactAsExtendedPrecision) {
    Random random(3);
    for (int round = 0; round < 100; ++round) {
        const int width = random(1, round % 8 ? 33 : 1400), planes = random(1, 3);
        Floats a(random, width, planes), b(random, width, planes), w(random, width, planes);
        for (Floats* image : {&a, &b, &w})  // all digits, many sizes
            for (int x = 0; x < width * 5 * planes; ++x)
                image->values()[x] *= float(std::exp(random(-900, 900) / 100.0));
        long double squares = 0, products = 0, differences = 0, weighted = 0;
        const std::size_t n = GetImageVolume(&a);
        for (std::size_t i = 0; i < n; ++i) {
            const long double x = a.values()[i], y = b.values()[i];
            squares += x * x;
            products += x * y;
            differences += (y - x) * (y - x);
            weighted += (x - y) * w.values()[i];
        }
        EXPECT_EQ(SqureSum(&a), float(squares));
        EXPECT_EQ(MultipSum(&a, &b), float(products));
        EXPECT_EQ(DifferenceSqureSum(&a, &b), float(differences));
        EXPECT_EQ(WeightDifferenceSum(&a, &b, &w), float(weighted));
        EXPECT_EQ(ImageDiffEnergy(&a, &b), float(differences / n));
    }
    // What a sum in double precision would lose: 1 beside 1e17, in one lane and across lanes.
    TestImage a({64, 1, 1, DataFloat}), ones({64, 1, 1, DataFloat});
    for (int x = 0; x < 64; ++x)
        ones.put(x, 0, 0, 1), a.put(x, 0, 0, x == 0 ? 1e17f : x == 32 ? -1e17f : 0.5f);
    EXPECT_EQ(MultipSum(&a, &ones), 31.0f);
    // The second square decides which way the sum of both rounds.
    TestImage halfway({65, 1, 1, DataFloat});
    for (int x = 0; x < 65; ++x) halfway.put(x, 0, 0, x == 0 ? 4097 : x == 64 ? 1e-5 : 0);
    EXPECT_EQ(SqureSum(&halfway), 16785410.0f);
    TestImage none({0, 3, 1, DataFloat});
    EXPECT_EQ(SqureSum(&none), 0);
    EXPECT_TRUE(std::isnan(ImageDiffEnergy(&none, &none)));
}

std::string text(Image* image, int x, int y) {
    Guarded out(kPixelTextBytes);
    printData(image, x, y, reinterpret_cast<char*>(out.data()));
    EXPECT_TRUE(out.intact());
    return reinterpret_cast<char*>(out.data());
}

TEST(PixelText, FollowsKindChannelsAndSigns) {
    for (bool interleaved : {false, true}) {
        TestImage colour({3, 2, 3, DataUInt8, interleaved}), yuv({3, 2, 3, DataUInt16, interleaved, SubYuv});
        TestImage reals({3, 2, 3, DataFloat, interleaved}), pairs({3, 2, 2, DataInt32, interleaved});
        TestImage longest({3, 2, 3, DataFloat, interleaved, SubYuv});
        for (int c = 0; c < 3; ++c) {
            colour.put(1, 1, c, 200 + c);
            yuv.put(1, 1, c, 65530 + c);
            reals.put(1, 1, c, c + 0.25);
            if (c < 2) pairs.put(1, 1, c, -5 - c);
            longest.put(1, 1, c, std::numeric_limits<float>::lowest());
        }
        const std::string number = std::to_string(std::numeric_limits<float>::lowest());
        EXPECT_EQ(text(&longest, 1, 1), number + " " + number + " " + number);
        EXPECT_EQ(text(&colour, 1, 1), "202 201 200") << "red first";
        EXPECT_EQ(text(&yuv, 1, 1), "65530 -5 -4");
        EXPECT_EQ(text(&reals, 1, 1), "2.250 1.250 0.250");
        EXPECT_EQ(text(&pairs, 1, 1), "-5 -6");
        colour.imageType = SubYuv;
        EXPECT_EQ(text(&colour, 1, 1), "200 -55 -54");
    }
    TestImage bits({12, 2, 1, DataBit});
    std::memset(bits.data, 0, 4);
    bits.data[2] = 0x02;  // bit 1 from the least significant one
    EXPECT_EQ(text(&bits, 1, 1), "1");
    EXPECT_EQ(text(&bits, 6, 1), "0");

    struct {
        float m[8] = {2, 0.5f, 0.25f, 3, 10, 20, 0.5f, 0.25f};
        std::int32_t kind = 0;
    } mapping;
    TestImage holder({9, 4, 1, DataUInt8, true, 0x0501});
    const auto displacement = [&](int kind) {
        mapping.kind = kind;
        std::memcpy(holder.data, &mapping, sizeof mapping);
        return text(&holder, 2, 4);
    };
    EXPECT_EQ(displacement(0), "12.000000 28.000000");
    EXPECT_EQ(displacement(1), "13.000000 29.000000");
    EXPECT_EQ(displacement(2), "3.000000 7.000000");
    EXPECT_EQ(displacement(9), "0.000000 0.000000");
}

}  // namespace
