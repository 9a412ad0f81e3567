// Tables with a count for each value of a small element type: of bits, 8 and 16 bits.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "pzel/bounds/part_rows.h"
#include "pzel/loops/ranges.h"

namespace pzel {

/// Counts of the values of one plane, from the lowest value of the type on. Used again for the next one.
class ValueTable {
  public:
    /// Fewer than 2^32 values.
    template <class Rows>
    void fill(const Rows& rows, int width, int height) {
        using T = ElementOf<Rows>;
        if constexpr (!std::is_same_v<T, bool>) {
            using Index = std::make_unsigned_t<T>;
            constexpr unsigned size = 1U << (8 * sizeof(T));
            constexpr std::size_t room = std::size_t(size) * tables<Index>;
            // Tables of their own pay for ranges with many more values than entries.
            const std::int64_t values = std::int64_t(width) * height;
            const Ranges ranges(height, values, Effort::Computing,
                                int(std::min<std::int64_t>(values / (16 * room), 8)));
            counts.assign(room * std::size_t(ranges.size()), 0);
            ranges.run([&](int range, int first, int end) {
                std::uint32_t* own = counts.data() + room * std::size_t(range);
                for (int y = first; y < end; ++y) countRow<Index>(rows.row(y), width, own);
            });
            for (std::size_t start = size; start < counts.size(); start += size)
                for (unsigned i = 0; i < size; ++i) counts[i] += counts[start + i];
            // Negative values stand behind the others.
            if constexpr (std::is_signed_v<T>)
                for (unsigned i = 0; i < size / 2; ++i) std::swap(counts[i], counts[size / 2 + i]);
            firstValue = std::numeric_limits<T>::min();
            valueCount = int(size);
        } else {
            std::uint32_t set = 0;
            for (int y = 0; y < height; ++y) {
                const auto row = rows.row(y);
                set += setBits(row.bytes, row.firstBit, width);
            }
            counts = {std::uint32_t(width) * std::uint32_t(height) - set, set};
            firstValue = 0;
            valueCount = 2;
        }
    }

    int first() const { return firstValue; }
    int size() const { return valueCount; }
    const std::uint32_t* data() const { return counts.data(); }

  private:
    // Neighbours have tables of their own: to count one value twice in a row takes turns in memory.
    template <class Index>
    static constexpr int tables = sizeof(Index) == 1 ? 4 : 2;

    template <class Index, class Row>
    static void countRow(const Row& row, int width, std::uint32_t* table) {
        constexpr int size = 1 << (8 * sizeof(Index));
        int x = 0;
        if constexpr (sizeof(Index) == 1 && std::is_pointer_v<Row>) {
            for (; x + 8 <= width; x += 8) {
                std::uint64_t word;
                std::memcpy(&word, row + x, sizeof word);
                for (int k = 0; k < 8; ++k) ++table[k % tables<Index> * size + int(word >> (8 * k) & 0xFF)];
            }
        } else {
            for (; x + 2 <= width; x += 2) {
                ++table[Index(row[x])];
                ++table[size + Index(row[x + 1])];
            }
        }
        for (; x < width; ++x) ++table[Index(row[x])];
    }

    static std::uint32_t setBits(const unsigned char* bytes, int firstBit, int width) {
        const int end = firstBit + width;
        const auto masked = [=](int byte) {
            unsigned bits = bytes[byte];
            if (byte == firstBit / 8) bits &= 0xFFU >> (firstBit % 8);
            if (byte == end / 8) bits &= ~(0xFFU >> (end % 8));
            return std::uint32_t(std::popcount(bits & 0xFF));
        };
        const int last = (end - 1) / 8;
        std::uint32_t set = masked(0);
        int byte = 1;
        for (; byte + 8 <= last; byte += 8) {
            std::uint64_t word;
            std::memcpy(&word, bytes + byte, sizeof word);
            set += std::uint32_t(std::popcount(word));
        }
        for (; byte <= last; ++byte) set += masked(byte);
        return set;
    }

    std::vector<std::uint32_t> counts;
    int firstValue = 0;
    int valueCount = 0;
};

}  // namespace pzel
