// Ownership of records and pixels. Every allocation of pixels goes through AllocateData, every release
// through RemoveImageData.
#include "pzel/image/lifecycle.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "pzel/image/attachment.h"
#include "pzel/image/bound_array.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/clone.h"

namespace {

constexpr std::uint64_t kLargestRow = 0xFFFF;
constexpr std::uint64_t kLargestTotal = 0xFFFFFFFF;

Image* AllocateRecords(int count) {
    auto* images = static_cast<Image*>(::operator new(sizeof(Image) * std::size_t(count)));
    std::fill_n(images, count, Image{});
    return images;
}

/// The bytes that the image's pixels need: by its row length as it stands, and by the one that its shape
/// calls for, whichever is more. The two differ where a record took over the row length of another.
std::size_t BytesNeeded(const Image& image) {
    const std::uint64_t element = std::uint64_t(DataBytes(image.dataType));
    const std::uint64_t channels = image.channels;
    const bool interleaved = IsInterleaved(&image);
    std::uint64_t row = element ? image.width * element : (image.width + 7u) / 8u;
    if (interleaved) row *= channels;
    const std::uint64_t bytes =
        std::max<std::uint64_t>(row, image.rowBytes) * image.height * (interleaved ? 1 : channels);
    if (row > kLargestRow || bytes > kLargestTotal) throw std::bad_array_new_length();
    return std::size_t(bytes);
}

/// By the mark in `state`, so that releasing by the same mark always matches.
unsigned char* AllocateData(std::size_t bytes, bool freed) {
    if (!freed) return static_cast<unsigned char*>(::operator new(bytes));
    void* data = std::malloc(std::max<std::size_t>(bytes, 1));
    if (!data) throw std::bad_alloc();
    return static_cast<unsigned char*>(data);
}

void ReleaseAttachment(Image& image) {
    if (!image.attachment) return;
    ::operator delete(image.attachment->buffer);
    ::operator delete(image.attachment);
    image.attachment = nullptr;
}

/// A record like `like` that owns nothing yet.
Image ShapeOf(const Image& like) {
    Image image = like;
    image.data = nullptr;
    image.bound = nullptr;
    image.attachment = nullptr;
    image.state = 0;
    return image;
}

/// A new record; its buffer is allocated before the record, so that a refusal leaks nothing.
Image* NewRecord(Image shape) {
    CheckDataArray(&shape);
    try {
        Image* image = AllocImage();
        *image = shape;
        return image;
    } catch (...) {
        CleanupImage(&shape);
        throw;
    }
}

}  // namespace

Image* AllocImage() {
    return AllocateRecords(1);
}

Image* AllocImages(int count, int before) {
    if (count <= 0) return nullptr;
    Image* images = AllocateRecords(count);
    for (int i = 1; i < count; ++i)
        images[i].frameOffset = i <= before ? i - 1 - before : i - std::max(before, 0);
    return images;
}

Image* AllocImages(int* offsets, int count) {
    if (count <= 0) return nullptr;
    Image* images = AllocateRecords(count);
    for (int i = 0; i < count; ++i) images[i].frameOffset = offsets[i];
    return images;
}

Image* AllocImages(int* offsets, int* offsets2, int count) {
    Image* images = AllocImages(offsets, count);
    for (int i = 0; i < count; ++i) images[i].frameOffset2 = offsets2[i];
    return images;
}

void ConstructImage(Image& image, unsigned short width, unsigned short height, unsigned short channels,
                    unsigned char* data, unsigned short type, bool interleaved, bool libraryOwned) {
    ImageInit(&image);
    image.width = width;
    image.height = height;
    image.dataType = type & DataTypeMask;
    SetNumbOfChannels(&image, channels);
    if (interleaved) image.dataType |= DataInterleaved;
    ComputeRowBytes(&image);
    image.data = data;
    if (!libraryOwned) image.state |= StateFreeData;
}

void ConstructImages(Image* images, int count, unsigned short width, unsigned short height,
                     unsigned char channels, unsigned char typeByte) {
    for (int i = 0; i < count; ++i) {
        Image image = images[i];
        image.width = width;
        image.height = height;
        image.channels = channels;  // not through SetNumbOfChannels: the image type stays
        image.dataType = typeByte;
        ComputeRowBytes(&image);
        CheckDataArray(&image);
        images[i] = image;
    }
}

Image* NewImage(unsigned short width, unsigned short height, unsigned char channels, unsigned char type,
                bool interleaved) {
    Image shape;
    ConstructImage(shape, width, height, channels, nullptr, type, interleaved, true);
    return NewRecord(shape);
}

Image* NewImage(Image* like) {
    return NewRecord(ShapeOf(*like));
}

Image* NewImage(Image* like, int channels) {
    Image shape = ShapeOf(*like);
    SetNumbOfChannels(&shape, channels);
    return NewRecord(shape);
}

Image* DuplicateImage(Image* source) {
    Image* copy = NewImage(source);
    if (source->data)
        CopyImageData(source, copy);
    else
        ClearImage(copy);
    return copy;
}

