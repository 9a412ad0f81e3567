// From how many elements on another task pays, in a file of its own so that tests can divide small calls,
// too.
#include "pzel/loops/ranges.h"

namespace pzel {

int rangesThatPay(std::int64_t elements, Effort effort) {
    constexpr std::int64_t moved = 1 << 20, computed = 96 << 10;
    return int(std::min<std::int64_t>(elements / (effort == Effort::Moving ? moved : computed), kMostRanges));
}

}  // namespace pzel
