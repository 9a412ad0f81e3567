// Values by rank without sorting. A 32-bit value becomes a key that orders like it; a first pass counts the
// upper halves of all keys, another one the lower halves of those that share the upper half of the rank.
#include <algorithm>
#include <bit>
#include <limits>

#include "pzel/bounds/histogram.h"
#include "pzel/bounds/part_rows.h"

namespace {

constexpr std::uint32_t kSign = 0x80000000;
constexpr int kHalf = 16;
constexpr std::size_t kHalves = 1 << kHalf;

std::uint32_t keyOf(std::uint32_t value) {
    return value;
}
std::uint32_t keyOf(std::int32_t value) {
    return std::uint32_t(value) ^ kSign;
}
std::uint32_t keyOf(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value + 0.0f);  // one zero
    return bits & kSign ? ~bits : bits | kSign;
}

template <class T>
double valueOf(std::uint32_t key) {
    if constexpr (std::is_same_v<T, float>)
        return double(std::bit_cast<float>(key & kSign ? key ^ kSign : ~key));
    else
        return double(T(std::is_signed_v<T> ? key ^ kSign : key));
}

/// Calls use(key) with the key of each finite value of a part of 32-bit elements.
template <class F>
void withKeys(const Image& image, const ImagePart& part, F&& use) {
    pzel::NonFinite ignored;
    pzel::withPlanes(image, part, [&](const auto& rows, int width, int height) {
        using T = pzel::ElementOf<std::remove_cvref_t<decltype(rows)>>;
        if constexpr (!pzel::isSmall<T>) {
            const pzel::ValueBlocks blocks(rows, width, height);
            for (int block = 0; block < blocks.count(); ++block)
                blocks.visit(block, ignored, [&](const T* values, int count) {
                    for (int i = 0; i < count; ++i) use(keyOf(values[i]));
                });
        }
    });
}

/// The place of a rank among counts, and what is left of the rank there.
std::size_t placeOf(const std::vector<std::uint64_t>& counts, std::uint64_t& rank) {
    std::size_t place = 0;
    while (rank >= counts[place]) rank -= counts[place++];
    return place;
}

}  // namespace

std::uint64_t RankOfPercent(double percent, std::uint64_t count) {
    if (count == 0 || !(percent > 0)) return 0;
    const double rank = double(count) * percent / 100;
    return rank < double(count) ? std::min(std::uint64_t(rank), count - 1) : count - 1;
}

ValueRanks::ValueRanks(const Image* of, const ImagePart& which) : image(of), part(which) {
    if (!pzel::hasValues(image, part)) return;
    if (pzel::isSmallType(GetDataType(image))) {
        exact.Add(image, part);
        count = exact.GetStatistics().count;
        return;
    }
    upper.assign(kHalves, 0);
    withKeys(*image, part, [&](std::uint32_t key) { ++upper[key >> kHalf]; });
    for (const std::uint64_t n : upper) count += n;
}

double ValueRanks::GetValue(std::uint64_t rank) const {
    if (count == 0) return std::numeric_limits<double>::quiet_NaN();
    if (upper.empty()) return exact.GetValue(rank);
    std::uint64_t left = std::min(rank, count - 1);
    const std::size_t shared = placeOf(upper, left);
    std::vector<std::uint64_t> lower(kHalves);
    withKeys(*image, part, [&](std::uint32_t key) {
        if (key >> kHalf == shared) ++lower[key % kHalves];
    });
    const auto key = std::uint32_t(shared << kHalf | placeOf(lower, left));
    double value = 0;
    pzel::visitElement(GetDataType(image), [&]<class T>() {
        if constexpr (!pzel::isSmall<T>) value = valueOf<T>(key);
    });
    return value;
}
