// Counting values, and what can be said of them. Small types are counted in tables of all values, from which
// everything else follows; the others in blocks, whose sums and distances from the mean are put together.
#include "pzel/bounds/histogram.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "pzel/bounds/part_rows.h"
#include "pzel/bounds/value_table.h"

namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr int kMostBins = 1 << 30;

/// Of finite values; `squares` are those of the distances from their mean.
struct Moments {
    std::uint64_t count;
    double total, squares, least, most;

    ValueStatistics values() const {
        ValueStatistics result;
        result.count = count;
        result.sum = total;
        result.minimum = least;
        result.maximum = most;
        return result;
    }
};

/// Of a block of 32-bit values, in lanes that are added up in one order everywhere.
template <class T>
Moments momentsOf(const T* data, int count) {
    Moments result{std::uint64_t(count), 0, 0, 0, 0};
    pzel::onBestSet([=, out = &result](auto) {
        constexpr int lanes = 64;
        T low[lanes], high[lanes];
        double sum[lanes] = {};
        std::fill_n(low, lanes, data[0]);
        std::fill_n(high, lanes, data[0]);
        int i = 0;
        for (; i + lanes <= count; i += lanes) {
            for (int k = 0; k < lanes; ++k) {
                const T v = data[i + k];
                low[k] = v < low[k] ? v : low[k];
                high[k] = v > high[k] ? v : high[k];
            }
            for (int k = 0; k < lanes; ++k) sum[k] += double(data[i + k]);
        }
        const int whole = i;
        for (int k = 0; i < count; ++i, ++k) {
            low[k] = data[i] < low[k] ? data[i] : low[k];
            high[k] = data[i] > high[k] ? data[i] : high[k];
            sum[k] += double(data[i]);
        }
        double total = 0;
        for (int k = 0; k < lanes; ++k) total += sum[k];
        const double mean = total / count;
        double squares[lanes] = {};
        for (i = 0; i < whole; i += lanes) {
            for (int k = 0; k < lanes; ++k) {
                const double distance = double(data[i + k]) - mean;
                squares[k] += distance * distance;
            }
        }
        for (int k = 0; i < count; ++i, ++k)
            squares[k] += (double(data[i]) - mean) * (double(data[i]) - mean);
        T least = low[0], most = high[0];
        for (int k = 0; k < lanes; ++k) {
            out->squares += squares[k];
            least = std::min(least, low[k]);
            most = std::max(most, high[k]);
        }
        out->total = total;
        out->least = double(least);
        out->most = double(most);
    });
    return result;
}

/// Of a table with a count for each value.
Moments momentsOf(const pzel::ValueTable& table) {
    const std::uint32_t* counts = table.data();
    int first = 0, end = table.size();
    while (first < end && counts[first] == 0) ++first;
    while (first < end && counts[end - 1] == 0) --end;
    if (first == end) return {};
    std::uint64_t count = 0, sum = 0;  // of values that count from the first on
    for (int i = first; i < end; ++i) {
        count += counts[i];
        sum += std::uint64_t(counts[i]) * std::uint64_t(i - first);
    }
    const double mean = double(sum) / double(count);
    double squares = 0;
    for (int i = first; i < end; ++i) squares += counts[i] * (i - first - mean) * (i - first - mean);
    const std::int64_t start = table.first() + first;
    return {count, double(start * std::int64_t(count) + std::int64_t(sum)), squares, double(start),
            double(table.first() + end - 1)};
}

/// The bin of each value: behind the last one for those below and those above the range.
class BinRule {
  public:
    BinRule(double from, double to, int count) : low(from), high(to), bins(count) {
        const double factor = count / (to - from);
        scale = std::isfinite(factor) ? factor : 0;
    }

    template <class T>
    int operator()(T value) const {
        const double v = double(value), last = bins - 1;
        double place = (v - low) * scale;
        place = place > 0 ? place : 0;
        place = place < last ? place : last;
        int bin = int(place);
        bin = v < low ? bins : bin;
        return v > high ? bins + 1 : bin;
    }

  private:
    double low, high, scale;
    int bins;
};

/// Counts in bins for blocks of a plane, in one copy or several.
class BinTable {
  public:
    BinTable(const BinRule& binOf, int count)
        : rule(binOf),
          size(std::size_t(count) + 2),
          tables(count <= fewBins ? 4 : 1),
          counts(size * tables) {}

