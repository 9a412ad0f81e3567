// Clamping to constants, one instruction for each end.
#pragma once

namespace pzel {

struct Ends {
    float low, high;
};

/// Ends of which the compiler does not see the values: it splits clamps to known constants into several
/// comparisons, and makes vector minima and maxima of clamps to variables.
extern const Ends kUnitEnds;  // 0 and 1
extern const Ends kByteEnds;  // 0 and 255

/// Clamped to the ends; not a number gives the low one.
template <class Real>
Real clampTo(const Ends& ends, Real v) {
    const Real low = ends.low, high = ends.high;
    v = v > low ? v : low;
    return v < high ? v : high;
}

}  // namespace pzel
