// The loops vectorise: no filter reads what it wrote.
#include "apps/io/png_filter.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace pzel_io {

namespace {

using Byte = unsigned char;

// As the format numbers them.
enum class Filter : Byte { None, Sub, Up, Average, Paeth };
constexpr Filter kFilters[] = {Filter::None, Filter::Sub, Filter::Up, Filter::Average, Filter::Paeth};

// A row and the one above. Before both lie zeros, as many as a pixel has bytes.
struct RowPair {
    const Byte* row;
    const Byte* above;
    std::size_t bytes;
    std::size_t step;  // bytes of a pixel
};

template <class Prediction>
void Differences(const RowPair& rows, Byte* __restrict to, Prediction prediction) {
    const Byte* __restrict row = rows.row;
    const Byte* __restrict above = rows.above;
    const Byte* __restrict left = row - rows.step;
    const Byte* __restrict corner = above - rows.step;
    for (std::size_t i = 0; i < rows.bytes; ++i)
        to[i] = static_cast<Byte>(row[i] - prediction(left[i], above[i], corner[i]));
}

// Whichever of the three is nearest to left + above - corner.
Byte Paeth(Byte left, Byte above, Byte corner) {
    const auto fromLeft = static_cast<std::int16_t>(std::abs(above - corner));
    const auto fromAbove = static_cast<std::int16_t>(std::abs(left - corner));
    const auto fromCorner = static_cast<std::int16_t>(std::abs(left + above - 2 * corner));
    const Byte second = fromAbove <= fromCorner ? above : corner;
    return fromLeft <= std::min(fromAbove, fromCorner) ? left : second;
}

void Apply(Filter filter, const RowPair& rows, Byte* to) {
    switch (filter) {
        case Filter::None: return Differences(rows, to, [](Byte, Byte, Byte) { return 0; });
        case Filter::Sub: return Differences(rows, to, [](Byte left, Byte, Byte) { return left; });
        case Filter::Up: return Differences(rows, to, [](Byte, Byte above, Byte) { return above; });
        case Filter::Average:
            return Differences(rows, to, [](Byte left, Byte above, Byte) { return (left + above) >> 1; });
        case Filter::Paeth: return Differences(rows, to, Paeth);
    }
}

std::uint32_t SumOf(const Byte* differences, std::size_t bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        sum +=
            static_cast<std::uint32_t>(std::abs(static_cast<int>(static_cast<std::int8_t>(differences[i]))));
    return sum;
}

void ApplyBest(const RowPair& rows, std::vector<Byte>& trial, Byte* to) {
    std::uint32_t least = UINT32_MAX;
    for (const Filter filter : kFilters) {
        Apply(filter, rows, trial.data());
        const std::uint32_t sum = SumOf(trial.data(), rows.bytes);
        if (sum >= least) continue;
        least = sum;
        to[0] = static_cast<Byte>(filter);
        std::memcpy(to + 1, trial.data(), rows.bytes);
    }
}

// PNG's samples have the high byte first.
void SwapBytes(Byte* row, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; i += 2) std::swap(row[i], row[i + 1]);
}

}  // namespace

std::vector<Byte> FilteredRows(const FilePicture& picture, int first, int last, RowFilter filter) {
    const std::size_t bytes = RowBytes(picture);
    const auto step =
        static_cast<std::size_t>(std::max(1, Channels(picture.kind) * SampleBits(picture.kind) / 8));
    const bool swap = SampleBits(picture.kind) == 16 && std::endian::native == std::endian::little;
    std::vector<Byte> row(step + bytes), above(step + bytes),
        trial(filter == RowFilter::Adaptive ? bytes : 0);
    const auto load = [&](int y, std::vector<Byte>& to) {
        CopyFileRow(picture, y, to.data() + step);
        if (swap) SwapBytes(to.data() + step, bytes);
    };
    if (first > 0) load(first - 1, row);
    std::vector<Byte> filtered(static_cast<std::size_t>(last - first) * (bytes + 1));
    Byte* to = filtered.data();
    for (int y = first; y < last; ++y, to += bytes + 1) {
        std::swap(row, above);
        load(y, row);
        const RowPair rows{row.data() + step, above.data() + step, bytes, step};
        if (filter == RowFilter::Adaptive) {
            ApplyBest(rows, trial, to);
        } else {
            const Filter one = filter == RowFilter::Paeth ? Filter::Paeth : Filter::None;
            to[0] = static_cast<Byte>(one);
            Apply(one, rows, to + 1);
        }
    }
    return filtered;
}

}  // namespace pzel_io
