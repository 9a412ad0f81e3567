// From a component's current image to its display bitmap: which image, which part of it, at which depth, and
// the memory for it. Members of Comp; the mapping itself is MapData.
#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

#include "pzel/bounds/bound_entries.h"
#include "pzel/bounds/bounds.h"
#include "pzel/component/comp.h"
#include "pzel/component/data_area.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/map_data.h"
#include "pzel/display/vector.h"
#include "pzel/image/bits.h"
#include "pzel/image/lifecycle.h"

namespace {

/// Where in the bitmap a picture starts that stands at (left, top): bits in front of a whole byte are
/// dropped.
std::size_t StartOffset(int rowBytes, int bits, int left, int top) {
    return std::size_t(rowBytes) * std::size_t(top) + std::size_t(bits) * std::size_t(left) / 8;
}

/// Bytes that MapData writes for one row, also where that is more than rows are apart.
std::size_t MappedRowBytes(const Image& image, int width, unsigned char channelMode) {
    if (GetDataType(&image) == DataBit) return 0;
    return std::size_t(width) * (image.channels == 3 && channelMode == 0 ? 3 : 1);
}

const unsigned char* TableOf(const Comp& comp) {
    return comp.remapper ? comp.remapper->GetLookupTable() : nullptr;
}

/// Copies a boundary image from (left, top) on, as far as both reach: two bit rows for each image row; both
/// row lengths speak of the pair.
void CopyBoundaryRows(unsigned char* dst, const Comp& comp, const Image& image, int left, int top) {
    const int skippedX = std::max(-left, 0), skippedY = std::max(-top, 0);
    const int x = left + skippedX, y = top + skippedY;
    const int srcStep = image.rowBytes / 2, dstStep = comp.bmpRowBytes / 2;
    const int width = std::min(comp.bmpWidth - skippedX, std::min<int>(image.width, 8 * srcStep) - x);
    const int height = std::min(comp.bmpHeight - skippedY, image.height - y);
    if (width <= 0 || height <= 0) return;
    const int rows = std::uint16_t(2 * height), from = x % 8, to = skippedX % 8;
    const unsigned char* src = image.data + std::ptrdiff_t(y) * image.rowBytes + x / 8;
    dst += std::ptrdiff_t(2 * skippedY) * dstStep + skippedX / 8;
    for (int row = 0; row < rows; ++row, dst += dstStep, src += srcStep) {
        if (from == 0 && to == 0)
            std::memcpy(dst, src, std::size_t(width + 7) / 8);
        else
            CopyBits(dst, src, static_cast<unsigned short>(width), static_cast<unsigned char>(to),
                     static_cast<unsigned char>(from));
    }
}

/// Switches the bound of a component's images: the first is converted, the others take over the section of
/// the type that the first comes from (deliberate: they are not converted one by one).
void SwitchImages(Comp& comp, unsigned char from, unsigned char to) {
    if (!comp.images) return;
    Image* first = comp.images;
    SwitchBoundType(first, from, to);
    const unsigned char* source = GetBound(first, from);
    for (int i = 1; i < comp.imageFrames; ++i) {
        unsigned char* destination = GetBound(comp.images + i, to);
        if (source && destination) {
            const auto room =
                std::size_t(comp.images[i].bound + pzel::boundArrayBytes(comp.images[i]) - destination);
            std::memcpy(destination, source, std::min(std::size_t(GetBoundBytes(first)), room));
        }
        SetBoundType(comp.images + i, to);
    }
}

}  // namespace

void Comp::GetValidDataArea(unsigned short& left, unsigned short& top, unsigned short& w, unsigned short& h) {
    GetValidDataArea(GetCurrentImage(), left, top, w, h);
}

void Comp::GetValidDataArea(Image* image, unsigned short& left, unsigned short& top, unsigned short& w,
                            unsigned short& h) {
    if (pzel::showsDataArea(*this)) {
        assert(pzel::widthOf(*dataArea) >= 0 && pzel::heightOf(*dataArea) >= 0);
        left = static_cast<unsigned short>(dataArea->left);
        top = static_cast<unsigned short>(dataArea->top);
        w = static_cast<unsigned short>(pzel::widthOf(*dataArea));
        h = static_cast<unsigned short>(pzel::heightOf(*dataArea));
    } else {
        left = top = 0;
        w = image ? image->width : 0;
        h = image ? image->height : 0;
    }
}

