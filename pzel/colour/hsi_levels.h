// The levels of hue, saturation and intensity of an image, prepared once: for its display and for baking them
// in.
#pragma once

#include <algorithm>
#include <type_traits>

#include "pzel/bounds/bounds.h"
#include "pzel/bounds/hsi_bound.h"
#include "pzel/colour/hsi.h"
#include "pzel/image/bound_entries.h"

namespace pzel {

/// Windows of the HSI bound as fractions of the full one, which the spatial bound gives. An HSI bound that
/// was never written counts as the full one.
template <class T>
class HsiLevels {
  public:
    explicit HsiLevels(Image* image) {
        unsigned char* spatial = GetSpatialBound(image);
        for (int c = 0; c < 3; ++c) {
            const Pair<T>& pair = boundEntry<T>(spatial, c);
            low[c] = float(pair.low);
            range[c] = float(pair.high) - low[c];
            inverse[c] = range[c] != 0 ? 1 / range[c] : 0;
        }
        alignas(Pair<U>) unsigned char reference[3 * sizeof(Pair<U>)];
        deriveHsi(GetDataType(image), spatial, spatial, reference);
        unsigned char* bound = GetHSIBound(image);
        const Pair<U>* entries = &boundEntry<U>(bound, 0);
        if (std::all_of(entries, entries + 3, [](const Pair<U>& p) { return p == Pair<U>{}; }))
            bound = reference;
        for (int k = 0; k < 3; ++k) {
            const float full = float(boundEntry<U>(reference, k).high);
            const Pair<U>& pair = boundEntry<U>(bound, k);
            window[k] = full != 0 ? Window{float(pair.low) / full, float(pair.high) / full} : Window{0, 1};
        }
    }

    UnitWindow intensity() const { return {window[0].low, window[0].high}; }
    UnitWindow saturation() const { return {window[1].low, window[1].high}; }
    /// Fractions of the circle.
    float hueLow() const { return window[2].low; }
    float hueHigh() const { return window[2].high; }

    /// A value of channel c as 0 … 1 of its spatial range.
    float normalised(int c, T value) const { return clampUnit((float(value) - low[c]) * inverse[c]); }
    /// The value that stands for a fraction, 0 … 1, of the spatial range of channel c; integers truncated.
    T value(int c, float fraction) const {
        const float v = fraction * range[c] + low[c];
        if constexpr (std::is_floating_point_v<T>) return v;
        return T(int(v));
    }

  private:
    /// HSI pairs of integer types are stored unsigned.
    using U = typename std::conditional_t<std::is_floating_point_v<T>, std::type_identity<T>,
                                          std::make_unsigned<T>>::type;
    struct Window {
        float low, high;
    };
    float low[3], range[3], inverse[3];
    Window window[3];
};

}  // namespace pzel
