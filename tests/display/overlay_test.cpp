// Drawing bitmaps into bitmaps, against a reference that walks the source and paints each of its pixels where
// it falls: wrong clipping, a picture shifted by a phase of its zoom, lines on the wrong edge or lost in
// shrinking, bits or padding changed beside the picture, a blend that rounds wrongly.
#include "pzel/display/overlay.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <functional>
#include <string>

#include "tests/support/overlay_reference.h"

namespace {

using namespace test;

/// Random rows between guards; `bottomUp` puts the first row last.
struct Rows : Raster {
    Guarded guarded;

    Rows(Random& random, int depth, int w, int h, bool twoRows, bool bottomUp)
        : Raster{depth, w, h, ((w * depth + 7) / 8 + random(0, 3)) * (twoRows ? 2 : 1), 0},
          guarded(unsigned(rowBytes * h)) {
        random.fill(guarded.data(), guarded.size());
        if (bottomUp && h > 0) start = (h - 1) * rowBytes;
        if (bottomUp) rowBytes = -rowBytes;
    }
    u8* origin() { return guarded.data() + start; }
    BitmapDestination destination() { return {origin(), rowBytes, width, height}; }
    BitmapSource source(int x, int y) { return {origin(), rowBytes, width, height, x, y}; }
};

TEST(Overlay, EveryOperationDrawsWhatTheReferenceDraws) {
    Random random(7);
    std::array<BgrColour, 256> palette;
    random.fill(&palette[0].blue, sizeof palette);
    const std::vector<int> zooms = {-3, -2, -1, 0, 1, 2, 3};
    for (const Overlay& operation : overlays)
        for (int round = 0; round < 6 * 49; ++round) {
            Zoom zoom = {(signed char)zooms[round % 7], (signed char)zooms[round / 7 % 7]};
            if (random(0, 19) == 0) zoom[random(0, 1)] = (signed char)random.pick({-128, -20, 17, 127});
            const int most = random.pick({0, 1, 9, 24, 80});
            Rows to(random, operation.to, random(0, most), random(0, 20), false, random.coin());
            Rows from(random, operation.from, random(0, 80), random(0, 12), operation.kind == Boundary,
                      random.coin());
            const int left = random(-from.width * std::max<int>(zoom[0], 1) - 2, to.width + 2);
            const int x = random.coin() ? random(-5, 5) : left, y = random(-14, 14);
            const Paint paint{u8(random(0, 255)), u8(random(0, 255)),
                              random.coin() ? palette.data() : nullptr,
                              random.coin() ? random(0, 128) : random.pick({-9, 0, 63, 64, 127, 128, 900})};
            SCOPED_TRACE(std::string(operation.name) + ", round " + std::to_string(round));
            const Bytes wanted =
                overlaid(operation, to, to.guarded.bytes(), from, from.guarded.bytes(), x, y, zoom, paint);
            operation.run(to.destination(), from.source(x, y), zoom, paint);
            ASSERT_EQ(to.guarded.bytes(), wanted);
            ASSERT_TRUE(to.guarded.intact());
        }
}

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