    int mostCopies() const { return size <= fewBins + 2 ? 8 : 1; }
    void makeCopies(int copies) {
        counts.resize(std::max(counts.size(), std::size_t(copies) * size * tables));
    }

    template <class T>
    void add(int copy, const T* values, int count) {
        int bins[pzel::kValueBlock];
        pzel::onBestSet([=, binOf = rule, out = +bins](auto) {
            for (int i = 0; i < count; ++i) out[i] = binOf(values[i]);
        });
        // Neighbours in tables of their own do not wait for each other.
        const std::size_t step = tables == 1 ? 0 : size;
        std::uint64_t* table = counts.data() + std::size_t(copy) * size * tables;
        int i = 0;
        for (; i + 4 <= count; i += 4)
            for (std::size_t k = 0; k < 4; ++k) ++table[k * step + std::size_t(bins[i + int(k)])];
        for (; i < count; ++i) ++table[std::size_t(bins[i])];
    }

    /// Of a bin, the two behind the last one included.
    std::uint64_t operator[](std::size_t bin) const {
        std::uint64_t sum = 0;
        for (std::size_t start = 0; start < counts.size(); start += size) sum += counts[start + bin];
        return sum;
    }

  private:
    static constexpr int fewBins = 4096;
    BinRule rule;
    std::size_t size, tables;
    std::vector<std::uint64_t> counts;
};

}  // namespace

Histogram::Histogram(int bins) : wantedBins(std::clamp(bins, 1, kMostBins)) {}

Histogram::Histogram(double from, double to, int bins) : Histogram(bins) {
    SetRange(from, to);
}

void Histogram::SetRange(double from, double to) {
    counts.assign(std::size_t(wantedBins), 0);
    kind = Ranged;
    low = from;
    high = to;
}

// Counts that were there change last; all else goes back where memory is refused.
bool Histogram::Add(const Image* image, const ImagePart& part) {
    if (!pzel::hasValues(image, part)) return false;
    const bool isSmall = pzel::isSmallType(GetDataType(image));
    if (!isSmall && kind == Exact) return false;
    const std::tuple before(kind, low, high, values, lost, squares);
    try {
        if (isSmall)
            AddSmall(*image, part);
        else
            AddLarge(*image, part);
    } catch (...) {
        std::tie(kind, low, high, values, lost, squares) = before;
        if (kind == Undecided) counts.clear();
        throw;
    }
    return true;
}

bool Histogram::Add(const Histogram& other) {
    const bool sameBins = kind == Ranged && other.kind == Ranged && low == other.low && high == other.high &&
                          counts.size() == other.counts.size();
    if (kind == Undecided && other.kind == Ranged) {
        counts.reserve(other.counts.size());
        SetRange(other.low, other.high);
        counts.resize(other.counts.size());
        return Add(other);
    }
    if (sameBins) {
        for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += other.counts[i];
        below += other.below;
        above += other.above;
    } else if (other.kind == Exact) {
        AddCounts(int(other.low), other.counts.data(), other.GetNumbBins());
    } else if (other.kind == Ranged) {
        return false;
    }
    AddValues(other.values, other.squares);
    lost += other.lost;
    return true;
}

/// Counts of whole numbers from `first` on.
template <class Count>
void Histogram::AddCounts(int first, const Count* table, int size) {
    if (kind == Ranged) {
        const BinRule rule(low, high, GetNumbBins());
        for (int i = 0; i < size; ++i) {
            const std::size_t bin = std::size_t(rule(first + i));
            const std::uint64_t count = table[i];
            (bin < counts.size() ? counts[bin] : bin == counts.size() ? below : above) += count;
        }
        return;
    }
    // Types of other ranges make it longer at both ends.
    const int lowest = kind == Undecided ? first : int(low), more = std::max(lowest - first, 0);
    counts.reserve(std::size_t(std::max(lowest + int(counts.size()), first + size) - (lowest - more)));
    kind = Exact;
    low = lowest;
    counts.insert(counts.begin(), std::size_t(more), 0);
    low -= more;
    const std::size_t start = std::size_t(first - int(low));
    counts.resize(std::max(counts.size(), start + std::size_t(size)));
    for (int i = 0; i < size; ++i) counts[start + std::size_t(i)] += table[i];
}

