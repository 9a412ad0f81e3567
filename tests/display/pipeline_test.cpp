// From a component's image to its bitmap: a wrong image, crop or depth chosen, bitmaps too small for their
// picture, compositions out of place, mapping modes and fields that reach the wrong images or rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "pzel/component/comp.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/fields.h"
#include "pzel/display/map_data.h"
#include "tests/support/curve.h"
#include "tests/support/images.h"

namespace {

using namespace test;

struct Release {
    void operator()(Comp* comp) const { comp->Release(); }
};
using Owned = std::unique_ptr<Comp, Release>;

// A component of images of random bytes with default bounds.
Comp* newComp(Random& random, const Shape& s, int frames = 1) {
    Comp* comp = AllocComp(frames);
    ConstructImages(comp->images, frames, u16(s.width), u16(s.height), u8(s.channels),
                    u8(s.type | (s.interleaved ? 0x80 : 0)));
    for (Image* image = comp->images; image != comp->images + frames; ++image) {
        image->imageType = u16(s.imageType);
        random.fill(image->data, GetImageTotalBytes(image));
        SetDefaultBound(image);
    }
    return comp;
}

void showArea(Comp* comp, int left, int top, int right, int bottom) {
    comp->dataArea = new SRect{short(left), short(right), short(top), short(bottom)};
    comp->flagsA = u16((comp->flagsA & ~CompExtentMask) | CompExtentDataArea);
}

Bytes picture(Image* image, int x, int y, int w, int h, int pixelBytes, const u8* lut = nullptr,
              int mode = 0) {
    Bytes rows(w * h * pixelBytes);
    MapData(rows.data(), u16(w * pixelBytes), u16(w), u16(h), image, short(x), short(y), lut, u8(mode));
    return rows;
}

Bytes shown(const Comp& comp) {
    const ShownBitmap b = comp.GetShownBitmap();
    Bytes rows;
    for (int y = 0; y < b.height; ++y)
        rows.insert(rows.end(), b.pixels + y * b.rowBytes, b.pixels + y * b.rowBytes + b.width * b.bits / 8);
    return rows;
}

// The bytes of one element.
Bytes element(Image* image, int x, int y, int c) {
    const int bytes = DataBytes(image->dataType);
    const u8* place = GetImageData(image, c) + y * image->rowBytes +
                      x * bytes * (IsInterleaved(image) ? image->channels : 1);
    return {place, place + bytes};
}

struct Table final : test::Curve {
    Table(const u8* lut, std::vector<int>* log) : table(lut), modes(log) {}
    Remapper* Clone() const override { return new Table(*this); }
    void SetMode(int hsi, int flag) override { modes->insert(modes->end(), {hsi, flag}); }
    const u8* GetLookupTable() const override { return table; }

