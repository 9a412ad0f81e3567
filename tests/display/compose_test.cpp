// Hunts layers at the wrong place, in the wrong order, with the wrong opacity or phase of the zoom, and
// writes outside the area.
#include "pzel/display/compose.h"

#include <gtest/gtest.h>

#include "pzel/display/boundary.h"
#include "tests/component/component_helpers.h"
#include "tests/support/images.h"

using namespace test;

namespace {

struct Pixel {
    int blue, green, red;
    int luminance() const { return (114 * blue + 587 * green + 299 * red + 500) / 1000; }
};

Ref<Comp> layer(Random& random, int type, int channels) {
    Ref<Comp> comp(AllocComp(1));
    Image* image = comp->images;
    ConstructImage(*image, u16(random(1, 14)), u16(random(1, 12)), u16(channels), nullptr, u16(type),
                   random.coin(), true);
    CheckDataArray(image);
    random.fill(image->data, GetImageTotalBytes(image));
    SetDefaultBound(image);
    comp->x = std::int16_t(random(-8, 12));
    comp->y = std::int16_t(random(-8, 12));
    comp->transparency = u8(random.pick({0, 0, 1, 64, 100, 127, 128}));
    comp->overlayColour = u8(random.pick({1, 255}));
    if (random(0, 4) == 0) comp->SetVisible(false);
    if (random.coin() && type != DataBit) {
        comp->dataArea = new SRect{
            std::int16_t(random(-3, image->width - 1)), std::int16_t(image->width - 1 + random(0, 3)),
            std::int16_t(random(-3, image->height - 1)), std::int16_t(image->height - 1 + random(0, 3))};
        comp->flagsA |= CompExtentDataArea;
    }
    return comp;
}

/// What a component shows at a pixel of the movie, a mask in a colour; nothing where it does not reach or its
/// mask is clear.
bool shownAt(Comp& comp, int x, int y, const BgrColour& colour, Pixel& out) {
    if (comp.flatComp && comp.flatComp->IsVisible())  // another picture instead
        return shownAt(*comp.flatComp, x - comp.x, y - comp.y, colour, out);
    const SRect place = comp.GetCompExtent();
    if (x < place.left || x > place.right || y < place.top || y > place.bottom) return false;
    const Image* image = comp.images;
    x -= comp.x;
    y -= comp.y;
    if (GetDataType(image) == DataBit) {
        const bool on = image->data[y * image->rowBytes + x / 8] >> (7 - x % 8) & 1;
        const int grey = on ? 255 : 0;
        out = comp.overlayColour == 255 ? Pixel{grey, grey, grey}
                                        : Pixel{colour.blue, colour.green, colour.red};
        return on || comp.overlayColour == 255;
    }
    const bool inside = x >= 0 && y >= 0 && x < image->width && y < image->height;
    const auto at = [&](int c) {
        return !inside ? 0 : int(*(GetImageData(comp.images, x, y) + (GetImageData(image, c) - image->data)));
    };
    out = image->channels == 3 ? Pixel{at(0), at(1), at(2)} : Pixel{at(0), at(0), at(0)};
    return true;
}

int depthOf(const Comp& comp) {
    return GetDataType(comp.images) == DataBit ? 1 : 8 * comp.images->channels;
}

/// Lays what a component shows over a pixel of a row.
void layOver(u8* row, int x, int bits, const Comp& comp, const Pixel& drawn) {
    const int t = comp.transparency;
    const auto blend = [&](u8& to, int from) { to = u8((from * (128 - t) + to * t + 64) / 128); };
    if (bits == 1 && t < 64) {
        const int bit = 0x80 >> x % 8;
        row[x / 8] = u8(drawn.luminance() ? row[x / 8] | bit : row[x / 8] & ~bit);
    } else if (bits == 8) {
        blend(row[x], drawn.luminance());
    } else if (bits == 24) {
        const int colour[] = {drawn.blue, drawn.green, drawn.red};
        for (int c = 0; c < 3; ++c) blend(row[3 * x + c], colour[c]);
    }
}

TEST(ComposeMovie, IsWhatEveryPixelOfEveryLayerSays) {
    Random random(21);
    for (int round = 0; round < 3000; ++round) {
        const Ref<Movie> movie(new Movie);
        const int count = random(0, 4);
        for (int i = 0; i < count; ++i) {
            const int kind = random(0, 2), type = kind == 0 ? DataBit : DataUInt8,
                      channels = kind == 2 ? 3 : 1;
            const Ref<Comp> comp = layer(random, type, channels);
            if (kind != 0 && random(0, 3) == 0) comp->flatComp = layer(random, type, channels).release();
            movie->AddChild(comp.get());
        }
        const int zoom = random.pick({-3, -2, -1, 0, 1, 2, 3});
        const SRect area{std::int16_t(random(-4, 3)), std::int16_t(random(3, 14)),
                         std::int16_t(random(-4, 3)), std::int16_t(random(3, 14))};
        const int step = std::max(-zoom, 1), repeat = std::max(zoom, 1);
        const int areaWidth = ((area.right - area.left) / step + 1) * repeat,
                  areaHeight = ((area.bottom - area.top) / step + 1) * repeat;
        const u16 width = u16(random(0, 40)), height = u16(random(0, 40));
        const u8 bits = u8(random.pick({1, 8, 24}));
        const int rowBytes = (width * bits + 7) / 8 + 2;
        Guarded target(std::size_t(rowBytes) * height);
        Bytes expected = target.bytes();
        const auto any = [&] { return u8(random(0, 255)); };
        const BgrColour given[] = {{}, {any(), any(), any()}};
        const BgrColour* const colours = random.coin() ? given : nullptr;  // or else red comes first
        for (int j = 0; j < std::min<int>(height, areaHeight); ++j) {
            for (int i = 0; i < std::min<int>(width, areaWidth); ++i) {
                for (int k = 0; k < count; ++k) {
                    Comp& comp = *movie->GetChildren()[k];
                    Pixel drawn;
                    if (comp.IsVisible() && depthOf(comp) <= bits &&
                        shownAt(comp, area.left + i / repeat * step, area.top + j / repeat * step,
                                colours ? given[1] : BgrColour{0, 0, 255}, drawn))
                        layOver(&expected[std::size_t(j * rowBytes)], i, bits, comp, drawn);
                }
            }
        }
        ComposeMovie(movie.get(), {target.data(), rowBytes, width, height}, area,
                     static_cast<signed char>(zoom), colours, bits);
        ASSERT_TRUE(target.intact());
        ASSERT_EQ(target.bytes(), expected) << "round " << round << " zoom " << zoom << " bits " << int(bits);
    }
}

TEST(ComposeMovie, IsTheBitmapOfASingleOpaqueComponent) {
    Random random(23);
    for (int round = 0; round < 60; ++round) {
        const int kind = round % 3;
        const Ref<Comp> comp = layer(random, kind == 0 ? DataBit : DataUInt8, kind == 2 ? 3 : 1);
        comp->SetVisible(true);
        comp->transparency = 0;
        comp->overlayColour = 255;
        const Ref<Movie> movie(new Movie);
        movie->AddChild(comp.get());
        comp->ComputeBitmap(-1);
        const ShownBitmap shown = comp->GetShownBitmap();
        const int rowBytes = (shown.width * shown.bits + 7) / 8;
        Guarded target(std::size_t(rowBytes) * shown.height);
        ComposeMovie(movie.get(), {target.data(), rowBytes, shown.width, shown.height}, comp->GetCompExtent(),
                     1, nullptr, shown.bits);
        ASSERT_TRUE(target.intact());
        for (int i = 0; i < shown.height * shown.width * shown.bits; ++i) {
            const int y = i / (shown.width * shown.bits), bit = i % (shown.width * shown.bits);
            const u8 differing =
                u8(target.data()[y * rowBytes + bit / 8] ^ shown.pixels[y * shown.rowBytes + bit / 8]);
            ASSERT_FALSE(differing & 0x80 >> bit % 8) << shown.bits << " bits, " << bit << ',' << y;
        }
    }
}

// Large pictures are drawn in bands.
TEST(ComposeMovie, IsTheSameInOnePieceAndInStrips) {
    Random random(25);
    const Ref<Movie> movie(new Movie);
    for (const auto& [type, channels] : {std::pair(DataUInt8, 3), {DataUInt8, 1}, {DataBit, 1}}) {
        const Ref<Comp> comp = layer(random, type, channels);
        comp->SetVisible(true);
        comp->flagsA &= u16(~CompExtentMask);
        comp->transparency = u8(movie->GetNumbChildren() == 0 ? 0 : 50);
        comp->overlayColour = 1;
        ResizeImage(comp->images, 500, 400);
        random.fill(comp->images->data, GetImageTotalBytes(comp->images));
        movie->AddChild(comp.get());
    }
    for (const int zoom : {1, 2, -2}) {
        const int step = std::max(-zoom, 1), repeat = std::max(zoom, 1), strip = 12;
        const int width = 510 / step * repeat, height = 408 / step * repeat, rowBytes = 3 * width;
        Bytes whole(std::size_t(rowBytes) * height, 7), strips = whole;
        ComposeMovie(movie.get(), {whole.data(), rowBytes, width, height}, {-3, 506, -2, 405},
                     static_cast<signed char>(zoom), nullptr);
        for (int top = 0; top < 408; top += strip)
            ComposeMovie(movie.get(),
                         {strips.data() + top / step * repeat * rowBytes, rowBytes, width, height},
                         {-3, 506, std::int16_t(top - 2), std::int16_t(top - 2 + strip - 1)},
                         static_cast<signed char>(zoom), nullptr);
        ASSERT_TRUE(same(whole, strips)) << zoom;
    }
}

// Rows of three bytes a pixel that 16 bits cannot count: they overlap, but none leaves the bitmap.
TEST(ComposeMovie, StaysInBitmapsOfBitsInThreeChannels) {
    for (const int width : {21845, 21846, 30000}) {
        const Ref<Comp> comp(AllocComp(1));
        ConstructImages(comp->images, 1, u16(width), 2, 3, DataBit);
        const std::size_t bits = comp->images->rowBytes;
        for (std::size_t i = 0; i < 2 * bits; ++i) comp->images->data[i] = u8(1 + i % 255);
        const Ref<Movie> movie(new Movie);
        movie->AddChild(comp.get());
        Guarded target(std::size_t(width) * 3 * 2);
        ComposeMovie(movie.get(), {target.data(), 3 * width, width, 2}, {0, std::int16_t(width - 1), 0, 1}, 1,
                     nullptr);
        ASSERT_TRUE(target.intact());
        const std::size_t rowBytes = std::size_t((3 * width + 3) / 4 * 4) & 0xFFFF;
        ASSERT_EQ(comp->bmpRowBytes, rowBytes);
        Bytes rows(rowBytes + 3 * width), wanted;
        for (std::size_t y : {0, 1})
            std::memcpy(&rows[y * rowBytes], comp->images->data + y * bits, std::min(bits, rowBytes));
        for (std::size_t y : {0, 1})
            wanted.insert(wanted.end(), &rows[y * rowBytes], &rows[y * rowBytes] + 3 * width);
        ASSERT_TRUE(same(target.bytes(), wanted)) << width;
    }
}

TEST(ComposeMovie, ComputesWhatIsOutOfDateAndDrawsOutlines) {
    Random random(22);
    const Ref<Movie> movie(new Movie);
    Ref<Comp> hidden = layer(random, DataUInt8, 1), cover = layer(random, DataUInt8, 1),
              outline(AllocComp(1));
    for (Comp* comp : {hidden.get(), cover.get()}) {
        comp->SetVisible(true);
        comp->flagsA &= u16(~CompExtentMask);
        comp->x = comp->y = 0;
        comp->transparency = 0;
        ResizeImage(comp->images, 6, 4);
        random.fill(comp->images->data, 24);
        movie->AddChild(comp);
    }
    ConstructImage(*outline->images, 6, 4, 2, nullptr, DataBit, true, true);
    outline->images->imageType = MajorBoundary;
    CheckDataArray(outline->images);
    ClearImage(outline->images);
    outline->images->data[2] = 0x40;  // upper edge of (1, 1)
    outline->images->data[5] = 0x08;  // left edge of (4, 2)
    outline->overlayColour = 2;
    movie->AddChild(outline.get());

    const auto compose = [&](u8 bytes, int transparency) {
        outline->transparency = u8(transparency);
        Guarded target(std::size_t(24) * bytes);
        ComposeMovie(movie.get(), {target.data(), 6 * bytes, 6, 4}, {0, 5, 0, 3}, 1, nullptr, 8 * bytes);
        for (int i = 0; i < 24; ++i) {
            const int grey = cover->images->data[i], t = i == 7 || i == 16 ? transparency : 128;
            const int green[] = {bytes == 1 ? Pixel{0, 255, 0}.luminance() : 0, 255, 0};
            for (int c = 0; c < bytes; ++c)
                EXPECT_EQ(target.data()[bytes * i + c], (green[c] * (128 - t) + grey * t + 64) / 128) << i;
        }
    };
    compose(3, 0);
    EXPECT_EQ(hidden->bitmap, nullptr) << "nobody sees it";
    cover->images->data[3] ^= 0xFF;
    cover->flagsA |= CompBitmapOutOfDate;
    compose(3, 100);
    compose(1, 0);
    compose(1, 30);
}

// The outline of a mask is closed at every border of its picture, at every zoom and place; lines that are no
// outline, and parts of one, stay as they are.
TEST(ComposeMovie, ClosesOutlinesAtTheBorders) {
    Random random(24);
    for (int round = 0; round < 600; ++round) {
        const int w = random(1, 70), h = random(1, 9), zoom = random(-3, 3);
        const int step = std::max(-zoom, 1), repeat = std::max(zoom, 1);
        TestImage mask({w, h, 1, DataUInt8, true, SubGrey});
        const int density = random(0, 3);
        for (int i = 0; i < w * h; ++i) mask.data[i] = u8(random(0, 3) < density);
        const auto set = [&](int x, int y) { return x >= 0 && y >= 0 && mask.data[y * w + x]; };
        const Ref<Comp> outline(AllocComp(1));
        Image* const boundary = MaskToBoundary(&mask);
        SwapImage(outline->images, boundary);
        DeleteImage(boundary);
        const bool spoilt = round % 4 == 0;
        if (spoilt) outline->images->data[0] ^= 0x80;  // an upper edge that belongs to no mask
        const bool ofArea = round % 5 == 0;            // which may be a part
        if (ofArea) outline->dataArea = new SRect{0, std::int16_t(w - 1), 0, std::int16_t(h - 1)};
        if (ofArea) outline->flagsA |= CompExtentDataArea;
        outline->overlayColour = 1;
        outline->transparency = u8(round % 3 ? 0 : 1);
        const Ref<Movie> movie(new Movie);
        movie->AddChild(outline.get());
        const int left = random(-2, w), top = random(-2, h), width = random(1, 80), height = random(1, 20);
        Guarded target(std::size_t(width) * height);
        std::memset(target.data(), 0, std::size_t(target.size()));
        ComposeMovie(movie.get(), {target.data(), width, width, height},
                     {std::int16_t(left), 999, std::int16_t(top), 999}, static_cast<signed char>(zoom),
                     nullptr, 8);
        ASSERT_TRUE(target.intact());
        for (int i = 0; i < width * height; ++i) {
            const int x0 = left + i % width / repeat * step, y0 = top + i / width / repeat * step;
            const int phaseX = i % width % repeat, phaseY = i / width % repeat;
            bool line = false;
            for (int y = std::max(y0, 0); x0 >= 0 && y0 >= 0 && y < std::min(y0 + step, h); ++y)
                for (int x = x0; x < std::min(x0 + step, w); ++x) {
                    const bool upper = (set(x, y) != set(x, y - 1)) != (spoilt && x + y == 0);
                    line |= (phaseY == 0 && upper) || (phaseX == 0 && set(x, y) != set(x - 1, y));
                    if (spoilt || ofArea) continue;
                    line |= phaseX == repeat - 1 && x == w - 1 && set(x, y);
                    line |= phaseY == repeat - 1 && y == h - 1 && set(x, y);
                }
            ASSERT_EQ(target.data()[i] != 0, line) << round << ": " << i % width << ',' << i / width;
        }
    }
}

}  // namespace