Image* Comp::GetFlatImage() {
    if (IsValidImage(flatImage)) return flatImage;
    if (flatComp && !(flatComp->flagsA & CompHidden) && IsValidImage(flatComp->GetCurrentImage()))
        return flatComp->GetCurrentImage();
    return GetCurrentImage();
}

Image* Comp::GetFlatImage(unsigned short& left, unsigned short& top, unsigned short& w, unsigned short& h) {
    short dx, dy;
    return GetFlatImage(dx, dy, left, top, w, h);
}

Image* Comp::GetFlatImage(short& dx, short& dy, unsigned short& left, unsigned short& top, unsigned short& w,
                          unsigned short& h) {
    Image* image = GetFlatImage();
    dx = dy = 0;
    if (image && image == flatImage) {
        left = top = 0;
        w = image->width;
        h = image->height;
        if (pzel::showsDataArea(*this)) {
            dx = dataArea->left;
            dy = dataArea->top;
        }
    } else if (image && image != GetCurrentImage()) {
        flatComp->GetValidDataArea(image, left, top, w, h);
        dx = flatComp->x;
        dy = flatComp->y;
    } else {
        GetValidDataArea(image, left, top, w, h);
    }
    return image;
}

int Comp::ComputeBmpBits(Image* image) {
    const unsigned short major = GetCompMType();
    if (major == MajorBoundary || major == MajorVector) return 1;
    if (major == MajorNoBitmap) return 0;
    if (!image) image = GetFlatImage();
    if (!IsValidImage(image)) return 0;
    const int type = ::GetDataType(image);
    if (image->channels == 1) return type == DataNone ? 0 : type == DataBit ? 1 : 8;
    if (image->channels == 3) return flagsA & CompChannelMask ? 8 : 24;
    return 0;
}

int Comp::ComputeBmpBits() {
    return ComputeBmpBits(GetFlatImage());
}

/// Makes sure that the bitmap has at least so many bytes: a new one starts with zeros, one of ours that is
/// too small keeps its contents. One that somebody else put there is taken as large enough.
unsigned char* Comp::PrepareBitmap(std::size_t bytes) {
    if (bitmap && (bitmap != bitmapBlock || bitmapCapacity >= bytes)) return bitmap;
    auto* block = static_cast<unsigned char*>(::operator new(bytes));
    const std::size_t kept = bitmap ? bitmapCapacity : 0;
    if (kept) std::memcpy(block, bitmap, kept);
    std::memset(block + kept, 0, bytes - kept);
    ::operator delete(bitmap);
    bitmap = block;
    bitmapBlock = block;
    bitmapCapacity = bytes;
    return bitmap;
}

void Comp::DeleteBitmap() {
    ::operator delete(bitmap);
    bitmap = nullptr;
    bitmapBlock = nullptr;
    bitmapCapacity = 0;
    bmpWidth = bmpHeight = bmpRowBytes = bmpLeft = bmpTop = 0;
    bmpBits = 0;
}

void Comp::ComputeBitmap(int frame) {
    switch (GetCompMType()) {
        case MajorPicture: ComputeImageBmp(frame); break;
        case MajorBoundary: ComputeBoundaryBmp(); break;
        case MajorVector: ComputeVectorBmp(); break;
        default: break;
    }
}

