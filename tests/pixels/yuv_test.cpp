// Hunts wrong signs of elements, steps of layouts, missing messages and leaks of results that nobody sees.
#include "pzel/pixels/yuv.h"

#include <gtest/gtest.h>

#include "pzel/platform/message_box.h"
#include "tests/support/images.h"

using namespace test;

namespace {

std::string told;

struct MessageBox {
    MessageBox() { told.clear(); }
    ~MessageBox() { Zel::SetMessageBox(previous); }
    Zel::MessageBoxHandler previous = Zel::SetMessageBox([](const char* text) { told = text; });
};

/// The transform of one pixel, in doubles.
void reference(int direction, const double (&c)[3], float (&out)[3]) {
    if (direction == ConversionToYuv) {
        out[0] = float(0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]);
        out[1] = float(0.4997 * c[2] - (0.3311 * c[1] + 0.1686 * c[0]));
        out[2] = float((0.4998 * c[0] - 0.4185 * c[1]) - 0.0813 * c[2]);
    } else {
        out[0] = float(c[0] + 1.402581 * c[2]);
        out[1] = float((c[0] - 0.34437 * c[1]) - 0.714407 * c[2]);
        out[2] = float(c[0] + 1.77304 * c[1]);
    }
}

TEST(YuvConversion, ReadsEveryAcceptedTypeInBothLayouts) {
    Random random(5);
    for (int type : {DataBit, DataInt8, DataUInt16, DataInt16, DataFloat}) {
        for (bool interleaved : {false, true}) {
            for (int direction : {ConversionToYuv, ConversionToRgb}) {
                TestImage source({11, 3, 3, type, interleaved}), target({11, 3, 3, DataFloat, interleaved});
                source.randomise(random);
                ASSERT_EQ(Conversion(&target, &source, direction), 0);
                for (int y = 0; y < 3; ++y) {
                    for (int x = 0; x < 11; ++x) {
                        double c[3];
                        float expected[3];
                        for (int k = 0; k < 3; ++k)
                            c[k] = type == DataInt16 ? source.at(x, y, k, DataUInt16) : source.at(x, y, k);
                        reference(direction, c, expected);
                        for (int k = 0; k < 3; ++k)
                            ASSERT_EQ(float(target.at(x, y, k)), expected[k]) << type << ' ' << x << ' ' << y;
                    }
                }
                EXPECT_TRUE(target.pixels.intact());
                const Bytes before = target.pixels.bytes();
                EXPECT_EQ(Conversion(&target, &source, 2), 0);
                EXPECT_EQ(Conversion(nullptr, &source, direction), 0);
                EXPECT_EQ(target.pixels.bytes(), before);
            }
        }
    }
}

TEST(YuvConversion, RefusesInTheMessageBox) {
    const MessageBox box;
    TestImage two({4, 2, 2, DataFloat}), bytes({4, 2, 3, DataUInt8}), target({4, 2, 3, DataFloat});
    const Bytes before = target.pixels.bytes();
    const std::string channels = "Image doesnot have 3 channels. Cannot do YUV --- RGB conversion.";
    EXPECT_EQ(Conversion(&target, &two, ConversionToYuv), 1);
    EXPECT_EQ(std::exchange(told, ""), channels);
    EXPECT_EQ(Conversion(&two, ConversionToYuv), 1);
    EXPECT_EQ(std::exchange(told, ""), channels);
    EXPECT_EQ(Conversion(nullptr, &bytes, ConversionToYuv), 1);
    EXPECT_EQ(told, "Don't support this datatype");
    for (int type : {0, 9, 12, 15}) {  // no elements: sized like bits
        TestImage none({4, 2, 3, type, type % 2 == 0});
        EXPECT_EQ(Conversion(&target, &none, ConversionToYuv), 1);
        EXPECT_EQ(std::exchange(told, ""), "Don't support this datatype");
    }
    EXPECT_EQ(target.pixels.bytes(), before);
}

TEST(YuvConversion, InPlaceWritesFloatsOnlyWhereThereIsRoom) {
    Random random(6);
    for (int type = 0; type < 16; ++type) {
        for (bool interleaved : {false, true}) {
            TestImage image({5, 3, 3, type, interleaved});
            image.randomise(random);
            const Bytes before = image.pixels.bytes();
            EXPECT_EQ(Conversion(&image, ConversionToYuv), 0);
            EXPECT_TRUE(image.pixels.intact());
            EXPECT_EQ(image.pixels.bytes() == before, image.bytes() != 4) << type;
        }
    }
}

}  // namespace
