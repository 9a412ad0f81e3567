// Display levels: the data values that are shown as black and as white; the ranges of element types; and the
// spatial bound as levels. The levels of components are in pzel/component/icomponent.h.
#pragma once

#include <limits>

#include "pzel/image/image.h"

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

/// The full range of an element type. `compType` is a component's type word: with 1 (YUV) channel 0 is read
/// as unsigned, channels 1 and 2 as signed. Float: the float limits. The undefined pair for unknown types.
PZEL_API CompBlackWhite FullBlackWhite(unsigned short compType, ImageDataType type, int channel);
/// The levels to start with: the full range, for float (0, 255); channels 1 and 2 of float data of type word
/// 0 get (-128, 128) (deliberate).
PZEL_API CompBlackWhite DefaultBlackWhite(unsigned short compType, ImageDataType type, int channel);
/// One pair of an image's spatial bound, read as `type`, which may be another than the image's. With type
/// word 0 channels 3, 4 and 5 are intensity, saturation and hue, derived from it. The undefined pair for
/// other channels and types, and for pairs that would lie behind the bound array; bits give (0, 1).
PZEL_API CompBlackWhite GetSpatialBounds(Image* image, unsigned short compType, ImageDataType type,
                                         int channel);
/// Writes one pair of an image's spatial bound, truncated toward zero and narrowed to the element type. The
/// number of channels is subtracted from a channel above 2; a channel that no pair answers to changes
/// nothing.
PZEL_API void SetSpatialBounds(Image* image, const CompBlackWhite& levels, int channel);
