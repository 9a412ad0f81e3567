// The operations that read or write pixels, each with all that it needs for one shape.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/guard/memory.h"

namespace guard {

/// Pixels of a row: those that count, and those before them in the same row (0 where a whole image counts).
struct Span {
    int width;
    int offset;
};

struct Operation {
    std::string name;
    int elementBits;  ///< of the smallest elements: says how many make a vector
    bool ofParts;     ///< whether it takes offsets
    std::function<void(Memory&, Span)> run;
};

std::vector<Operation> displayOperations();  ///< mapping to bitmaps, bitmaps over bitmaps, compositions
std::vector<Operation> elementOperations();  ///< copies, conversions, bounds, histograms, arithmetic, colour

}  // namespace guard
