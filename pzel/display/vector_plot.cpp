// Drawing a grid of vectors: arrows from the table, mirrored by quadrant, clipped and plotted. How a field
// becomes a grid stands in vector.cpp.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "pzel/display/vector.h"
#include "pzel/display/vector_table.h"
#include "pzel/image/plane.h"

namespace {

/// A vector as an arrow of the table and the quadrant that it is mirrored into.
struct MirroredVector {
    int dx, dy;    // 0 … 31
    int quadrant;  // 1 right and down the rows, 2 left and down, 3 left and up, 4 right and up
};

/// How the points of an arrow change in each quadrant.
struct Signs {
    int x, y;
};
constexpr std::array<Signs, 5> kSigns{{{}, {1, 1}, {-1, 1}, {-1, -1}, {1, -1}}};

/// Shortened to the longest vector; rounded alike in every quadrant.
MirroredVector mirrored(int dx, int dy) {
    const int quadrant = dy >= 0 ? (dx >= 0 ? 1 : 2) : (dx < 0 ? 3 : 4);
    dx = std::abs(dx);
    dy = std::abs(dy);
    const int length = std::max(dx, dy);
    if (length > VectorLongest) {
        dx = (2 * dx * VectorLongest + length) / (2 * length);
        dy = (2 * dy * VectorLongest + length) / (2 * length);
    }
    return {dx, dy, quadrant};
}

/// Where the vector of a cell starts that begins at pixel `cell` of `size`: in the middle of what is there.
int startIn(int cell, int size) {
    return cell + std::min<int>(VectorCell, size - cell) / 2;
}

template <class Plot>
void drawGrid(int width, int height, const signed char* vectors, const Plot& plot) {
    const pzel::VectorTable& table = *pzel::vectorTable();
    for (int top = 0; top < height; top += VectorCell) {
        for (int left = 0; left < width; left += VectorCell, vectors += 2) {
            if (vectors[0] == VectorNone) continue;
            const MirroredVector vector = mirrored(vectors[0], vectors[1]);
            const Signs sign = kSigns[static_cast<std::size_t>(vector.quadrant)];
            const int startX = startIn(left, width), startY = startIn(top, height);
            for (const pzel::VectorPoint point : table.run(vector.dx, vector.dy)) {
                const int x = startX + sign.x * point.x, y = startY + sign.y * point.y;
                if (x >= 0 && x < width && y >= 0 && y < height) plot(x, y);
            }
        }
    }
}

/// Pixels of whole bytes.
template <int Bytes>
struct BytePlot {
    BytePlot(unsigned char* row0, std::ptrdiff_t rowStep, unsigned long colour) : rows{row0, rowStep} {
        for (int i = 0; i < Bytes; ++i) pixel[i] = static_cast<unsigned char>(colour >> 8 * i);
    }
    void operator()(int x, int y) const { std::memcpy(rows.row(y) + Bytes * x, pixel, Bytes); }

    pzel::ContiguousRows<unsigned char> rows;
    unsigned char pixel[Bytes];
};

}  // namespace

void MapVectorToBmp(unsigned char* row0, int rowBytes, unsigned short width, unsigned short height,
                    int bitsPerPixel, const signed char* vectors, unsigned long colour) {
    if (!pzel::vectorTable()) return;
    const auto draw = [&](const auto& plot) { drawGrid(width, height, vectors, plot); };
    const std::ptrdiff_t rowStep = -std::ptrdiff_t(rowBytes);
    switch (bitsPerPixel) {
        case 1:
            draw([rows = pzel::BitRows<unsigned char>{row0, 0, rowStep}](int x, int y) {
                rows.row(y)[x] = true;
            });
            break;
        case 8: draw(BytePlot<1>(row0, rowStep, colour)); break;
        case 16: draw(BytePlot<2>(row0, rowStep, colour)); break;
        case 24: draw(BytePlot<3>(row0, rowStep, colour)); break;
        default: break;
    }
}
