// The outline of a mask, eight pixels at a time.
#include "pzel/display/boundary.h"

#include <vector>

#include "pzel/image/lifecycle.h"
#include "pzel/image/owned_image.h"
#include "pzel/image/plane.h"

namespace {

using BitRow = std::vector<unsigned char>;

/// One row of a mask as bits, zero behind the last pixel.
template <class Row>
void packRow(const Row& row, int width, BitRow& bits) {
    for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = 0;
    for (int x = 0; x < width; ++x)
        if (row[x]) bits[std::size_t(x) / 8] |= static_cast<unsigned char>(0x80 >> x % 8);
}

/// The differences between a row and the one above it, and between each pixel and the one to its left.
void markEdges(const BitRow& above, const BitRow& row, int width, unsigned char* upper, unsigned char* left) {
    unsigned before = 0;  // the last pixel of the byte before
    for (std::size_t i = 0; i < row.size(); ++i) {
        upper[i] = above[i] ^ row[i];
        left[i] = static_cast<unsigned char>(row[i] ^ (row[i] >> 1 | before << 7));
        before = row[i] & 1u;
    }
    // The edge behind the last pixel belongs to none.
    if (width % 8) left[row.size() - 1] &= static_cast<unsigned char>(0xFF00 >> width % 8);
}

}  // namespace

Image* MaskToBoundary(Image* mask) {
    if (!mask || !mask->data || mask->channels == 0) return nullptr;
    const int type = GetDataType(mask);
    if (type != DataBit && DataBytes(mask->dataType) != 1) return nullptr;
    pzel::OwnedImage boundary(NewImage(mask->width, mask->height, 2, DataBit, true));
    SetImageType(boundary.get(), MajorBoundary);
    const std::size_t rowBytes = boundary->rowBytes / 2u;
    BitRow above(rowBytes), row(rowBytes);
    const auto outline = [&](const auto& rows) {
        for (int y = 0; y < mask->height; ++y) {
            packRow(rows.row(y), mask->width, row);
            unsigned char* upper = boundary->data + std::size_t(y) * boundary->rowBytes;
            markEdges(above, row, mask->width, upper, upper + rowBytes);
            above.swap(row);
        }
    };
    if (type == DataBit)
        pzel::withRows<const bool>(*mask, 0, 0, 0, outline);
    else
        pzel::withRows<const unsigned char>(*mask, 0, 0, 0, outline);
    return boundary.release();
}
