// Shapes that a record cannot hold, and type codes computed wrongly.
#include "pzel/image/lifecycle.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>

#include "tests/support/images.h"

namespace {

using namespace test;

struct Delete {
    void operator()(Image* image) const { DeleteImage(image); }
};
using Owned = std::unique_ptr<Image, Delete>;

TEST(Image, TypeArithmetic) {
    const std::string table =
        "254567"
        "537587"
        "474768"
        "757587"
        "686868"
        "878787";  // rows a = 2 ... 7
    for (int a = 0; a < 16; ++a) {
        for (int b = 0; b < 16; ++b) {
            const int looked = a < 2 || a > 7 || b < 2 || b > 7 ? 8 : table[(a - 2) * 6 + b - 2] - '0';
            const int expected = a == 8 || b == 8 ? 8 : a == b ? a : a == 1 ? b : b == 1 ? a : looked;
            EXPECT_EQ(FindCommonType(u8(a), u8(b)), expected) << a << ' ' << b;
        }
        EXPECT_EQ(GetTrueDataType(true, 3, 0, u8(a)), a == 3 || a == 5 ? a - 1 : a);
        EXPECT_EQ(GetTrueDataType(true, 2, 1, u8(a)), a == 2 || a == 4 ? a + 1 : a);
        EXPECT_TRUE(GetTrueDataType(true, 1, 2, u8(a)) == a && GetTrueDataType(false, 3, 2, u8(a)) == a);
    }
    const Image* none = nullptr;
    EXPECT_TRUE(GetSubType(none) == 0xF0 && GetMajorType(none) == 0xFF00 && !IsValidImage(none));
}

TEST(Lifecycle, ShapesTheRecordCannotHoldThrowAndLeaveNoData) {
    EXPECT_THROW(NewImage(30000, 2, 3, DataUInt8, true), std::bad_array_new_length);
    EXPECT_THROW(NewImage(65535, 65535, 2, DataUInt8, false), std::bad_array_new_length);
    const Owned image(NewImage(30000, 1, 1, DataUInt16, true)), like(AllocImage());
    EXPECT_THROW(ResizeImage(image.get(), 33000, 1), std::bad_array_new_length);
    EXPECT_THROW(CopyImageCharacteristics(like.get(), image.get()), std::bad_array_new_length);
    EXPECT_TRUE(!image->data && !like->data);
    EXPECT_THROW(ConstructImages(like.get(), 1, 65535, 2, 1, DataFloat), std::bad_array_new_length);
}

}  // namespace