/// Sums that carry what their additions round away, and squares of distances from the common mean.
void Histogram::AddValues(const ValueStatistics& others, double otherSquares) {
    values.notNumbers += others.notNumbers;
    values.negativeInfinite += others.negativeInfinite;
    values.positiveInfinite += others.positiveInfinite;
    if (others.count == 0) return;
    const double n = double(values.count), m = double(others.count);
    if (values.count == 0) {
        values.minimum = others.minimum;
        values.maximum = others.maximum;
        squares = otherSquares;
    } else {
        values.minimum = std::min(values.minimum, others.minimum);
        values.maximum = std::max(values.maximum, others.maximum);
        const double apart = others.sum / m - values.sum / n;
        squares += otherSquares + apart * apart * (n * m / (n + m));
    }
    const double next = values.sum + others.sum, part = next - values.sum;
    lost += (values.sum - (next - part)) + (others.sum - part);
    values.sum = next;
    values.count += others.count;
}

void Histogram::AddSmall(const Image& image, const ImagePart& part) {
    pzel::ValueTable table;
    pzel::withPlanes(image, part, [&](const auto& rows, int width, int height) {
        if constexpr (pzel::isSmall<pzel::ElementOf<std::remove_cvref_t<decltype(rows)>>>) {
            table.fill(rows, width, height);
            const Moments moments = momentsOf(table);
            AddCounts(table.first(), table.data(), table.size());
            AddValues(moments.values(), moments.squares);
        }
    });
}

/// Bins over the range of the data need that first: the values are read twice. Blocks are read in any order
/// and by several threads, each range of them with bins of its own; their sums are put together in one order.
void Histogram::AddLarge(const Image& image, const ImagePart& part) {
    pzel::NonFinite others;
    const auto read = [&](bool sumUp, BinTable* bins) {
        others = {};
        pzel::withPlanes(image, part, [&]<class Rows>(const Rows& rows, int width, int height) {
            if constexpr (!pzel::isSmall<pzel::ElementOf<Rows>>) {
                const pzel::ValueBlocks blocks(rows, width, height);
                const pzel::Ranges ranges(blocks.count(), blocks.values(), pzel::Effort::Computing,
                                          bins ? bins->mostCopies() : pzel::kMostRanges);
                std::vector<Moments> moments(sumUp ? std::size_t(blocks.count()) : 0);
                std::vector<pzel::NonFinite> found(std::size_t(ranges.size()));
                if (bins) bins->makeCopies(ranges.size());
                ranges.run([&](int range, int first, int end) {
                    for (int block = first; block < end; ++block) {
                        blocks.visit(block, found[std::size_t(range)], [&](const auto* data, int count) {
                            if (sumUp) moments[std::size_t(block)] = momentsOf(data, count);
                            if (bins) bins->add(range, data, count);
                        });
                    }
                });
                for (const Moments& one : moments) AddValues(one.values(), one.squares);
                for (const pzel::NonFinite& one : found) others += one;
            }
        });
    };
    const bool undecided = kind == Undecided;
    if (undecided) {
        read(true, nullptr);
        if (values.count > 0) SetRange(values.minimum, values.maximum);
    }
    if (kind == Ranged) {
        BinTable table(BinRule(low, high, GetNumbBins()), GetNumbBins());
        read(!undecided, &table);
        for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += table[i];
        below += table[counts.size()];
        above += table[counts.size() + 1];
    }
    values.notNumbers += others.notNumbers;
    values.negativeInfinite += others.negative;
    values.positiveInfinite += others.positive;
}

ValueStatistics Histogram::GetStatistics() const {
    ValueStatistics result = values;
    if (values.count == 0) {
        result.minimum = result.maximum = result.mean = result.deviation = kNotANumber;
        return result;
    }
    const double n = double(values.count);
    result.sum += lost;
    result.mean = result.sum / n;
    result.deviation = std::sqrt(squares / n);
    return result;
}

double Histogram::GetBinStart(int bin) const {
    if (kind == Exact) return low + bin;
    return bin == GetNumbBins() ? high : low + (high - low) * bin / GetNumbBins();
}

double Histogram::GetValue(std::uint64_t rank) const {
    if (kind != Exact || values.count == 0) return kNotANumber;
    std::uint64_t left = std::min(rank, values.count - 1);
    std::size_t bin = 0;
    while (left >= counts[bin]) left -= counts[bin++];
    return low + double(bin);
}

ValueStatistics ComputeStatistics(const Image* image, const ImagePart& part) {
    Histogram counted(0, 0, 1);
    counted.Add(image, part);
    return counted.GetStatistics();
}
