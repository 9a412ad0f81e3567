// Taking frames apart and outlining masks: rows that go to the wrong field, fields of a wrong shape or that
// keep or leak what they held, areas that reach outside, edges at bytes' and pictures' borders.
#include "pzel/display/fields.h"

#include <gtest/gtest.h>

#include "pzel/display/boundary.h"
#include "tests/component/component_helpers.h"
#include "tests/support/images.h"

namespace {

using namespace test;

struct Deleter {
    void operator()(Image* image) const { DeleteImage(image); }
};
using OwnedImage = std::unique_ptr<Image, Deleter>;

// One bit or the bytes of one element of a plain image.
int bitOf(const Image& image, int x, int y, int c) {
    const int plane = IsInterleaved(&image) ? (image.width + 7) / 8 : image.height * image.rowBytes;
    return image.data[y * image.rowBytes + c * plane + x / 8] >> (7 - x % 8) & 1;
}
Bytes element(Image& image, int x, int y, int c) {
    if (GetDataType(&image) == DataBit) return {u8(bitOf(image, x, y, c))};
    const int bytes = DataBytes(image.dataType);
    const u8* place = GetImageData(&image, c) + y * image.rowBytes +
                      x * bytes * (IsInterleaved(&image) ? image.channels : 1);
    return {place, place + bytes};
}

TEST(SplitImage, UndoesWeaving) {
    Random random(61);
    for (int round = 0; round < 400; ++round) {
        const int type = 1 + round % 8, channels = random(1, 3), width = random(1, 20), height = random(1, 9);
        const Ref<Comp> frame(AllocComp(1)), first(AllocComp(1)), second(AllocComp(1));
        Image &source = *frame->images, &even = *first->images, &odd = *second->images;
        ConstructImages(&source, 1, u16(width), u16(height), u8(channels), u8(type | random.pick({0, 0x80})));
        SetImageType(&source, u16(random.pick({SubColour, SubYuv, SubNotSet, MajorVector})));
        random.fill(source.data, GetImageTotalBytes(&source));
        if (random.coin()) SetDefaultBound(&source);
        // What a field held goes, whoever allocated it.
        ConstructImage(even, 3, 3, 1, static_cast<u8*>(std::malloc(9)), DataUInt8, false, false);
        even.frameOffset = 5;
        CheckBoundArray(&even);

        SRect area{short(random(-3, width - 1)), 0, short(random(-3, height - 1)), 0};
        area.right = short(random(std::max<int>(area.left, 0), width + 3));
        area.bottom = short(random(std::max<int>(area.top, 0), height + 3));
        const bool part = random.coin();
        const int x0 = part ? std::max<int>(area.left, 0) : 0, y0 = part ? std::max<int>(area.top, 0) : 0;
        const int w = part ? std::min(area.right + 1, width) - x0 : width;
        const int h = part ? std::min(area.bottom + 1, height) - y0 : height;
        const int mode = random(0, 1);
        const OwnedImage whole(DuplicateImage(&source));
        SplitImage(frame.get(), &even, &odd, char(mode), part ? &area : nullptr);
        for (Image* field : {&even, &odd}) {
            const int start = field == &odd, rows = (h + 1 - start) / 2;
            ASSERT_TRUE(field->width == w && field->height == (mode && rows ? h : rows) &&
                        field->dataType == source.dataType && field->imageType == source.imageType &&
                        field->channels == channels && field->state == source.state);
            ASSERT_TRUE(!source.bound || !std::memcmp(GetBound(field), source.bound, GetBoundBytes(field)));
            for (int i = 0; i < w * field->height * channels; ++i) {
                const int x = i % w, y = i / w % field->height, c = i / w / field->height;
                const int row = std::min(mode ? y / 2 : y, rows - 1);
                ASSERT_EQ(element(*field, x, y, c), element(source, x0 + x, y0 + 2 * row + start, c));
            }
        }
        ASSERT_EQ(even.frameOffset, 5);
        if (mode == SplitFullHeight || part) continue;
        ClearImage(&source);
        FieldsToFrame(first.get(), second.get(), frame.get());
        for (int i = 0; i < w * h * channels; ++i)
            ASSERT_EQ(element(source, i % w, i / w % h, i / w / h),
                      element(*whole, i % w, i / w % h, i / w / h));
    }
}

TEST(MaskToBoundary, MarksUpperAndLeftEdges) {
    Random random(62);
    for (int round = 0; round < 300; ++round) {
        TestImage mask({random(1, 40), random(1, 12), random(1, 2), 1 + round % 3, random.coin()});
        mask.randomise(random);
        for (int i = 0; i < mask.pixels.size() && mask.type() != DataBit; ++i) mask.data[i] &= 0x81;
        const Bytes before = mask.pixels.bytes();
        const OwnedImage boundary(MaskToBoundary(&mask));
        ASSERT_TRUE(boundary && boundary->imageType == MajorBoundary && boundary->width == mask.width &&
                    boundary->height == mask.height && boundary->rowBytes == (mask.width + 7) / 8 * 2);
        const auto on = [&](int x, int y) { return x >= 0 && y >= 0 && mask.at(x, y, 0) != 0; };
        for (int i = 0; i < mask.width * mask.height; ++i) {
            const int x = i % mask.width, y = i / mask.width;
            ASSERT_TRUE(bitOf(*boundary, x, y, 0) == (on(x, y) != on(x, y - 1)) &&
                        bitOf(*boundary, x, y, 1) == (on(x, y) != on(x - 1, y)))
                << x << ' ' << y;
        }
        for (int i = 0; mask.width % 8 && i < 2 * mask.height; ++i)
            ASSERT_EQ(boundary->data[(i + 1) * boundary->rowBytes / 2 - 1] & 0xFF >> mask.width % 8, 0);
        ASSERT_TRUE(mask.pixels.intact() && mask.pixels.bytes() == before);
    }
    TestImage grey({4, 4, 1, DataUInt16});
    Image empty{};
    EXPECT_FALSE(MaskToBoundary(&grey) || MaskToBoundary(&empty) || MaskToBoundary(nullptr));
}

}  // namespace