void Comp::ComputeImageBmp(int) {
    short dx, dy;
    unsigned short left, top, w, h;
    Image* image = GetFlatImage(dx, dy, left, top, w, h);
    if (!image) return;
    if (!bitmap) {
        const int bits = ComputeBmpBits(image);
        bmpBits = static_cast<std::uint8_t>(bits);
        if (bits == 0) return;
        bmpWidth = w;
        bmpHeight = h;
        bmpRowBytes = ComputeBmpLineBytes(w, bits);
    }
    const auto x0 = static_cast<short>(left), y0 = static_cast<short>(top);
    bmpLeft = static_cast<std::uint16_t>(std::max(dx + x0, 0));
    bmpTop = static_cast<std::uint16_t>(std::max(dy + y0, 0));
    const auto channelMode = static_cast<unsigned char>(flagsA & CompChannelMask);
    // Room for the bitmap as it is declared, and for every row that is written, wherever the picture starts.
    // Declared rows may be longer than they are apart: 16 bits count no more.
    const std::size_t start = StartOffset(bmpRowBytes, bmpBits, bmpLeft, bmpTop);
    const std::size_t rows = std::max(h, bmpHeight);
    const std::size_t declaredRow = (std::size_t(bmpBits) * bmpWidth + 7) / 8;
    const std::size_t lastRow =
        std::max({std::size_t(bmpRowBytes), declaredRow, MappedRowBytes(*image, w, channelMode)});
    unsigned char* bits = PrepareBitmap(start + bmpRowBytes * rows + lastRow);
    MapData(bits + start, bmpRowBytes, w, h, image, x0, y0, TableOf(*this), channelMode);
    flagsA &= static_cast<std::uint16_t>(~CompBitmapOutOfDate);
}

void Comp::ComputeBoundaryBmp() {
    short dx, dy;
    unsigned short left, top, w, h;
    const Image* image = GetFlatImage(dx, dy, left, top, w, h);
    if (!image || !image->data || image->channels == 0) return;
    const bool part = pzel::showsDataArea(*this);
    if (!bitmap) {
        bmpBits = 1;
        bmpWidth = part ? static_cast<std::uint16_t>(pzel::widthOf(*dataArea)) : image->width;
        bmpHeight = part ? static_cast<std::uint16_t>(pzel::heightOf(*dataArea)) : image->height;
        bmpRowBytes = static_cast<std::uint16_t>(2 * ComputeBmpLineBytes(bmpWidth, 1));
    }
    bmpLeft = bmpTop = 0;
    const std::size_t line = std::size_t(bmpWidth + 7) / 8;
    unsigned char* bits = PrepareBitmap(std::size_t(bmpRowBytes) * bmpHeight + line);
    CopyBoundaryRows(bits, *this, *image, part ? dataArea->left : 0, part ? dataArea->top : 0);
    flagsA &= static_cast<std::uint16_t>(~CompBitmapOutOfDate);
}

void Comp::ComputeVectorBmp() {
    std::uint8_t stepX = 1, stepY = 1;
    if (info) {
        if (info->vectorStepX == 0) info->vectorStepX = info->vectorStepY = 1;
        stepX = info->vectorStepX;
        stepY = pzel::showsDataArea(*this) ? stepX : info->vectorStepY;
    }
    if (Image* image = GetFlatImage()) {
        unsigned short left, top, w, h;
        GetValidDataArea(image, left, top, w, h);
        ComputeVector(this, static_cast<char>(stepX), static_cast<char>(stepY), w, h, image,
                      static_cast<short>(left), static_cast<short>(top), TableOf(*this));
    }
    flagsA &= static_cast<std::uint16_t>(~CompBitmapOutOfDate);
}

bool Comp::SwitchMapingMode(int mode) {
    Image* image = GetCurrentImage();
    if (!image || GetImageType(image) != 0) return false;
    const unsigned char from = GetBoundType(image);
    const bool joint = mode >= image->channels;
    if (joint == (from == BoundHsi)) return false;
    const unsigned char to = joint ? BoundHsi : BoundData;
    SwitchImages(*this, from, to);
    if (remapper) remapper->SetMode(mode < 3 ? 0 : 1, 1);
    if (flatComp) SwitchImages(*flatComp, from, to);
    if (flatImage && flatImage != image) SwitchBoundType(flatImage, from, to);
    return true;
}

ShownBitmap Comp::GetShownBitmap() const {
    if (!bitmap || bmpBits == 0) return {};
    const bool boundary = bmpBits == 1 && bmpRowBytes == 2 * ComputeBmpLineBytes(bmpWidth, 1);
    return {bitmap + StartOffset(bmpRowBytes, bmpBits, bmpLeft, bmpTop),
            bmpWidth,
            bmpHeight,
            bmpRowBytes,
            bmpBits,
            boundary ? 2 : 1};
}
