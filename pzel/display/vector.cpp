// From a vector field to the component's bitmap: the mean vector of each cell, its length in steps, and the
// memory to draw into. The drawing itself is MapVectorToBmp.
#include "pzel/display/vector.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "pzel/bounds/bounds.h"
#include "pzel/component/bitmap_update.h"
#include "pzel/component/comp.h"
#include "pzel/display/bitmap.h"
#include "pzel/display/vector_table.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/element.h"
#include "pzel/image/plane.h"

namespace {

constexpr unsigned long kArrowColour = 0xFFFFFF;

/// What to read of a field: a rectangle of the image, which may reach out of it, and the distance of samples.
struct Sampling {
    int x, y, width, height;
    int stepX, stepY;
};

/// The same for elements and bits.
template <class F>
void visitFieldElement(const Image& field, F&& f) {
    if (GetDataType(&field) == DataBit)
        f.template operator()<bool>();
    else
        pzel::visitElement(GetDataType(&field), f);
}

/// The mean of the finite samples in columns `left` to `right` and rows `top` to `bottom`, the ends not
/// included, and of these in those that the image has; NaN without any.
template <class Rows>
double meanOf(const Rows& rows, const Image& image, const Sampling& s, int left, int right, int top,
              int bottom) {
    double sum = 0;
    int count = 0;
    for (int y = top; y < std::min<int>(bottom, image.height); y += s.stepY) {
        if (y < 0) continue;
        const auto row = rows.row(y);
        for (int x = left; x < std::min<int>(right, image.width); x += s.stepX) {
            if (x < 0) continue;
            const auto value = static_cast<double>(row[x]);
            if (!std::isfinite(value)) continue;
            sum += value;
            ++count;
        }
    }
    return count ? sum / count : std::numeric_limits<double>::quiet_NaN();
}

/// One component of the vectors of all cells, row by row.
std::vector<double> cellMeans(const Image& field, int channel, const Sampling& s) {
    std::vector<double> means;
    visitFieldElement(field, [&]<class T>() {
        pzel::withRows<const T>(field, channel, 0, 0, [&](const auto& rows) {
            for (int top = s.y; top < s.y + s.height; top += VectorCell) {
                const int bottom = std::min<int>(top + VectorCell, s.y + s.height);
                for (int left = s.x; left < s.x + s.width; left += VectorCell) {
                    const int right = std::min<int>(left + VectorCell, s.x + s.width);
                    means.push_back(meanOf(rows, field, s, left, right, top, bottom));
                }
            }
        });
    });
    return means;
}

/// The largest magnitude of the data bound, which is computed where it is unset. Bits: 1.
double boundMagnitude(Image* field) {
    if (!(field->state & (StateBoundSet | StateBoundDefault))) ComputeVctBound(field);
    double largest = 1;
    pzel::visitElement(GetDataType(field), [&]<class T>() {
        largest = 0;
        for (int c = 0; c < 2; ++c) {
            const pzel::Pair<T>& entry = pzel::boundEntry<T>(GetBound(field), c);
            largest = std::max({largest, std::abs(double(entry.low)), std::abs(double(entry.high))});
        }
    });
    return largest;
}

double magnitudeOf(double dx, double dy) {
    return std::max(std::abs(dx), std::abs(dy));
}

/// Field units to steps.
struct StepRule {
    double largest;            // the magnitude that becomes the longest arrow; above 0
    const unsigned char* lut;  // or null

    /// The steps that one unit of a vector of this magnitude (above 0) becomes.
    double stepsPerUnit(double magnitude) const {
        const double part = std::min(magnitude / largest, 1.0);
        return double(VectorLongest) * (lut ? lut[int(part * 511)] / 255.0 : part) / magnitude;
    }
    void operator()(double dx, double dy, signed char* steps) const {
        const double magnitude = magnitudeOf(dx, dy);
        const double scale = magnitude > 0 ? stepsPerUnit(magnitude) : 0;
        steps[0] = static_cast<signed char>(std::lround(dx * scale));
        steps[1] = static_cast<signed char>(std::lround(dy * scale));
    }
};

/// The mean vectors of all cells of a field, row by row.
struct CellMeans {
    CellMeans(const Image& field, const Sampling& s)
        : dx(cellMeans(field, 0, s)), dy(cellMeans(field, 1, s)) {}
    bool isEmpty(std::size_t i) const { return std::isnan(dx[i]) || std::isnan(dy[i]); }
    double largest() const {
        double result = 0;
        for (std::size_t i = 0; i < dx.size(); ++i)
            if (!isEmpty(i)) result = std::max(result, magnitudeOf(dx[i], dy[i]));
        return result;
    }

    std::vector<double> dx, dy;
};

/// Fills the grid for MapVectorToBmp, two numbers for each cell.
void fillGrid(const CellMeans& means, double largest, const unsigned char* lut,
              std::vector<signed char>& grid) {
    const StepRule rule{largest > 0 && std::isfinite(largest) ? largest : means.largest(), lut};
    for (std::size_t i = 0; i < means.dx.size(); ++i)
        if (!means.isEmpty(i)) rule(means.dx[i], means.dy[i], &grid[2 * i]);
}

bool isDrawable(const Image* image) {
    return image && image->data && image->channels >= 2 &&
           (GetDataType(image) == DataBit || DataBytes(image->dataType) > 0);
}

int stepOf(char step) {
    return std::max<int>(static_cast<unsigned char>(step), 1);
}

}  // namespace

void ComputeVector(Comp* comp, char stepX, char stepY, unsigned short w, unsigned short h, Image* image,
                   short x, short y, const unsigned char* lut) {
    if (!pzel::vectorTable() || !isDrawable(image) || w == 0 || h == 0) return;
    Comp::BitmapUpdate update(*comp);
    if (!comp->bitmap) {
        update.bits = 1;
        update.width = w;
        update.height = h;
        update.rowBytes = ComputeBmpLineBytes(w, 1);
    }
    update.left = update.top = 0;
    const int width = std::min(w, update.width), height = std::min(h, update.height);
    // All memory first: then the bound may be computed, and what was drawn be cleared.
    const CellMeans means(*image, {x, y, width, height, stepOf(stepX), stepOf(stepY)});
    std::vector<signed char> grid(2 * means.dx.size(), VectorNone);
    const std::size_t bytes = std::size_t{update.rowBytes} * update.height;
    unsigned char* rows = update.Prepare(bytes);
    fillGrid(means, boundMagnitude(image), lut, grid);
    std::memset(rows, 0, bytes);
    // The first row is the top one: rows go downwards in memory.
    MapVectorToBmp(rows, -int(update.rowBytes), static_cast<unsigned short>(width),
                   static_cast<unsigned short>(height), update.bits, grid.data(), kArrowColour);
    update.Commit();
}
