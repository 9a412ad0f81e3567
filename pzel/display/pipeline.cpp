// From a component's current image to its display bitmap: which image, which part of it, at which depth, and
// the memory for it. Members of Comp; the mapping itself is MapData.
#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <optional>

#include "pzel/bounds/bounds.h"
#include "pzel/component/bitmap_update.h"
#include "pzel/component/comp.h"
#include "pzel/component/data_area.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/map_data.h"
#include "pzel/display/vector.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/lifecycle.h"
#include "pzel/pixels/bits.h"

namespace {

/// Where in the bitmap a picture starts that stands at (left, top): bits in front of a whole byte are
/// dropped.
std::size_t StartOffset(int rowBytes, int bits, int left, int top) {
    return std::size_t(rowBytes) * std::size_t(top) + std::size_t(bits) * std::size_t(left) / 8;
}

/// Bytes of one row as it is declared: more than rows are apart where 16 bits count no more.
std::size_t RowBytes(int width, int rowBytes, int bits) {
    return std::max<std::size_t>(std::size_t(rowBytes), (std::size_t(bits) * std::size_t(width) + 7) / 8);
}

/// Whether MapData writes every pixel of a rectangle.
bool IsMappedWhole(const Image& image, int x, int y, int width, int height) {
    const int type = GetDataType(&image);
    const bool isShown =
        type == DataUInt8 || type == DataInt8 || type == DataUInt16 || type == DataInt16 || type == DataFloat;
    return image.data && isShown && (image.channels == 1 || image.channels == 3) && x >= 0 && y >= 0 &&
           x + width <= image.width && y + height <= image.height;
}

const unsigned char* TableOf(const Comp& comp) {
    return comp.remapper ? comp.remapper->GetLookupTable() : nullptr;
}

/// The edges of a boundary image: two rows of bits, one behind the other, for each of its rows.
struct EdgeRows {
    const unsigned char* first;
    std::ptrdiff_t rowStep;   // bytes
    std::ptrdiff_t edgeStep;  // bytes from the upper edges to the left ones

