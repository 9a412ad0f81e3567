// Border treatment of a copied rectangle: strips of zero, or of repeated edge pixels.
#include <algorithm>
#include <cstring>

#include "pzel/image/plane.h"
#include "pzel/pixels/bits.h"
#include "pzel/pixels/copy_area.h"
#include "pzel/pixels/typed_copy.h"

namespace pzel {

namespace {

/// A plane as rows of cells: the pixels of an interleaved image, the elements of a plane, or single bits.
struct Cells {
    unsigned char* origin;
    std::ptrdiff_t rowStep;  // bytes
    int width, height;
    std::size_t cellBytes;  // 0: bits

    unsigned char* row(int y) const { return origin + y * rowStep; }

    void zero(int y, int x, int n) const {
        if (n <= 0) return;
        if (cellBytes)
            std::memset(row(y) + std::size_t(x) * cellBytes, 0, std::size_t(n) * cellBytes);
        else
            setBits(y, x, n, false);
    }

    /// Repeats the cell `from` of row y over n cells from x on.
    void repeat(int y, int x, int n, int from) const {
        if (n <= 0) return;
        if (!cellBytes) return setBits(y, x, n, bits(y)[from]);
        const unsigned char* cell = row(y) + std::size_t(from) * cellBytes;
        unsigned char* out = row(y) + std::size_t(x) * cellBytes;
        for (int i = 0; i < n; ++i, out += cellBytes) std::memcpy(out, cell, cellBytes);
    }

    /// Copies n cells from x on from one row to another.
    void copyRow(int fromY, int toY, int x, int n) const {
        if (n <= 0) return;
        if (cellBytes) {
            const std::size_t offset = std::size_t(x) * cellBytes;
            std::memcpy(row(toY) + offset, row(fromY) + offset, std::size_t(n) * cellBytes);
        } else {
            const auto bit = static_cast<unsigned char>(x % 8);
            CopyBits(row(toY) + x / 8, row(fromY) + x / 8, static_cast<unsigned short>(n), bit, bit);
        }
    }

  private:
    BitRows<unsigned char>::Row bits(int y) const { return {row(y), 0}; }
    void setBits(int y, int x, int n, bool on) const {
        const auto line = bits(y);
        for (int i = 0; i < n; ++i) line[x + i] = on;
    }
};

void ZeroOutside(const Cells& cells, const CopyArea& area, unsigned short mode) {
    const int right = area.dstX + area.width, bottom = area.dstY + area.height;
    for (int y = area.dstY; y < bottom; ++y) {
        if (!(mode & CopySkipLeft)) cells.zero(y, 0, area.dstX);
        if (!(mode & CopySkipRight)) cells.zero(y, right, cells.width - right);
    }
    if (!(mode & CopySkipTop))
        for (int y = 0; y < area.dstY; ++y) cells.zero(y, 0, cells.width);
    if (!(mode & CopySkipBottom))
        for (int y = bottom; y < cells.height; ++y) cells.zero(y, 0, cells.width);
}

void ExtendOutside(const Cells& cells, const CopyArea& area, unsigned short mode) {
    const int right = area.dstX + area.width, bottom = area.dstY + area.height;
    for (int y = area.dstY; y < bottom; ++y) {
        if (!(mode & CopySkipLeft)) cells.repeat(y, 0, area.dstX, area.dstX);
        if (!(mode & CopySkipRight)) cells.repeat(y, right, cells.width - right, right - 1);
    }
    if (!(mode & CopySkipTop))
        for (int y = 0; y < area.dstY; ++y) cells.copyRow(area.dstY, y, 0, cells.width);
    if (!(mode & CopySkipBottom))
        for (int y = bottom; y < cells.height; ++y) cells.copyRow(bottom - 1, y, 0, cells.width);
}

/// Only where the source was smaller than what was asked for, and only to the right and below.
void FillRequested(const Cells& cells, const CopyArea& area, unsigned short mode) {
    const int copiedRight = area.dstX + area.width, bottom = area.dstY + area.height;
    int right = copiedRight;
    if (!(mode & CopySkipRight)) {
        right += std::min(area.requestedWidth - area.width, cells.width - copiedRight);
        for (int y = area.dstY; y < bottom; ++y)
            cells.repeat(y, copiedRight, right - copiedRight, copiedRight - 1);
    }
    if (!(mode & CopySkipBottom)) {
        const int last = bottom + std::min(area.requestedHeight - area.height, cells.height - bottom);
        for (int y = bottom; y < last; ++y) cells.copyRow(bottom - 1, y, area.dstX, right - area.dstX);
    }
}

}  // namespace

void treatBorder(Image& dst, const CopyArea& area, unsigned short mode) {
    const bool interleaved = IsInterleaved(&dst), bits = GetDataType(&dst) == DataBit;
    const std::size_t element = std::size_t(DataBytes(dst.dataType));
    if (!bits && element == 0) return;
    const int planes = interleaved && !bits ? 1 : dst.channels;
    const std::ptrdiff_t planeStep = interleaved ? (dst.width + 7) / 8 : std::ptrdiff_t(GetImageBytes(&dst));
    for (int p = 0; p < planes; ++p) {
        const Cells cells{dst.data + p * planeStep, dst.rowBytes, dst.width, dst.height,
                          interleaved ? element * dst.channels : element};
        switch (mode & CopyBorderMask) {
            case CopyBorderZero: ZeroOutside(cells, area, mode); break;
            case CopyBorderExtend: ExtendOutside(cells, area, mode); break;
            case CopyBorderFill: FillRequested(cells, area, mode); break;
            default: break;
        }
    }
}

}  // namespace pzel
