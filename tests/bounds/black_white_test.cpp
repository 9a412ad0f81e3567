// Hunts wrong signs and ranges of levels by type, and spatial levels of the wrong entry.
#include "pzel/bounds/black_white.h"

#include <gtest/gtest.h>

#include "tests/support/images.h"

using namespace test;

namespace {

Pair pairOf(const CompBlackWhite& levels) {
    return {levels.black, levels.white};
}

const Pair kUndefined = pairOf(CompBlackWhite());

TEST(Levels, SpatialLevelsReadWhatTheyWrite) {
    for (int type : {DataUInt8, DataInt8, DataUInt16, DataInt16, DataUInt32, DataInt32, DataFloat}) {
        TestImage image({4, 4, 3, type});
        const auto t = ImageDataType(type);
        for (int channel = 0; channel < 6; ++channel) {
            SetSpatialBounds(&image, {channel % 3 * 10.9, 100.9}, channel);
            const double whole = type == DataFloat ? double(100.9f) : 100;
            EXPECT_EQ(GetSpatialBounds(&image, SubColour, t, channel % 3).white, whole) << channel;
        }
        const Bytes before(image.bound, image.bound + 3 * GetBoundBytes(&image));
        SetSpatialBounds(&image, {1, 2}, 6);
        SetSpatialBounds(&image, {1, 2}, -1);
        EXPECT_EQ(Bytes(image.bound, image.bound + 3 * GetBoundBytes(&image)), before);
        if (type == DataUInt32 || type == DataInt32) {
            EXPECT_EQ(pairOf(GetSpatialBounds(&image, SubColour, t, 3)), kUndefined);
        } else {
            SetDefaultSpatialBounds(&image);
            const Pair range = rangeOf(type);
            const double scale = GetHSIFullScale(u8(type));
            EXPECT_EQ(pairOf(GetSpatialBounds(&image, SubColour, t, 3)), Pair(0, range.second - range.first));
            EXPECT_EQ(pairOf(GetSpatialBounds(&image, SubColour, t, 4)), Pair(0, scale));
            EXPECT_EQ(pairOf(GetSpatialBounds(&image, SubColour, t, 5)),
                      Pair(0, type == DataFloat ? double(6.2831855f) : scale));
            EXPECT_EQ(pairOf(GetSpatialBounds(&image, SubGrey, t, 3)), kUndefined);
            EXPECT_EQ(pairOf(GetSpatialBounds(&image, SubColour, t, 6)), kUndefined);
        }
    }
    TestImage bytes({4, 4, 1, DataUInt8});
    SetSpatialBounds(&bytes, {std::nan(""), 300}, 0);
    EXPECT_EQ(pairOf(GetSpatialBounds(&bytes, SubGrey, DataUInt8, 0)), Pair(0, 44))
        << "narrowed, not clamped";
    SetSpatialBounds(&bytes, {-1e300, 1e300}, 0);
    EXPECT_EQ(pairOf(GetSpatialBounds(&bytes, SubGrey, DataUInt8, 0)), Pair(0, 255))
        << "the low bytes of the ends";
}

}  // namespace