    const unsigned char* row(int y, int edge) const { return first + y * rowStep + edge * edgeStep; }
};

/// Nothing for data that have no two rows of bits for each row of the image.
std::optional<EdgeRows> EdgeRowsOf(const Image& image) {
    if (!image.data || GetDataType(&image) != DataBit) return std::nullopt;
    if (!IsInterleaved(&image)) {
        if (image.channels < 2) return std::nullopt;
        return EdgeRows{image.data, image.rowBytes, std::ptrdiff_t(GetImageBytes(&image))};
    }
    const int half = image.rowBytes / 2;
    if (8 * half < image.width) return std::nullopt;
    return EdgeRows{image.data, 2 * half, half};
}

/// Copies edges from pixel (left, top) on, as far as the image and the bitmap reach.
void CopyEdges(unsigned char* dst, int dstRowBytes, int dstWidth, int dstHeight, const EdgeRows& edges,
               const Image& image, int left, int top) {
    const int skippedX = std::max(-left, 0), skippedY = std::max(-top, 0), dstStep = dstRowBytes / 2;
    const int x = left + skippedX, y = top + skippedY;
    const int width = std::min(std::min(dstWidth, 8 * dstStep) - skippedX, image.width - x);
    const int height = std::min(dstHeight - skippedY, image.height - y);
    if (width <= 0 || height <= 0) return;
    const int rows = std::uint16_t(2 * height), from = x % 8, to = skippedX % 8;
    dst += std::ptrdiff_t(2 * skippedY) * dstStep + skippedX / 8;
    for (int i = 0; i < rows; ++i, dst += dstStep) {
        const unsigned char* src = edges.row(y + i / 2, i % 2) + x / 8;
        if (from == 0 && to == 0)
            std::memcpy(dst, src, std::size_t(width + 7) / 8);
        else
            CopyBits(dst, src, static_cast<unsigned short>(width), static_cast<unsigned char>(to),
                     static_cast<unsigned char>(from));
    }
}

/// All bounds that a switch needs: they are made before the first one changes.
void MakeBounds(Comp& comp) {
    for (int i = 0; comp.images && i < comp.imageFrames; ++i) CheckBoundArray(comp.images + i);
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

void Comp::DeleteBitmap() {
    ::operator delete(bitmap);
    bitmap = nullptr;
    ownBitmap = {};
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
    BitmapUpdate update(*this);
    if (!bitmap) {
        const int bits = ComputeBmpBits(image);
        update.bits = static_cast<std::uint8_t>(bits);
        if (bits == 0) {
            bmpBits = 0;
            return;
        }
        update.width = w;
        update.height = h;
        update.rowBytes = ComputeBmpLineBytes(w, bits);
    }
    const auto x0 = static_cast<short>(left), y0 = static_cast<short>(top);
    update.left = static_cast<std::uint16_t>(std::max(dx + x0, 0));
    update.top = static_cast<std::uint16_t>(std::max(dy + y0, 0));
    const auto channelMode = static_cast<unsigned char>(flagsA & CompChannelMask);
    // Room for the bitmap as it is declared, wherever the picture starts; a larger picture is cut off.
    const std::size_t start = StartOffset(update.rowBytes, update.bits, update.left, update.top);
    const std::size_t row = RowBytes(update.width, update.rowBytes, update.bits);
    const std::size_t declared = std::size_t{update.rowBytes} * update.height + row - update.rowBytes;
    const std::size_t pixelBytes = image->channels == 3 && channelMode == 0 ? 3 : 1;
    const auto shownWidth = static_cast<unsigned short>(std::min<std::size_t>(w, row / pixelBytes));
    const auto shownHeight = std::min(h, update.height);
    BitmapUpdate::Overwritten written;
    if (IsMappedWhole(*image, x0, y0, shownWidth, shownHeight))
        written = {start, shownWidth * pixelBytes, update.rowBytes, shownHeight};
    unsigned char* dst = update.Prepare(start + declared, written) + start;
    MapData(dst, update.rowBytes, shownWidth, shownHeight, image, x0, y0, TableOf(*this), channelMode);
    update.Commit();
    flagsA &= static_cast<std::uint16_t>(~CompBitmapOutOfDate);
}

void Comp::ComputeBoundaryBmp() {
    const Image* image = GetFlatImage();
    const std::optional<EdgeRows> edges = image ? EdgeRowsOf(*image) : std::nullopt;
    if (!edges) return;
    const bool part = pzel::showsDataArea(*this);
    BitmapUpdate update(*this);
    if (!bitmap) {
        update.bits = 1;
        update.width = part ? static_cast<std::uint16_t>(pzel::widthOf(*dataArea)) : image->width;
        update.height = part ? static_cast<std::uint16_t>(pzel::heightOf(*dataArea)) : image->height;
        update.rowBytes = static_cast<std::uint16_t>(2 * ComputeBmpLineBytes(update.width, 1));
    }
    update.left = update.top = 0;
    unsigned char* dst = update.Prepare(std::size_t{update.rowBytes} * update.height);
    CopyEdges(dst, update.rowBytes, update.width, update.height, *edges, *image, part ? dataArea->left : 0,
              part ? dataArea->top : 0);
    update.Commit();
    flagsA &= static_cast<std::uint16_t>(~CompBitmapOutOfDate);
}

void Comp::ComputeVectorBmp() {
    std::uint8_t stepX = 1, stepY = 1;
    if (info && info->vectorStepX != 0) {
        stepX = info->vectorStepX;
        stepY = pzel::showsDataArea(*this) ? stepX : info->vectorStepY;
    }
    if (Image* image = GetFlatImage()) {
        unsigned short left, top, w, h;
        GetValidDataArea(image, left, top, w, h);
        ComputeVector(this, static_cast<char>(stepX), static_cast<char>(stepY), w, h, image,
                      static_cast<short>(left), static_cast<short>(top), TableOf(*this));
    }
    if (info && info->vectorStepX == 0) info->vectorStepX = info->vectorStepY = 1;
    flagsA &= static_cast<std::uint16_t>(~CompBitmapOutOfDate);
}

bool Comp::SwitchMapingMode(int mode) {
    Image* image = GetCurrentImage();
    if (!image || GetImageType(image) != 0) return false;
    const unsigned char from = GetBoundType(image);
    const bool joint = mode >= image->channels;
    if (joint == (from == BoundHsi)) return false;
    const unsigned char to = joint ? BoundHsi : BoundData;
    MakeBounds(*this);
    if (flatComp) MakeBounds(*flatComp);
    if (flatImage && flatImage != image && flatImage->channels >= 3) CheckBoundArray(flatImage);
    SwitchImages(*this, from, to);
    if (remapper) remapper->SetMode(mode < 3 ? 0 : 1, 1);
    if (flatComp) SwitchImages(*flatComp, from, to);
    if (flatImage && flatImage != image) SwitchBoundType(flatImage, from, to);
    return true;
}

ShownBitmap Comp::GetShownBitmap() const {
    if (!bitmap || bmpBits == 0) return {};
    const bool boundary = bmpBits == 1 && bmpRowBytes == 2 * ComputeBmpLineBytes(bmpWidth, 1);
    const std::size_t start = StartOffset(bmpRowBytes, bmpBits, bmpLeft, bmpTop);
    // The place of the picture speaks of the bitmap that it was computed into.
    const bool fits = start + std::size_t{bmpRowBytes} * bmpHeight <= BitmapBytes();
    return {
        bitmap + (fits ? start : 0), bmpWidth, bmpHeight, bmpRowBytes, bmpBits, boundary ? 2 : 1,
    };
}
