// A tone that is asked beforehand at many places and straight in between: for tones that are slow to ask,
// where many pixels of few levels follow.
#pragma once

#include <vector>

#include "pzel/colour/colour_block.h"
#include "pzel/loops/shuffle.h"

namespace pzel {

class SampledTone final : public Tone {
  public:
    /// What a tone is asked for, and how exactly.
    struct Domain {
        float top;        ///< values 0 … top
        bool isCircular;  ///< top is 0 again
        float allowed;    ///< error that does not show
    };
    /// `exact` stays the caller's. It is asked again for values near which it is too crooked.
    SampledTone(const Tone& exact, const Domain& values);
    void apply(float* values, int count) const override;
    void applyUnasked(float* values, int count) const override;

  private:
    void askCrooked(const float* given, float* values, int count) const;

    const Tone& tone;
    Domain domain;
    bool isCrooked = false;
    std::vector<Line> lines;  ///< one for each cell; not a number where the tone is crooked
};

}  // namespace pzel
