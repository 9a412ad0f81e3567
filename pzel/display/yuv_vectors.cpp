// The tables, read off the plain rule: where green takes one step more for a pair of differences than for
// both alone, and in which order.
#include "pzel/display/yuv_vectors.h"

#include <algorithm>
#include <vector>

#include "pzel/display/yuv_rules.h"

namespace pzel {

YuvSteps::YuvSteps() {
    // Luminance that leaves room for all steps up, or for all of blue and red or green down.
    constexpr float bottom = 0, top = 255, topOfGreen = 240;
    const LinearDifference<std::int8_t> difference(127, nullptr);
    const auto shown = [&](int i) { return difference(std::int8_t(i)); };
    const auto green = [&](int u, int v) {
        const int up = LinearMatrix::green(bottom, shown(u), shown(v));
        return up > 0 ? up : LinearMatrix::green(topOfGreen, shown(u), shown(v)) - int(topOfGreen);
    };
    for (int i = 0; i < 256; ++i) {
        const bool isDown = i >= 128;
        blue.entry[i] = std::uint8_t(isDown ? 255 - LinearMatrix::blue(top, shown(i))
                                            : LinearMatrix::blue(bottom, shown(i)));
        red.entry[i] = std::uint8_t(isDown ? 255 - LinearMatrix::red(top, shown(i))
                                           : LinearMatrix::red(bottom, shown(i)));
        greenU.entry[i] = std::uint8_t(green(i, 0));
        greenV.entry[i] = std::uint8_t(green(0, i));
    }
    // A v that makes a whole with more of the u has a higher rank.
    std::vector<bool> isWhole(65536);
    for (int v = 0; v < 256; ++v) {
        for (int u = 0; u < 256; ++u)
            isWhole[std::size_t(256 * v + u)] = green(u, v) > green(u, 0) + green(0, v);
        const auto row = isWhole.begin() + 256 * v;
        rankV.entry[v] = std::uint8_t(std::count(row, row + 256, true));
    }
    for (int u = 0; u < 256; ++u) {
        neededU.entry[u] = 255;
        for (int v = 0; v < 256; ++v)
            if (isWhole[std::size_t(256 * v + u)])
                neededU.entry[u] = std::min(neededU.entry[u], rankV.entry[v]);
    }
}

const YuvSteps& YuvSteps::get() {
    static const YuvSteps steps;
    return steps;
}

}  // namespace pzel
