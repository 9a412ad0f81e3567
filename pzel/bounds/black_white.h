// A pair of display levels: the data values that are shown as black and as white.
#pragma once

#include <limits>

#include "pzel/export.h"

/// Black and white level of one channel, in data values. Passed by value; the levels of a component live in
/// the data bound of the image that it shows.
class PZEL_API CompBlackWhite {
  public:
    /// The undefined pair, which means that there is no level: the smallest positive normal double and the
    /// largest double.
    CompBlackWhite() = default;
    CompBlackWhite(double blackLevel, double whiteLevel) : black(blackLevel), white(whiteLevel) {}
    CompBlackWhite(const CompBlackWhite&) = default;
    CompBlackWhite& operator=(const CompBlackWhite&) = default;
    virtual ~CompBlackWhite();

    double black = std::numeric_limits<double>::min();  ///< shown as the lowest display level
    double white = std::numeric_limits<double>::max();  ///< shown as the highest display level
};
