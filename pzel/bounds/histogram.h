// Histograms: how often which values occur in an image, their minimum, maximum, mean and deviation, and
// values by their rank. Values that are not finite numbers are told apart and never counted with the others.
#pragma once

#include <cstdint>
#include <vector>

#include "pzel/image/image.h"

/// Stands for all channels of an image together.
constexpr int AllChannels = -1;

/// What is looked at of an image: one channel or all, and what lies inside the image of a rectangle. By
/// default everything. Channels after the first of a sub type with SubSignedBit are read as signed.
struct ImagePart {
    int channel = AllChannels;
    int x = 0;           ///< first column
    int y = 0;           ///< first row
    int width = 65535;   ///< columns
    int height = 65535;  ///< rows
};

/// What can be said of many values. All but the first three speak of the finite ones.
struct ValueStatistics {
    std::uint64_t notNumbers = 0;
    std::uint64_t negativeInfinite = 0;
    std::uint64_t positiveInfinite = 0;
    std::uint64_t count = 0;
    double minimum = 0;  ///< exact, like the maximum; both, mean and deviation: not a number where count is 0
    double maximum = 0;
    double sum = 0;
    double mean = 0;
    double deviation = 0;  ///< the root of the mean square of the distances from the mean
};

/// Counts of values in bins. Exact ones have a bin for each whole number; the others divide a range into bins
/// of equal width, both ends included, and count what lies below and above it.
class PZEL_API Histogram {
  public:
    /// What is added first decides: bits, 8 and 16 bits are counted exactly, 32-bit integers and floats in
    /// `bins` (1 or more) over the range of the first finite values, which then stays.
    explicit Histogram(int bins = 256);
    /// Values of any type in `bins` (1 or more) from `low` to `high`, which are finite. Values that equal
    /// both are in the first.
    Histogram(double low, double high, int bins);

    /// Counts the values of an image, in addition to those before. False, and nothing changes, where there
    /// are no such channel or no pixels, or where an exact histogram meets 32-bit integers or floats.
    bool Add(const Image* image, const ImagePart& part = {});
    /// Adds what another one has counted. Exact ones take exact ones, of whatever types; those over a range
    /// take exact ones and those of the same bins. False otherwise, and nothing changes.
    bool Add(const Histogram& other);

    ValueStatistics GetStatistics() const;

    /// Whether each bin is a whole number. Before anything is added: false, and there are no bins.
    bool IsExact() const { return kind == Exact; }
    int GetNumbBins() const { return static_cast<int>(counts.size()); }
    std::uint64_t GetCount(int bin) const { return counts[static_cast<std::size_t>(bin)]; }
    /// Where a bin starts; of exact ones its value. The number of bins gives the end of the last one.
    double GetBinStart(int bin) const;
    /// Values on either side of the range; 0 for exact ones.
    std::uint64_t GetBelow() const { return below; }
    std::uint64_t GetAbove() const { return above; }

    /// The value that has `rank` others below or beside it, as if all were sorted; ranks beyond the last give
    /// the last. Not a number where the histogram is not exact (ValueRanks serves those) or empty.
    double GetValue(std::uint64_t rank) const;

  private:
    enum Kind { Undecided, Exact, Ranged };

    void SetRange(double from, double to);
    void AddValues(const ValueStatistics& others, double otherSquares);
    template <class Count>
    void AddCounts(int first, const Count* table, int size);
    void AddSmall(const Image& image, const ImagePart& part);
    void AddLarge(const Image& image, const ImagePart& part);

    Kind kind = Undecided;
    int wantedBins;
    double low = 0;   // of exact ones: the value of the first bin
    double high = 0;  // of the range
    std::vector<std::uint64_t> counts;
    std::uint64_t below = 0;
    std::uint64_t above = 0;
    ValueStatistics values;
    double lost = 0;     // what the sum's additions rounded away
    double squares = 0;  // of the distances from the mean, added up
};

/// What a histogram tells of the values of an image, where nothing else of it is wanted.
PZEL_API ValueStatistics ComputeStatistics(const Image* image, const ImagePart& part = {});

/// The rank of the value that `percent` of so many values lie below: count * percent / 100, rounded down, and
/// less than `count` (0 for none).
PZEL_API std::uint64_t RankOfPercent(double percent, std::uint64_t count);

/// The finite values of an image by their rank: what sorting all of them would give, for any type, in one
/// pass over the image, and for 32-bit integers and floats one more for each value. The image must live and
/// stay as it is.
class PZEL_API ValueRanks {
  public:
    explicit ValueRanks(const Image* image, const ImagePart& part = {});

    /// The number of finite values.
    std::uint64_t GetCount() const { return count; }
    /// The value of a rank, from 0 on; ranks beyond the last give the last. Not a number for no values.
    double GetValue(std::uint64_t rank) const;

  private:
    const Image* image;
    ImagePart part;
    std::uint64_t count = 0;
    Histogram exact;                   // of small types
    std::vector<std::uint64_t> upper;  // of the others: counts of the upper halves of their keys
};