    const u8* table;
    std::vector<int>* modes;
};

TEST(Pipeline, ShowsTheDataAreaOfTheImage) {
    Random random(31);
    const Bytes table = random.bytes(3 * 512);
    for (int round = 0; round < 400; ++round) {
        const int type = random.pick({2, 4, 5, 8}), channels = random.pick({1, 3, 3}),
                  mode = random(0, 3) << 6;
        const int width = random(1, 33), height = random(1, 20), pixelBytes = channels == 3 && !mode ? 3 : 1;
        const Owned comp(
            newComp(random, {width, height, channels, type, random.coin(), random.pick({0, 1, 3})}));
        const u8* lut = random.coin() ? table.data() : nullptr;
        if (round % 2 || lut) comp->remapper = new Table(lut, nullptr);
        if (type == DataFloat) ClearImage(comp->images);
        comp->flagsA = u16(mode | CompBitmapOutOfDate);
        int x = 0, y = 0, w = width, h = height;
        if (round % 3) {
            x = random(0, width - 1), y = random(0, height - 1);
            w = random(1, width - x), h = random(1, height - y);
            showArea(comp.get(), x, y, x + w - 1, y + h - 1);
        }
        for (int again = 0; again < 2; ++again) {
            comp->ComputeBitmap(-1);
            const ShownBitmap b = comp->GetShownBitmap();
            ASSERT_EQ(b.rowBytes, (w * pixelBytes + 3) / 4 * 4);
            ASSERT_TRUE(b.width == w && b.height == h && b.bits == 8 * pixelBytes &&
                        b.pixels == comp->bitmap + y * b.rowBytes + x * pixelBytes);
            ASSERT_EQ(shown(*comp), picture(comp->images, x, y, w, h, pixelBytes, lut, mode))
                << type << ' ' << mode;
            ASSERT_TRUE(comp->bmpWidth == w && comp->bmpHeight == h && !(comp->flagsA & CompBitmapOutOfDate));
            comp->images->data[0] ^= 1;
        }
    }
}

TEST(Pipeline, BoundariesKeepTheirBits) {
    Random random(33);
    for (int round = 0; round < 200; ++round) {
        const int width = random(1, 40), height = random(1, 9), x0 = round % 4 ? random(0, width - 1) : 0;
        const int y0 = round % 4 ? random(0, height - 1) : 0, w = width - x0, h = height - y0;
        const Owned comp(newComp(random, {width, height, 2, DataBit, true, MajorBoundary})),
            bits(newComp(random, {width, height, 1, DataBit, true, SubGrey}));
        for (Comp* one : {comp.get(), bits.get()}) {
            if (round % 4) showArea(one, x0, y0, width - 1, height - 1);
            one->ComputeBitmap(0);
        }
        const ShownBitmap b = comp->GetShownBitmap();
        ASSERT_TRUE(b.width == w && b.height == h && b.bits == 1 && b.bitRows == 2 &&
                    b.rowBytes == 2 * ((w + 31) / 32 * 4));
        const auto bit = [](const u8* row, int i) { return row[i / 8] << i % 8 & 0x80; };
        for (int i = 0; i < 2 * h * w; ++i) {
            const u8* source = comp->images->data + (2 * y0 + i / w) * ((width + 7) / 8);
            ASSERT_EQ(bit(b.pixels + i / w * b.rowBytes / 2, i % w), bit(source, x0 + i % w)) << i;
        }
        EXPECT_EQ(bits->GetShownBitmap().bits, 1);
    }
}

// Bitmaps that were made for another image, and data areas that reach outside.
TEST(Pipeline, BoundariesBringWhatTheyHave) {
    Random random(38);
    for (int round = 0; round < 400; ++round) {
        const int width = random(1, 40), height = random(1, 9), channels = round % 5 ? 2 : random(0, 3);
        const Owned comp(newComp(random, {width, height, channels, DataBit, true, MajorBoundary}));
        const int left = round % 2 ? random(-19, width + 9) : 0, top = round % 2 ? random(-9, height + 5) : 0;
        const int w = random(1, 60), h = random(1, 12);
        if (round % 2) showArea(comp.get(), left, top, left + w - 1, top + h - 1);
        const int rowBytes = 2 * ComputeBmpLineBytes(w, 1);
        Guarded bitmap(std::size_t(rowBytes * h));
        comp->bitmap = bitmap.data();
        comp->bmpBits = 1, comp->bmpWidth = u16(w), comp->bmpHeight = u16(h),
        comp->bmpRowBytes = u16(rowBytes);
        comp->ComputeBitmap(0);
        comp->bitmap = nullptr;
        ASSERT_TRUE(bitmap.intact());
        for (int i = 0; i < 2 * h * w && channels == 2; ++i) {
            const int x = i % w, y = i / w, fromX = left + x, fromY = 2 * top + y;
            const bool inside = fromX >= 0 && fromY >= 0 && fromX < width && fromY < 2 * height;
            // Whole bytes come with what stands behind the last pixel.
            if (!inside && left % 8 == 0 && fromX >= width) continue;
            const u8* source = comp->images->data + fromY * ((width + 7) / 8);
            const int wanted = inside ? source[fromX / 8] << fromX % 8 & 0x80 : Guarded::fill << x % 8 & 0x80;
            ASSERT_EQ(bitmap.data()[y * rowBytes / 2 + x / 8] << x % 8 & 0x80, wanted) << x << ',' << y;
        }
    }
}

TEST(Pipeline, WhatLiesOutsideTheImageShowsNothing) {
    Random random(39);
    const Owned comp(newComp(random, {7, 5, 3, DataUInt8, true}));
    showArea(comp.get(), 3, 2, 9, 6);
    comp->ComputeBitmap(-1);
    const Bytes rows = shown(*comp), inside = picture(comp->images, 3, 2, 4, 3, 3);
    for (int i = 0; i < 7 * 5 * 3; ++i) {
        const int x = i / 3 % 7, y = i / 21;
        ASSERT_EQ(rows[i], x < 4 && y < 3 ? inside[y * 12 + i % 21] : 0) << x << ',' << y;
    }
    // A flat comp without pixels: what lies around it is there.
    comp->flagsA = 0;
    Comp* flat = comp->flatComp = newComp(random, {7, 2, 3, DataUInt8, true});
    RemoveImageData(flat->images);
    comp->UpdateFlatFrame(3);
    ASSERT_EQ(picture(comp->flatImage, 0, 2, 7, 3, 3), picture(comp->images, 0, 2, 7, 3, 3));
}

TEST(Pipeline, BoundariesNeedTwoRowsOfBits) {
    Random random(38);
    for (const Shape& shape : {Shape{13, 5, 1, DataBit, true}, Shape{13, 5, 2, DataUInt8, true},
                               Shape{13, 5, 1, DataBit, false}, Shape{60, 5, 1, DataInt8, true}}) {
        const Owned comp(newComp(random, shape));
        comp->images->imageType = MajorBoundary;
        comp->ComputeBitmap(0);
        EXPECT_EQ(comp->GetShownBitmap().pixels, nullptr) << shape.type;
    }
    // In planes they are the same as side by side.
    const Owned together(newComp(random, {13, 5, 2, DataBit, true, MajorBoundary})),
        planar(newComp(random, {13, 5, 2, DataBit, false, MajorBoundary}));
    for (int i = 0; i < 20; ++i)
        planar->images->data[i % 4 / 2 * 10 + i / 4 * 2 + i % 2] = together->images->data[i];
    for (Comp* comp : {together.get(), planar.get()}) comp->ComputeBitmap(0);
    const auto rows = [](const Comp& comp) { return Bytes(comp.bitmap + 0, comp.bitmap + 5 * 8); };
    EXPECT_EQ(rows(*planar), rows(*together));
}

// A host may free the bitmap and put a smaller one there, even at the same address.
TEST(Pipeline, ABitmapOfTheHostIsAsLargeAsItsFieldsSay) {
    Random random(39);
    const Owned comp(newComp(random, {20, 16, 1, DataUInt8, true, SubGrey}));
    showArea(comp.get(), 3, 5, 14, 12);
    comp->ComputeBitmap(0);
    u8* const block = comp->bitmap;
    const int bytes = comp->bmpRowBytes * (5 + 8);
    comp->bmpHeight = 2;
    const int declared = 2 * comp->bmpRowBytes;
    std::memset(block + declared, 0xEE, bytes - declared);
    ASAN_POISON_MEMORY_REGION(block + declared, bytes - declared);
    {
        const Comp copy(*comp);
        const ShownBitmap there = comp->GetShownBitmap(), copied = copy.GetShownBitmap();
        EXPECT_EQ(there.pixels, block) << "the place of another picture";
        EXPECT_EQ(Bytes(copied.pixels, copied.pixels + declared),
                  Bytes(there.pixels, there.pixels + declared));
    }
    comp->ComputeBitmap(0);
    EXPECT_EQ(shown(*comp), picture(comp->images, 3, 5, 12, 2, 1));
    EXPECT_EQ(std::count(comp->bitmap + 0, comp->bitmap + 7 * comp->bmpRowBytes, 0xEE), 0);
}

// Pictures that do not fit the bitmap that is there, or the image that came later, are cut off.
TEST(Pipeline, StaysInsideBitmapAndImage) {
    Random random(40);
    for (int round = 0; round < 300; ++round) {
        const Owned comp(newComp(random, {random(1, 40), random(1, 12), 1, DataUInt8, true, SubGrey}));
        for (int i = 0; i < 4; ++i) {
            const Shape shape = random.coin() ? Shape{random(1, 40), random(1, 12), 2, DataBit, random.coin()}
                                              : Shape{random(1, 40), random(1, 12), random.pick({1, 3}),
                                                      random.pick({1, 2, 4}), random.coin()};
            TestImage image(shape);
            image.imageType = shape.channels == 2 ? MajorBoundary : MajorPicture;
            SwapImage(&image, comp->images);
            delete comp->dataArea;
            comp->dataArea = nullptr;
            if (random.coin())
                showArea(comp.get(), random(-2, 30), random(-2, 9), random(30, 45), random(9, 14));
            const auto computed = [&] {
                comp->ComputeBitmap(0);
                const ShownBitmap b = comp->GetShownBitmap();
                return b.pixels ? Bytes(b.pixels, b.pixels + b.rowBytes * b.height) : Bytes();
            };
            const Bytes first = computed();
            ASSERT_EQ(computed(), first);
            SwapImage(&image, comp->images);
            ASSERT_TRUE(image.pixels.intact());
        }
    }
}

TEST(Pipeline, PrefersTheFlatImageThenTheFlatComp) {
    Random random(34);
    const Owned comp(newComp(random, {20, 16, 1, DataUInt8, true, SubGrey}));
    Comp* flat = comp->flatComp = newComp(random, {9, 8, 1, DataUInt16, true, SubGrey});
    showArea(flat, 1, 2, 6, 5);
    flat->x = 4, flat->y = 3;
    using Place = std::vector<int>;
    const auto place = [&](Image* expected) {
        short dx = -1, dy = -1;
        u16 x = 9, y = 9, w = 0, h = 0;
        EXPECT_EQ(comp->GetFlatImage(dx, dy, x, y, w, h), expected);
        return Place{dx, dy, x, y, w, h};
    };
    EXPECT_EQ(place(flat->images), (Place{4, 3, 1, 2, 6, 4}));
    comp->ComputeBitmap(0);
    EXPECT_EQ(shown(*comp), picture(flat->images, 1, 2, 6, 4, 1));
    EXPECT_EQ(comp->GetShownBitmap().pixels, comp->bitmap + comp->bmpRowBytes * (3 + 2) + 4 + 1);
    flat->flagsA |= CompHidden;
    EXPECT_EQ(place(comp->images), (Place{0, 0, 0, 0, 20, 16}));
    comp->DeleteBitmap();
    comp->ComputeBitmap(0);
    EXPECT_EQ(shown(*comp), picture(comp->images, 0, 0, 20, 16, 1));
    flat->flagsA = CompExtentDataArea;
    SetImageNotValid(flat->images);
    EXPECT_EQ(comp->GetFlatImage(), comp->images);
    comp->flatImage = NewImage(flat->images);
    SetImageValid(comp->flatImage);
    showArea(comp.get(), 2, 1, 8, 8);
    EXPECT_EQ(place(comp->flatImage), (Place{2, 1, 0, 0, 9, 8}));
}

TEST(Pipeline, FlatFrameLaysTheFlatCompOverTheImage) {
    Random random(35);
    for (int round = 0; round < 200; ++round) {
        const int channels = random.pick({1, 3}), type = random.pick({2, 8}),
                  sub = channels == 1 ? SubGrey : SubColour;
        const Owned comp(newComp(random, {20, 16, channels, type, random.coin(), sub}));
        comp->UpdateFlatFrame(3);
        EXPECT_EQ(comp->flatImage, nullptr);
        const Owned other(newComp(random, {5, 4, 4 - channels, random.pick({2, 3, 5, 8}), random.coin()}));
        comp->flatComp = other.get();
        comp->UpdateFlatFrame(3);
        ASSERT_TRUE(comp->flatImage);
        EXPECT_TRUE(comp->flatImage->channels == 3 && IsInterleaved(comp->flatImage) &&
                    GetDataType(comp->flatImage) == FindCommonType(u8(type), GetDataType(other->images)));
        comp->flatComp = nullptr;
        comp->UpdateFlatFrame(3);
        EXPECT_EQ(comp->flatImage, nullptr);
        Comp* flat = comp->flatComp =
            newComp(random, {random(1, 12), random(1, 16), channels, type, random.coin(), sub});
        flat->x = short(random(-13, 21)), flat->y = short(random(-16, 17));
        Image *base = comp->images, *top = flat->images;
        const auto expectPicture = [&](int parts, bool covered) {
            comp->UpdateFlatFrame(u8(parts));
            ASSERT_TRUE(comp->flatImage && IsValidImage(comp->flatImage) &&
                        comp->flatImage->imageType == sub && GetImageSize(comp->flatImage) == 320);
            for (int i = 0; i < 320 * channels; ++i) {
                const int x = i % 20, y = i / 20 % 16, c = i / 320, fx = x - flat->x, fy = y - flat->y;
                const bool inside = covered && fx >= 0 && fy >= 0 && fx < top->width && fy < top->height;
                ASSERT_EQ(element(comp->flatImage, x, y, c),
                          inside ? element(top, fx, fy, c) : element(base, x, y, c))
                    << parts << ' ' << x << ' ' << y;
            }
        };
        expectPicture(3, true);
        comp->ComputeBitmap(0);
        EXPECT_EQ(shown(*comp), picture(comp->flatImage, 0, 0, 20, 16, channels));
        for (const int whole : {16, 4}) {
            expectPicture(whole, false);
            expectPicture(1, true);
        }
        comp->UpdateFlatFrame(0);
        EXPECT_FALSE(IsValidImage(comp->flatImage));
        expectPicture(3, true);
        flat->flagsA |= CompHidden;
        comp->UpdateFlatFrame(3);
        EXPECT_TRUE(!IsValidImage(comp->flatImage) && IsFlatFrameNotUpdated(comp.get()) &&
                    comp->GetFlatImage() == base);
        flat->flagsA = 0;
        ResizeImage(top, 20, 16);
        comp->UpdateFlatFrame(3);
        EXPECT_EQ(comp->flatImage, nullptr) << "equal areas leave nothing to compose";
    }
}

TEST(Pipeline, MappingModeSwitchesEveryImage) {
    Random random(36);
    std::vector<int> modes;
    const Owned comp(newComp(random, {4, 4, 3, DataUInt8, true}, 3));
    comp->flatComp = newComp(random, {3, 3, 3, DataUInt8, true}, 2);
    comp->flatImage = NewImage(comp->images);
    comp->remapper = new Table(nullptr, &modes);
    SetDefaultBound(comp->flatImage);
    for (int c = 0; c < 3; ++c) writePair(GetBound(comp->images), c, DataUInt8, {10 + c, 200});
    EXPECT_FALSE(comp->SwitchMapingMode(2));
    EXPECT_TRUE(comp->SwitchMapingMode(3));
    EXPECT_FALSE(comp->SwitchMapingMode(3));
    for (Image* image : {comp->images, comp->images + 2, comp->flatComp->images, comp->flatComp->images + 1,
                         comp->flatImage}) {
        EXPECT_EQ(GetBoundType(image), BoundHsi);
    }
    // The further images get the first one's section of the old type, deliberately.
    EXPECT_EQ(std::memcmp(GetHSIBound(comp->images + 2), GetBound(comp->images), 6), 0);
    EXPECT_EQ(readPair(GetBound(comp->images + 2), 0, DataUInt8), Pair(0, 255));
    EXPECT_NEAR(GetHSIBound(comp->images)[0], 11, 1);
    EXPECT_TRUE(comp->SwitchMapingMode(0));
    EXPECT_EQ(std::memcmp(GetBound(comp->images + 1), GetHSIBound(comp->images), 6), 0);
    EXPECT_EQ(GetBoundType(comp->images + 2), BoundData);
    EXPECT_EQ(modes, (std::vector<int>{1, 1, 0, 1}));
    SetSubType(comp->images, SubYuv);
    EXPECT_FALSE(comp->SwitchMapingMode(3));
}

}  // namespace