void CheckDataArray(Image* image) {
    if (!image->data) image->data = AllocateData(BytesNeeded(*image), image->state & StateFreeData);
}

void SetNumbOfChannels(Image* image, int n) {
    image->channels = std::uint8_t(n);
    if (n != 1) return;
    if (GetMajorType(image) == MajorPicture) SetSubType(image, SubGrey);
    image->dataType |= DataInterleaved;
}

void RemoveImageData(Image* image) {
    if (image->state & StateFreeData)
        std::free(image->data);
    else
        ::operator delete(image->data);
    image->data = nullptr;
}

void CleanupImage(Image* image) {
    RemoveImageData(image);
    ::operator delete(image->bound);
    image->bound = nullptr;
    ReleaseAttachment(*image);
    image->state = 0;
}

void DeleteImage(Image* image) {
    DeleteImages(image, 1);
}

void DeleteImages(Image* images, int count) {
    if (!images) return;
    for (int i = 0; i < count; ++i) CleanupImage(images + i);
    ::operator delete(images);
}

const unsigned char* GetImageData(const Image* image) {
    return image ? image->data : nullptr;
}

unsigned char* GetImageData(Image* image) {
    return image->data;
}

const unsigned char* GetImageData(const Image* image, int channel) {
    return image ? GetImageData(const_cast<Image*>(image), channel) : nullptr;
}

unsigned char* GetImageData(Image* image, int channel) {
    if (!image->data || channel <= 0 || channel >= image->channels) return image->data;
    const std::size_t step =
        IsInterleaved(image) ? std::size_t(DataBytes(image->dataType)) : GetImageBytes(image);
    return image->data + std::size_t(channel) * step;
}

unsigned char* GetImageData(Image* image, int x, int y) {
    const int step = DataBytes(image->dataType) * (IsInterleaved(image) ? image->channels : 1);
    return image->data + std::ptrdiff_t(y) * image->rowBytes + std::ptrdiff_t(x) * step;
}

void SetImageData(Image* image, unsigned char* data, bool libraryOwned) {
    if (!data) return;
    RemoveImageData(image);
    image->data = data;
    if (!libraryOwned) image->state |= StateFreeData;
}

void CopyImageData(Image* source, Image* destination) {
    if (source->data && destination->data)
        std::memmove(destination->data, source->data, GetImageTotalBytes(source));
}

void CopyImage(Image* source, Image* destination) {
    if (source->width == destination->width && source->height == destination->height &&
        source->channels == destination->channels)
        CopyImageData(source, destination);
}

void CopyImageCharacteristics(Image* destination, Image* source) {
    Image shape = ShapeOf(*source);
    shape.frameOffset = destination->frameOffset;
    shape.frameOffset2 = destination->frameOffset2;
    // The mark comes along with the state below: allocate what it will be released with.
    shape.state = source->state & StateFreeData;
    CheckDataArray(&shape);
    try {
        CheckBoundArray(source);
        if (GetBoundBytes(source) > 0) shape.bound = pzel::CloneBoundArray(*source);
    } catch (...) {
        CleanupImage(&shape);
        throw;
    }
    shape.state = source->state;
    *destination = shape;
}

void CopyImageStruct(Image* destinations, int count, Image* source) {
    for (int i = 0; i < count; ++i) CopyImageCharacteristics(destinations + i, source);
}

void SwapImage(Image* a, Image* b) {
    std::swap(*a, *b);
}

void TransferImage(Image* to, Image* from) {
    *to = *from;
    from->data = nullptr;
    from->bound = nullptr;
    from->attachment = nullptr;
}

void ClearImage(Image* image) {
    if (image->data) std::memset(image->data, 0, GetImageTotalBytes(image));
}

void ResizeImage(Image* image, int width, int height) {
    if (image->width == width && image->height == height && image->data) return;
    RemoveImageData(image);
    image->width = std::uint16_t(width);
    image->height = std::uint16_t(height);
    ComputeRowBytes(image);
    CheckDataArray(image);
}

namespace pzel {

void CloneImage(Image* dst, const Image* src) {
    *dst = ShapeOf(*src);
    dst->state = std::uint8_t(src->state & ~StateFreeData);
    if (src->data) {
        CheckDataArray(dst);
        CopyImageData(const_cast<Image*>(src), dst);
    }
    dst->bound = CloneBoundArray(*src);
    dst->attachment = CloneAttachment(src->attachment);
}

Attachment* CloneAttachment(const Attachment* src) {
    if (!src) return nullptr;
    struct Release {
        void operator()(void* block) const { ::operator delete(block); }
    };
    std::unique_ptr<void, Release> buffer(src->buffer ? ::operator new(src->size) : nullptr);
    if (buffer) std::memcpy(buffer.get(), src->buffer, src->size);
    auto* copy = static_cast<Attachment*>(::operator new(sizeof(Attachment)));
    *copy = {src->size, src->kind, buffer.release()};
    return copy;
}

}  // namespace pzel
