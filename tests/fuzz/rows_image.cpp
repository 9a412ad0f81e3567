// Records, pixels, arithmetic, attachments, runs of bits, typed copies and colour models.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tests/fuzz/rows.h"

namespace fuzz {

namespace {

void keep(World& w, Image* made) {
    Image** const slot = w.freeSlot();
    *slot = made;
    w.touch(made);
}

/// Fresh pixels are the host's to fill.
void freshPixels(World& w, Image* image) {
    w.fill(image);
    if (!w.setting.shortCuts) image->state &= u8(~StateHsiBound);
}

Image* floats(World& w, int planar = 0) {
    Want want{DataFloat};
    want.planar = planar;
    return w.image(want);
}

float at(const u8* place) {
    float value;
    std::memcpy(&value, place, 4);
    return value;
}
float at(const Bytes& bytes, std::size_t i) {
    return at(bytes.data() + 4 * i);
}

/// Every element of a float image against what a formula makes of it and of another image's.
template <class F>
void judgeEach(World& w, const Image* a, const Bytes& before, const Image* b, F&& formula) {
    const Bytes now = pixelsOf(a), other = pixelsOf(b);
    bool holds = true;
    for (std::size_t i = 0; i < GetImageVolume(a); ++i)
        holds = holds && same(at(now, i), formula(at(before, i), a == b ? at(before, i) : at(other, i)));
    HOLDS(holds && "every element follows the formula");
}

/// Floats that other elements stand for, or will, have the same bytes on all sets: what is no number has no
/// bytes of its own.
void makePlain(u8* floats, std::size_t bytes) {
    for (u8* place = floats; place < floats + bytes; place += 4)
        if (std::isnan(at(place))) std::memset(place, 0xFF, 4);
}

void typedCopy(World& w, bool signedMode) {
    Image* const from = w.image({.pixels = !w.draw.oneIn(8)});
    Image* to = w.image({.pixels = !w.draw.oneIn(8)});
    if (from == to) to = w.likeIt(from);
    struct {
        int sx = 0, sy = 0, dx = 0, dy = 0, w, h, mode = 0;
    } r{.w = from->width, .h = from->height};
    if (w.draw.coin())
        r = {w.draw(-4, 20), w.draw(-4, 9), w.draw(-4, 20), w.draw(-4, 9), w.draw(-1, 40), w.draw(-1, 15)};
    r.mode = w.draw(0, 5) | w.draw(0, 15) << 4;
    // What stands beside an untreated strip in a repeated row is not promised.
    if ((r.mode & 15) == CopyBorderFill && r.mode & CopySkipRight) r.mode |= CopySkipBottom;
    w.out(from), w.out(to);
    if (signedMode) {
        CALL(CopyImage, from, to, r.sx, r.sy, r.dx, r.dy, r.w, r.h, char(r.mode));
    } else {
        CALL(CopyImage, from, to, r.sx, r.sy, r.dx, r.dy, r.w, r.h, u16(r.mode));
    }
}

struct Records {
    ~Records() {
        for (Image& image : images) CleanupImage(&image);
    }
    Image images[2]{};
};

Attachment* newAttachment(World& w) {
    auto* const made = new (::operator new(sizeof(Attachment))) Attachment{4, 7, ::operator new(4)};
    std::memset(made->buffer, w.draw.byte(), 4);
    return made;
}

}  // namespace

void addImageRows(Table& table) {
    // Records.
    table.strong("AllocImage", [](World& w) {
        Image* const made = CALL(AllocImage);
        HOLDS(!made->data && !made->bound && made->width == 0 && IsValidImage(made) && IsDuring(made));
        keep(w, made);
    });
    table.strong("AllocImages, DeleteImages", [](World& w) {
        int offsets[] = {3, 1, -2}, others[] = {9, 8, 7};
        const int count = w.draw(-1, 3), before = w.draw(-1, 3), kind = w.draw(0, 2);
        Image* const made = kind == 0   ? CALL(AllocImages, count, before)
                            : kind == 1 ? CALL(AllocImages, offsets, count)
                                        : CALL(AllocImages, offsets, others, count);
        HOLDS((made == nullptr) == (count < 1));
        for (int i = 0; i < count; ++i) {
            HOLDS(kind == 0 || made[i].frameOffset == offsets[i]);
            HOLDS(made[i].frameOffset2 == (kind == 2 ? others[i] : 0));
            HOLDS(kind > 0 || i == 0 || i > before || made[i].frameOffset == i - 1 - before);
        }
        CALL(DeleteImages, made, count);
    });
    table.strong("ImageInit, ConstructImage", [](World& w) {
        Image image;
        CALL(ImageInit, &image);
        HOLDS(!image.data && image.dataType == 0 && image.state == 0);
        const Shape s = w.shape({.pixels = false});
        CALL(ConstructImage, image, u16(s.width), u16(s.height), u16(s.channels), nullptr, u16(s.type),
             s.interleaved, w.draw.coin());
        HOLDS(image.channels == s.channels && (s.channels != 1 || IsInterleaved(&image)));
        HOLDS(image.width == s.width && image.height == s.height && !image.data);
    });
    table.basic("ConstructImages", [](World& w) {
        Image* const image = w.image({.pixels = false});
        w.out(image), forgetHostBound(image);
        const bool had = image->data;
        if (had && w.draw.coin()) return;
        const Shape s = w.shape();
        if (had) RemoveImageData(image);
        if (typeOf(image) == DataFloat && image->bound)
            makePlain(image->bound, 3 * std::size_t(GetBoundBytes(image)));
        const u16 type = image->imageType;
        CALL(ConstructImages, image, 1, u16(s.width), u16(s.height), u8(s.channels),
             u8(s.type | (s.interleaved ? DataInterleaved : 0)));
        HOLDS(image->data && image->channels == s.channels && image->imageType == type);
        freshPixels(w, image);
    });
    table.strong("NewImage", [](World& w) {
        const Shape s = w.shape({.pixels = false});
        Image* const made =
            CALL(NewImage, u16(s.width), u16(s.height), u8(s.channels), u8(s.type), s.interleaved);
        HOLDS(made->data && made->width == s.width && made->height == s.height && !made->bound);
        made->imageType = u16(s.imageType);
        w.fill(made);
        keep(w, made);
    });
    table.strong("NewImage like", [](World& w) {
        Image* const like = w.image({.pixels = false});
        Image* const made = w.draw.coin() ? CALL(NewImage, like) : CALL(NewImage, like, int(like->channels));
        HOLDS(made->data && made->rowBytes == like->rowBytes && made->state == 0 && !made->attachment);
        HOLDS(made->frameOffset == like->frameOffset);
        w.fill(made);
        made->frameOffset2 = 0;
        keep(w, made);
    });
    table.strong("NewImage of channels", [](World& w) {
        Image* const made = CALL(NewImage, w.image({.pixels = false}), w.draw(0, 5));
        CALL(ComputeRowBytes, made);
        made->frameOffset2 = 0;
        w.fill(made);
        keep(w, made);
    });
    table.strong("DuplicateImage", [](World& w) {
        Image* const source = w.image({.pixels = false});
        Image* const made = CALL(DuplicateImage, source);
        HOLDS(source->data ? pixelsOf(made) == pixelsOf(source)
                           : pixelsOf(made) == Bytes(GetImageTotalBytes(made)));
        made->frameOffset2 = 0;
        keep(w, made);
    });
    table.basic("CheckDataArray, RemoveImageData", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        if (w.draw.coin()) CALL(RemoveImageData, image);
        u8* const before = image->data;
        CALL(CheckDataArray, image);
        HOLDS(image->data && (!before || image->data == before));
        if (!before) freshPixels(w, image);
    });
    table.basic("SetNumbOfChannels", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        forgetHostBound(image);
        const int n = w.draw(0, 5);
        RemoveImageData(image);
        CALL(SetNumbOfChannels, image, n);
        HOLDS(image->channels == n && (n != 1 || IsInterleaved(image)));
        HOLDS(n != 1 || CompMType(image->imageType) != MajorPicture || (image->imageType & 0xFF) == SubGrey);
        CALL(ComputeRowBytes, image);
        CALL(CheckDataArray, image);
        freshPixels(w, image);
    });
    table.never("CleanupImage", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        CALL(CleanupImage, image);
        HOLDS(!image->data && !image->bound && !image->attachment && image->state == 0);
    });
    table.never("DeleteImage", [](World& w) {
        Image*& slot = w.images[std::size_t(w.draw(0, World::kImages - 1))];
        w.touch(slot);
        CALL(DeleteImage, std::exchange(slot, nullptr));
    });
    table.never("GetImageData", [](World& w) {
        Image* const image = w.image({.pixels = false});
        const int c = w.draw(-1, 5);
        const Image* const same = image;
        const std::size_t step = !image->data || c < 1 || c >= image->channels ? 0
                                 : IsInterleaved(image) ? std::size_t(c * DataBytes(image->dataType))
                                                        : c * GetImageBytes(image);
        HOLDS(CALL(GetImageData, image) == image->data && CALL(GetImageData, same) == image->data);
        HOLDS(CALL(GetImageData, image, c) == image->data + step &&
              CALL(GetImageData, same, c) == image->data + step);
        if (image->data && image->width) {
            const int x = w.draw(0, image->width - 1), y = w.draw(0, image->height);
            const int pixel = DataBytes(image->dataType) * (IsInterleaved(image) ? image->channels : 1);
            HOLDS(CALL(GetImageData, image, x, y) == image->data + y * image->rowBytes + x * pixel);
        }
    });
    table.never("SetImageData", [](World& w) {
        Image* const image = w.out(w.image());
        const bool own = w.draw.coin() && !(image->state & StateFreeData);
        const std::size_t bytes = GetImageTotalBytes(image);
        auto* const data = static_cast<u8*>(own ? ::operator new(bytes) : std::malloc(bytes));
        CALL(SetImageData, image, data, own);
        CALL(SetImageData, image, nullptr, true);
        HOLDS(image->data == data && (own || image->state & StateFreeData));
        w.fill(image);
    });
    table.never("CopyImageData, CopyImage", [](World& w) {
        Image* const from = w.image();
        Image* const to = w.likeIt(from);
        w.out(to);
        if (w.draw.coin()) {
            CALL(CopyImageData, from, to);
        } else {
            CALL(CopyImage, from, to);
        }
        HOLDS(pixelsOf(to) == pixelsOf(from));
    });
    table.basic("CopyImageCharacteristics", [](World& w) {
        Image* const from = w.image({.pixels = false});
        Image* const to = w.image({.pixels = false});
        if (from == to) return;
        w.out(from), w.out(to), CleanupImage(to);
        const int tag = to->frameOffset;
        if (w.draw.coin()) {
            CALL(CopyImageCharacteristics, to, from);
        } else {
            Records two;
            two.images[1].frameOffset = tag;
            CALL(CopyImageStruct, two.images, 2, from);
            HOLDS(two.images[0].data && two.images[0].data != two.images[1].data);
            SwapImage(to, two.images + 1);
        }
        HOLDS(to->data && to->rowBytes == from->rowBytes && to->state == from->state &&
              to->frameOffset == tag);
        HOLDS(!from->bound || GetBoundBytes(from) == 0 ||
              !std::memcmp(to->bound, from->bound, std::size_t(GetBoundBytes(from))));
        w.fill(to);
        to->frameOffset2 = 0;
    });
    table.never("SwapImage", [](World& w) {
        Image* const a = w.out(w.image({.pixels = false}));
        Image* const b = w.out(w.image({.pixels = false}));
        const Image before = *a, other = *b;
        CALL(SwapImage, a, b);
        HOLDS(a->data == other.data && b->data == before.data && a->bound == other.bound &&
              a->width == other.width && b->rowBytes == before.rowBytes && b->state == before.state &&
              a->attachment == other.attachment);
    });
    table.never("TransferImage", [](World& w) {
        Image* const from = w.out(w.image({.pixels = false}));
        Image* const to = w.out(w.image({.pixels = false}));
        if (from == to) return;
        CleanupImage(to);
        const Image before = *from;
        CALL(TransferImage, to, from);
        HOLDS(to->data == before.data && to->bound == before.bound && to->rowBytes == before.rowBytes &&
              !from->data && !from->bound && !from->attachment);
    });
    table.never("ClearImage", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        CALL(ClearImage, image);
        const Bytes now = pixelsOf(image);
        HOLDS(std::count(now.begin(), now.end(), 0) == long(now.size()));
    });
    table.basic("ResizeImage", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        const int width = w.draw(0, 66), height = w.draw(0, 9);
        const bool stays = image->data && image->width == width && image->height == height;
        CALL(ResizeImage, image, width, height);
        HOLDS(image->data && image->width == width && image->height == height);
        if (!stays) freshPixels(w, image);
    });
    // What a record says of itself.
    table.never("IsInterleaved and its kin", [](World& w) {
        Image* const image = w.image({.pixels = false});
        const Image* const same = w.draw.oneIn(9) ? nullptr : image;
        const u32 size = same ? u32(image->width) * image->height : 0, channels = same ? image->channels : 0;
        HOLDS(CALL(IsInterleaved, same) == (same && (channels == 1 || image->dataType & DataInterleaved)));
        HOLDS(CALL(GetImageSize, same) == size && CALL(GetImageVolume, same) == size * channels);
        const u32 plane = same ? u32(image->rowBytes) * image->height : 0;
        HOLDS(CALL(GetImageBytes, same) == plane);
        HOLDS(CALL(GetImageTotalBytes, same) == plane * (same && IsInterleaved(same) ? 1 : channels));
        HOLDS(CALL(GetRowBytes, image) == image->rowBytes);
        HOLDS(CALL(GetDataType, same) == (same ? image->dataType & 15 : 0) &&
              CALL(GetDataType, image) == (image->dataType & 15));
        HOLDS(CALL(GetDataInfo, image) == (image->dataType & DataInfoMask));
        HOLDS(CALL(GetImageType, same) == (same ? image->imageType : 0xFF00) &&
              CALL(GetImageType, image) == image->imageType);
        HOLDS(CALL(GetMajorType, same) == (same ? image->imageType & 0xFF00 : 0xFF00) &&
              CALL(GetMajorType, image) == (image->imageType & 0xFF00));
        HOLDS(CALL(GetSubType, same) == (same ? image->imageType & 0xFF : 0xF0) &&
              CALL(GetSubType, image) == (image->imageType & 0xFF));
    });
    table.never("SetImageType of elements", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        const u16 before = image->dataType, mask = u16(w.draw.pick({0x10, 0x20, 0x30})),
                  bits = u16(w.draw.pick({0, 0x10, 0x20}));
        CALL(SetImageType, image, mask, bits);
        HOLDS(image->dataType == u16((before & ~mask) | bits));
    });
    table.never("SetImageType and its kin", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        // A bitmap that is there keeps its depth; that of another kind would be wrong.
        const u16 word = u16(w.draw.pick<int>({SubColour, SubYuv, SubGrey, SubNotSet, 0x42})),
                  before = image->imageType;
        CALL(SetSubType, image, word);
        HOLDS(image->imageType == ((before & 0xFF00) | word));
        CALL(SetMajorType, image, u16(before));
        CALL(SetImageType, image, image->imageType);
        HOLDS(CALL(CompMType, image->imageType) == (before & 0xFF00) &&
              CALL(CompSType, image->imageType) == word);
        if (!w.mayJoin(image)) image->state &= u8(~StateHsiBound);
    });
    table.never("SetImageValid and its kin", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        CALL(SetImageNotValid, image), CALL(SetNotDuring, image);
        HOLDS(!CALL(IsValidImage, image) && !CALL(IsDuring, image));
        if (w.draw.oneIn(4)) return;
        CALL(SetImageValid, image), CALL(SetDuring, image);
        HOLDS(CALL(IsValidImage, image) && CALL(IsDuring, image));
    });
    table.never("GetTrueDataType, FindCommonType, DataBytes", [](World& w) {
        const int type = w.draw(0, 15), channel = w.draw(0, 3), channels = w.draw(0, 4);
        const int actual = CALL(GetTrueDataType, w.draw.coin(), channels, channel, u8(type));
        HOLDS(CALL(DataBytes, u16(actual)) == DataBytes(u16(type)));
        const u8 common = CALL(FindCommonType, u8(type), u8(w.draw(0, 15)));
        w.see(u64(common));
    });
    // Arithmetic on floats.
    table.never("AddImage", [](World& w) {
        Image *const b = floats(w), *const a = w.draw.oneIn(5) ? b : w.likeIt(b);
        const Bytes before = pixelsOf(a);
        const float k = w.real();
        if (w.draw.coin()) {
            CALL(AddImage, w.out(a), b);
            judgeEach(w, a, before, b, [](float x, float y) { return y + x; });
        } else {
            CALL(AddImage, w.out(a), b, k);
            judgeEach(w, a, before, b, [=](float x, float y) { return k * y + x; });
        }
    });
    table.never("SubtractImage, MultiplyImage", [](World& w) {
        Image *const b = floats(w), *const a = w.draw.oneIn(5) ? b : w.likeIt(b);
        const Bytes before = pixelsOf(a);
        const float k = w.real();
        const int kind = w.draw(0, 2);
        if (kind == 0) {
            CALL(SubtractImage, w.out(a), b);
            judgeEach(w, a, before, b, [](float x, float y) { return x - y; });
        } else if (kind == 1) {
            CALL(MultiplyImage, w.out(a), b);
            judgeEach(w, a, before, b, [](float x, float y) { return y * x; });
        } else {
            CALL(MultiplyImage, w.out(a), b, k);
            judgeEach(w, a, before, b, [=](float x, float y) { return k * x * y; });
        }
    });
    table.never("MultiplyConstant, PlusConst, DivideImage", [](World& w) {
        Image* const a = w.out(floats(w));
        const Bytes before = pixelsOf(a);
        const float k = w.real(), c = w.real();
        const int kind = w.draw(0, 2);
        if (kind == 0) {
            CALL(MultiplyConstant, a, k);
            judgeEach(w, a, before, a, [=](float x, float) { return k * x; });
        } else if (kind == 1) {
            CALL(PlusConst, a, k);
            judgeEach(w, a, before, a, [=](float x, float) { return k + x; });
        } else {
            CALL(DivideImage, c, a, k);
            judgeEach(w, a, before, a, [=](float x, float) { return c / (x + k); });
        }
    });
    table.never("DivideByImage", [](World& w) {
        Image *const b = floats(w), *const a = w.draw.oneIn(5) ? b : w.likeIt(b);
        const Bytes before = pixelsOf(a);
        const float k = w.real();
        CALL(DivideByImage, w.out(a), b, k);
        judgeEach(w, a, before, b, [=](float x, float y) { return x / (y < 0 ? y - k : y + k); });
    });
    table.never("SqureSum and its kin", [](World& w) {
        Image *const a = floats(w), *const b = w.likeIt(a);
        w.see(CALL(SqureSum, a)), w.see(CALL(MultipSum, a, b)), w.see(CALL(DifferenceSqureSum, a, b));
        w.see(CALL(WeightDifferenceSum, a, b, b)), w.see(CALL(ImageDiffEnergy, a, b));
    });
    table.never("CopyCh2Ch and its kin", [](World& w) {
        Image *const a = floats(w, 1), *const b = w.likeIt(a);
        const int ca = w.draw(0, a->channels - 1), cb = w.draw(0, b->channels - 1), kind = w.draw(0, 3);
        const float k = w.real();
        const Bytes was = pixelsOf(a), other = pixelsOf(b);
        const auto m = std::size_t(GetImageSize(a)), fromA = ca * m, fromB = cb * m;
        if (kind == 0) CALL(CopyCh2Ch, a, w.out(b), ca, cb);
        if (kind == 1) CALL(Ch2ChSubtract, w.out(a), b, ca, cb);
        if (kind == 2) CALL(Ch2ChAdd, w.out(a), b, ca, cb);
        if (kind == 3) CALL(Ch2ChAdd, w.out(a), b, ca, cb, k);
        const Bytes now = pixelsOf(kind == 0 ? b : a);
        bool holds = true;
        for (std::size_t i = 0; i < a->channels * m; ++i) {
            const float x = at(was, i), before = kind == 0 ? at(other, i) : x;
            const bool in = kind == 0 ? i - fromB < m : i - fromA < m;
            const float y =
                in ? at(kind == 0 ? was : other, kind == 0 ? i - fromB + fromA : i - fromA + fromB) : 0;
            const float wanted = !in         ? before
                                 : kind == 0 ? y
                                 : kind == 1 ? x - y
                                 : kind == 2 ? y + x
                                             : k * y + x;
            holds = holds && same(at(now, i), wanted);
        }
        HOLDS(holds && "channels follow the formula");
    });
    table.never("InvertImage", [](World& w) {
        Image* const image = w.out(w.image());
        const Bytes before = pixelsOf(image);
        const int type = typeOf(image);
        CALL(InvertImage, image);
        const Bytes now = pixelsOf(image);
        const bool isSigned = type == DataInt8 || type == DataInt16 || type == DataInt32;
        const std::size_t size = std::size_t(std::max(1, DataBytes(u16(type))));
        bool holds = true;
        for (std::size_t i = 0; i + size <= now.size(); i += size) {
            u32 value = 0, wanted = 0;
            std::memcpy(&value, &before[i], size);
            wanted = isSigned ? 0 - value : type == DataFloat ? value ^ 0x80000000 : ~value;
            holds = holds && !std::memcmp(&wanted, &now[i], size);
        }
        HOLDS(holds && "every element is inverted");
    });
    table.never("Make2Power", [](World& w) {
        const int n = w.draw.coin() ? w.draw(-3, 200) : int(w.draw.word());
        const int result = CALL(Make2Power, n);
        HOLDS(result >= n || result == 0x7FFFFFFF || result == 0x60000000 || n > 0x60000000);
        w.see(u64(result));
    });
    table.never("printData", [](World& w) {
        Image* const image = w.image({.pixels = false});
        if (image->width == 0 || image->height == 0) return;
        Bytes out(kPixelTextBytes, 0x7F);
        if (image->imageType == 0x0501 && GetImageTotalBytes(image) < 36) return;
        CALL(printData, image, w.draw(0, image->width - 1), w.draw(0, image->height - 1),
             reinterpret_cast<char*>(out.data()));
        const auto end = std::find(out.begin(), out.end(), 0);
        HOLDS(end != out.end());
        // What is no number has no sign of its own.
        if (!std::strstr(reinterpret_cast<const char*>(out.data()), "nan")) w.see(u64(end - out.begin()));
    });
    table.never("FillData", [](World& w) {
        Image* const image = w.out(w.image());
        std::array<AnyType, 5> values{}, given;
        for (AnyType& value : values) value = w.element(typeOf(image));
        given = values;
        CALL(FillData, image, values.data());
        const bool turned = image->channels == 3;
        HOLDS(values[0].uint32 == given[turned ? 2 : 0].uint32 &&
              values[2].uint32 == given[turned ? 0 : 2].uint32);
        const auto size = std::size_t(DataBytes(image->dataType));
        bool filled = true;
        for (int i = 0; i < image->width * image->height * image->channels && size > 0; ++i) {
            const int c = i % image->channels, x = i / image->channels % image->width;
            const u8* const place = test::elementPlace(*image, x, i / image->channels / image->width, c);
            filled = filled && !std::memcmp(place, &values[std::size_t(c)], size);
        }
        HOLDS(filled && "every element of a channel has its value");
    });
    // What travels along.
    table.never("SetImageAttachment, GetImageAttachment, SetAttachmentData", [](World& w) {
        Image* const image = w.out(w.image({.pixels = false}));
        Attachment* const made = w.draw.oneIn(4) ? nullptr : newAttachment(w);
        CALL(SetImageAttachment, image, made);
        HOLDS(CALL(GetImageAttachment, image) == made);
        u32 data = 0x12345678;
        bool threw = false;
        try {
            CALL(SetAttachmentData, made, &data);
        } catch (const std::exception&) {
            threw = true;
        }
        HOLDS(threw == !made && (threw || !std::memcmp(made->buffer, &data, 4)));
    });
    table.never("CopyBits", [](World& w) {
        const int bits = w.draw(0, 200), to = w.draw(0, 255), from = w.draw(0, 255);
        Bytes source(std::size_t(bits + from + 7) / 8), destination(std::size_t(bits + to + 7) / 8);
        for (u8& one : source) one = w.draw.byte();
        for (u8& one : destination) one = w.draw.byte();
        Bytes wanted = destination;
        for (int i = 0; i < bits; ++i) {
            const int a = from + i, b = to + i;
            wanted[std::size_t(b / 8)] = u8((wanted[std::size_t(b / 8)] & ~(0x80 >> b % 8)) |
                                            ((source[std::size_t(a / 8)] >> (7 - a % 8) & 1) << (7 - b % 8)));
        }
        CALL(CopyBits, destination.data(), source.data(), u16(bits), u8(to), u8(from));
        HOLDS(destination == wanted);
    });
    // Copies that convert.
    table.strong("CopyImage of a rectangle", [](World& w) { typedCopy(w, false); });
    table.strong("CopyImage of a rectangle, short mode", [](World& w) { typedCopy(w, true); });
    table.basic("Conversion", [](World& w) {
        Image* const from = w.image({.channels = w.draw.oneIn(8) ? -1 : 3});
        const Zel::MessageBoxHandler before = CALL(Zel::SetMessageBox, [](const char*) {});
        const int direction = w.draw(0, 2);
        if (w.draw.oneIn(4)) {
            CALL(Conversion, nullptr, from, direction);
        } else {
            Image* const to =
                NewImage(from->width, from->height, from->channels, DataFloat, IsInterleaved(from));
            w.fill(to);
            const int result = CALL(Conversion, to, from, direction);
            HOLDS(result == (from->channels != 3 || typeOf(from) == DataUInt8));
            keep(w, to);
        }
        Zel::SetMessageBox(before);
    });
    table.basic("Conversion in place", [](World& w) {
        Image* const image = w.out(
            w.image({.type = w.draw.oneIn(8) ? -1 : int(DataFloat), .channels = w.draw.oneIn(8) ? -1 : 3}));
        const Zel::MessageBoxHandler before = Zel::SetMessageBox([](const char*) {});
        HOLDS(CALL(Conversion, image, w.draw(0, 2)) == (image->channels != 3));
        // Elements of four bytes are taken for floats.
        if (DataBytes(image->dataType) == 4) makePlain(image->data, GetImageTotalBytes(image));
        Zel::SetMessageBox(before);
    });
}

}  // namespace fuzz
