// A blend that rounds wrongly. What else drawing bitmaps into bitmaps promises stands in tests/fuzz.
#include "pzel/display/overlay.h"

#include <gtest/gtest.h>

#include "tests/support/images.h"

namespace {

using namespace test;

// The whole of the blend: all pairs of bytes, all transparencies.
TEST(Overlay, BlendRoundsToNearest) {
    Bytes drawn(65536), present(65536);
    for (int i = 0; i < 65536; ++i) drawn[i] = u8(i % 256), present[i] = u8(i / 256);
    for (int t = 0; t <= 128; ++t) {
        Bytes result = present, wanted(65536);
        for (int i = 0; i < 65536; ++i) wanted[i] = u8((drawn[i] * (128 - t) + present[i] * t + 64) / 128);
        AddTransparentBitmap({result.data(), 256, 256, 256}, {drawn.data(), 256, 256, 256}, 1, 1, 8, t);
        ASSERT_TRUE(same(result, wanted)) << "at " << t;
    }
}

}  // namespace
