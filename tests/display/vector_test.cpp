// Vector fields: arrows with a wrong line or head, mirrored, shortened or clipped wrongly, in the wrong bits
// of a depth or outside the bitmap; fields that are sampled, scaled or read wrongly in some type or layout.
#include "pzel/display/vector.h"

#include <gtest/gtest.h>

#include <limits>

#include "pzel/display/bitmap.h"
#include "tests/component/component_helpers.h"
#include "tests/support/images.h"

namespace {

using namespace test;
using Grid = std::vector<int>;

struct Tables {
    Tables() { VectorInit(); }
    ~Tables() { VectorTermination(); }
};

struct Point {
    int x, y;
};

// An arrow of any direction, up to 31 steps: the nearest pixels of the line, and for a head the neighbours of
// the tip that lie 135 degrees to either side of the last step.
std::vector<Point> arrow(int dx, int dy) {
    static const Point ring[] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
    const auto part = [](int k, int d, int n) {
        return int(std::floor(double(k * std::abs(d)) / n + 0.5)) * (d < 0 ? -1 : 1);
    };
    const int steps = std::max(std::abs(dx), std::abs(dy));
    std::vector<Point> points{{0, 0}};
    for (int k = 1; k <= steps; ++k) points.push_back({part(k, dx, steps), part(k, dy, steps)});
    if (steps < 2) return points;
    const Point tip = points.back(), before = points[points.size() - 2];
    for (int i = 0; i < 8; ++i) {
        if (ring[i].x != tip.x - before.x || ring[i].y != tip.y - before.y) continue;
        for (const int turn : {3, 5})
            points.push_back({tip.x + ring[(i + turn) % 8].x, tip.y + ring[(i + turn) % 8].y});
    }
    return points;
}

int cells(int size) {
    return (size + 15) / 16;
}

// One byte for each pixel: 1 where some arrow of the grid goes.
Bytes drawn(int width, int height, const Grid& grid) {
    Bytes pixels(width * height);
    for (int cell = 0; cell < cells(width) * cells(height); ++cell) {
        if (grid[2 * cell] == VectorNone) continue;
        const int left = cell % cells(width) * 16, top = cell / cells(width) * 16;
        for (const Point p : arrow(grid[2 * cell], grid[2 * cell + 1])) {
            const int x = left + std::min(16, width - left) / 2 + p.x;
            const int y = top + std::min(16, height - top) / 2 + p.y;
            if (x >= 0 && y >= 0 && x < width && y < height) pixels[y * width + x] = 1;
        }
    }
    return pixels;
}

Grid randomGrid(Random& random, int width, int height) {
    Grid grid(2 * cells(width) * cells(height));
    for (int& v : grid) v = random(-31, 31);
    if (random.coin()) grid[0] = VectorNone;
    return grid;
}

void map(u8* row0, int rowBytes, int width, int height, int bits, const Grid& grid, unsigned long colour) {
    const std::vector<signed char> vectors(grid.begin(), grid.end());
    MapVectorToBmp(row0, rowBytes, u16(width), u16(height), bits, vectors.data(), colour);
}

// The same as `drawn`, from a bitmap of bits.
Bytes shown(const Comp& comp) {
    const ShownBitmap b = comp.GetShownBitmap();
    Bytes pixels;
    for (int i = 0; i < b.width * b.height; ++i)
        pixels.push_back(b.pixels[i / b.width * b.rowBytes + i % b.width / 8] >> (7 - i % b.width % 8) & 1);
    return pixels;
}

TEST(Vector, MirroredVectorsMirrorTheirDrawing) {
    const Tables tables;
    constexpr int kDepths[] = {8, 1, 24, 16};
    int bits = 8;
    // The pixels of one vector, around its start, seen from a mirrored place.
    const auto draw = [&bits](int dx, int dy, int signX, int signY) {
        Grid grid(50, VectorNone);
        grid[24] = dx, grid[25] = dy;
        Bytes pixels(80 * 80 * bits / 8), turned;
        map(pixels.data(), -10 * bits, 80, 80, bits, grid, 0x010101);
        for (int i = 0; i < 67 * 67; ++i) {
            const int x = 40 + signX * (i % 67 - 33);
            const u8* row = &pixels[(40 + signY * (i / 67 - 33)) * 10 * bits];
            turned.push_back(bits == 1 ? u8(row[x / 8] >> (7 - x % 8) & 1) : row[x * bits / 8]);
            const bool whole = bits < 16 || row[x * bits / 8] == row[(x + 1) * bits / 8 - 1];
            EXPECT_TRUE(whole) << "all bytes of a pixel are drawn";
        }
        return turned;
    };
    const Bytes plain = draw(31, 10, 1, 1);
    for (int i = 0; i < 128 * 128; i += 5) {
        const int dx = i % 128, dy = i / 128;
        bits = kDepths[i % 4];
        const int length = std::max({dx, dy, 31});
        const Bytes one = draw(dx, dy, 1, 1);
        ASSERT_TRUE(one == draw(-dx, dy, -1, 1) && one == draw(dx, -dy, 1, -1) &&
                    one == draw(-dx, -dy, -1, -1));
        ASSERT_EQ(one, draw(int(dx * 31.0 / length + 0.5), int(dy * 31.0 / length + 0.5), 1, 1))
            << dx << ' ' << dy;
        ASSERT_EQ(draw(31, 10, 1, 1), plain) << bits;
    }
}

TEST(Vector, FieldsOfEveryTypeAndLayoutAreSampledBySteps) {
    const Tables tables;
    Random random(52);
    for (int round = 0; round < 300; ++round) {
        const int type = 1 + round % 8, most = type == DataBit ? 1 : 31;
        const int low = type == DataInt8 || type == DataInt16 || type >= DataInt32 ? -31 : 0;
        const int x0 = random(0, 20), y0 = random(0, 20), w = random(1, 70), h = random(1, 70);
        const int stepX = random(0, 20), stepY = random(0, 20);
        TestImage field({x0 + w, y0 + h, random(2, 3), type, random.coin(), MajorVector});
        field.randomise(random);
        Grid grid = randomGrid(random, w, h);
        // Where levels say nothing, the longest vector becomes the longest arrow, wherever it is.
        const bool scaled = random(0, 2) == 0;
        if (scaled) grid[random(0, int(grid.size()) - 1)] = most;
        for (int i = 0; i < int(grid.size()); ++i) {
            grid[i] = std::clamp(grid[i], low, most);
            const int left = i / 2 % cells(w) * 16, top = i / 2 / cells(w) * 16;
            for (int y = 0; y < std::min(16, h - top); y += std::max(stepY, 1))
                for (int x = 0; x < std::min(16, w - left); x += std::max(stepX, 1))
                    field.put(x0 + left + x, y0 + top + y, i % 2, grid[i]);
            if (type == DataBit) grid[i] *= 31;
        }
        for (int c = 0; c < 2; ++c) field.setPair(c, {0, scaled ? 0 : 31});
        const Ref<Comp> comp(AllocComp(0));
        ComputeVector(comp.get(), char(stepX), char(stepY), u16(w), u16(h), &field, short(x0), short(y0),
                      nullptr);
        ASSERT_TRUE(comp->bmpBits == 1 && comp->bmpRowBytes == ComputeBmpLineBytes(w, 1));
        ASSERT_EQ(shown(*comp), drawn(w, h, grid)) << type << ' ' << stepX << ' ' << stepY;
    }
}

TEST(Vector, ComponentsShowTheirField) {
    const Ref<Comp> comp(AllocComp(1));
    ConstructImages(comp->images, 1, 64, 48, 2, u8(DataInt16) | u8(DataInterleaved));
    SetImageType(comp->images, MajorVector);
    short* vectors = reinterpret_cast<short*>(comp->images->data);
    // To the right and down on the left side, straight down on the right side, less so in each cell's second
    // row.
    for (int i = 0; i < 64 * 48; ++i) {
        vectors[2 * i] = short(i % 64 < 32 ? 310 : 0);
        vectors[2 * i + 1] = short(i / 64 % 16 == 1 ? 40 : 200);
    }
    comp->flagsA = CompBitmapOutOfDate;
    VectorTermination();
    comp->ComputeBitmap(0);
    EXPECT_TRUE(!comp->bitmap && comp->flagsA == 0);
    VectorInit();
    VectorInit();
    comp->info = AllocCompInfo();
    comp->info->vectorStepX = 1, comp->info->vectorStepY = 16;  // reads no second row
    comp->ComputeBitmap(0);
    Grid grid;
    for (int cell = 0; cell < 12; ++cell) {
        grid.push_back(cell % 4 < 2 ? 31 : 0);
        grid.push_back(20);
    }
    EXPECT_EQ(shown(*comp), drawn(64, 48, grid));
    EXPECT_TRUE(shown(*comp)[28 * 64 + 39]) << "the tip of the first, that starts at (8, 8)";

    CleanupCompInfo(comp->info);
    comp->dataArea = new SRect{32, 63, 16, 47};
    comp->flagsA = CompExtentDataArea;
    // A bitmap that is there keeps its size and depth; what stood in it goes.
    for (const bool there : {false, true}) {
        comp->DeleteBitmap();
        if (there) {
            comp->bitmap = static_cast<u8*>(std::memset(::operator new(800), 7, 800));
            comp->bmpWidth = comp->bmpRowBytes = 20, comp->bmpHeight = 40, comp->bmpBits = 8;
        }
        comp->ComputeBitmap(0);
        Bytes expected = drawn(there ? 20 : 32, 32, {0, 19, 0, 19, 0, 19, 0, 19});
        if (there) {
            for (u8& pixel : expected) pixel = u8(255 * pixel);
            expected.resize(800);
        }
        EXPECT_EQ(there ? Bytes(comp->bitmap, comp->bitmap + 800) : shown(*comp), expected);
    }
    EXPECT_TRUE(comp->info->vectorStepX == 1 && comp->info->vectorStepY == 1);
    VectorTermination();
    VectorTermination();
}

}  // namespace
