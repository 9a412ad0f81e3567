// Records and their buffers: wrong sizes and addresses, buffers lost, released twice or with the wrong
// function (the sanitizers count), shapes that the record cannot hold, type codes computed wrongly.
#include "pzel/image/lifecycle.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

#include "pzel/image/attachment.h"
#include "tests/support/images.h"

namespace {

using namespace test;

struct Delete {
    void operator()(Image* image) const { DeleteImage(image); }
};
using Owned = std::unique_ptr<Image, Delete>;

u8* fromMalloc(std::size_t bytes) {
    return static_cast<u8*>(std::malloc(bytes));
}

Attachment* newAttachment(std::uint32_t size) {
    return new (::operator new(sizeof(Attachment))) Attachment{size, 77, ::operator new(size)};
}

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

TEST(Lifecycle, BuffersChangeOwnersAndKeepTheirMark) {
    Image image;
    ConstructImage(image, 6, 5, 1, fromMalloc(30), DataUInt8, false, false);
    EXPECT_TRUE(image.state == StateFreeData && image.imageType == SubGrey && IsInterleaved(&image));
    ResizeImage(&image, 7, 5);  // the library's buffer now, to be freed all the same
    EXPECT_TRUE(image.state == StateFreeData && image.rowBytes == 7);
    std::memset(image.data, 9, 35);
    const u8* kept = image.data;
    ResizeImage(&image, 7, 5);
    SetImageData(&image, nullptr, true);
    EXPECT_EQ(image.data, kept);
    const Owned copy(DuplicateImage(&image)), like(AllocImage()), taker(AllocImage());
    EXPECT_TRUE(copy->state == 0 && std::memcmp(copy->data, image.data, 35) == 0);
    SetDefaultBound(&image);
    SetImageAttachment(&image, newAttachment(3));
    like->frameOffset = -6;
    CopyImageCharacteristics(like.get(), &image);
    EXPECT_TRUE(like->frameOffset == -6 && like->state == image.state && like->data != kept &&
                !like->attachment);
    EXPECT_EQ(readPair(like->bound, 0, DataUInt8), Pair(0, 255));
    SetImageData(like.get(), fromMalloc(35), false);
    SetImageData(copy.get(), static_cast<u8*>(::operator new(35)), true);
    SwapImage(like.get(), copy.get());
    EXPECT_TRUE(copy->bound && !like->bound && (copy->state & StateFreeData) &&
                !(like->state & StateFreeData));
    TransferImage(taker.get(), &image);
    EXPECT_TRUE(taker->data == kept && taker->attachment && !image.data && !image.bound && !image.attachment);
    EXPECT_EQ(image.state, taker->state);
    RemoveImageData(taker.get());
    CheckDataArray(taker.get());
    EXPECT_NE(taker->state & StateFreeData, 0);
    CleanupImage(taker.get());
    EXPECT_TRUE(!taker->data && !taker->bound && !taker->attachment && taker->state == 0 &&
                taker->width == 7);
    for (const int channels : {1, 5}) {
        const Owned three(NewImage(7, 5, 3, DataUInt16, true)), other(NewImage(three.get(), channels));
        EXPECT_EQ(other->rowBytes, 42) << "taken over";
        ClearImage(other.get());
        ComputeRowBytes(other.get());
        ClearImage(other.get());
        CopyImage(other.get(), three.get());  // other channels: nothing
    }
    const Owned empty(AllocImage());
    ConstructImage(*empty, 7, 5, 1, nullptr, DataUInt8, true, true);
    const Owned zeros(DuplicateImage(empty.get()));
    EXPECT_EQ(Bytes(zeros->data, zeros->data + 35), Bytes(35)) << "no pixels are black ones";
    CopyImage(zeros.get(), empty.get());
    EXPECT_FALSE(empty->data);
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
