// The constants of ByteLinear, searched once for every width of levels and checked on every value.
#include "pzel/display/fast_rules.h"

namespace pzel {

namespace {

std::optional<ByteLinear> Search(std::uint8_t width) {
    const Pair<std::uint8_t> levels{0, width};
    const Linear<std::uint8_t> rule(levels, nullptr);
    const int spread = 0xFFFF / width;
    const int nominal = int(255.0 * 256 * 65536 / (double(width) * spread) + 0.5);
    for (const int rounding : {128, 127, 129, 126, 130}) {
        for (const int factor : {nominal, nominal - 1, nominal + 1}) {
            const ByteLinear found{levels.low, levels.high, std::uint16_t(spread), std::uint16_t(factor),
                                   std::uint16_t(rounding)};
            bool same = factor <= 0xFFFF;
            for (int v = 0; same && v <= width; ++v) same = found(std::uint8_t(v)) == rule(std::uint8_t(v));
            if (same) return found;
        }
    }
    return std::nullopt;
}

using ByWidth = std::array<std::optional<ByteLinear>, 256>;

ByWidth SearchAll() {
    ByWidth found;
    for (std::size_t width = 1; width < found.size(); ++width) found[width] = Search(std::uint8_t(width));
    return found;
}

}  // namespace

std::optional<ByteLinear> ByteLinear::find(Pair<std::uint8_t> levels) {
    static const ByWidth byWidth = SearchAll();
    if (!(levels.high > levels.low)) return std::nullopt;
    std::optional<ByteLinear> found = byWidth[std::size_t(levels.high - levels.low)];
    if (found) {
        found->black = levels.low;
        found->white = levels.high;
    }
    return found;
}

}  // namespace pzel
