// The data bound of a colour image as ranges of intensity, saturation and hue, and back. Single precision.
#include "pzel/bounds/hsi_bound.h"
#include "pzel/bounds/bounds.h"
#include "pzel/image/bound_entries.h"
#include "pzel/loops/saturate.h"

namespace pzel {

namespace {

constexpr float kNinth = 0.11111111f;
constexpr float kTwoPi = 6.2831855f;

/// The spatial ranges of the three channels: the reference that values are normalised against.
template <class T>
struct Reference {
    explicit Reference(const Pair<T>* spatial) {
        for (int c = 0; c < 3; ++c) {
            low[c] = float(spatial[c].low);
            // Differences of integers wrap in their own width and count as unsigned.
            if constexpr (std::is_floating_point_v<T>)
                range[c] = spatial[c].high - spatial[c].low;
            else
                range[c] = float(std::make_unsigned_t<T>(spatial[c].high - spatial[c].low));
        }
        sum = range[0] + range[1] + range[2];
    }

    /// 0 … 1 within the reference range; a range of zero gives either end.
    float normalise(int c, T value) const {
        const float n = (float(value) - low[c]) / range[c];
        return n > 0 ? (n > 1 ? 1 : n) : 0;
    }

    float low[3];
    float range[3];
    float sum;
};

/// HSI pairs are stored unsigned, whatever the sign of the image's elements.
template <class T>
struct HsiElement {
    using type = std::make_unsigned_t<T>;
};
template <>
struct HsiElement<float> {
    using type = float;
};

template <class T>
void DataToHsi(const Pair<T>* data, const Pair<T>* spatial, unsigned char* hsi, float fullScale) {
    using U = typename HsiElement<T>::type;
    const Reference<T> reference(spatial);
    float min = 0, max = 0;
    for (int c = 0; c < 3; ++c) {
        min += reference.normalise(c, data[c].low);
        max += reference.normalise(c, data[c].high);
    }
    boundEntry<U>(hsi, 0) = {narrowWide<U>(min * reference.sum * kNinth),
                             narrowWide<U>(max * reference.sum * kNinth)};
    boundEntry<U>(hsi, 1) = {U(0), U(fullScale)};
    boundEntry<U>(hsi, 2) = {U(0), std::is_floating_point_v<T> ? U(kTwoPi) : U(fullScale)};
}

template <class T>
void HsiToData(unsigned char* hsi, const Pair<T>* spatial, Pair<T>* data) {
    using U = typename HsiElement<T>::type;
    const Reference<T> reference(spatial);
    const Pair<U> intensity = boundEntry<U>(hsi, 0);
    const float k = 3.0f / reference.sum;
    for (int c = 0; c < 3; ++c) {
        const auto toData = [&](U i) {
            return narrowWide<T>(reference.range[c] * (float(i) * k) + reference.low[c]);
        };
        data[c] = {toData(intensity.low), toData(intensity.high)};
    }
}

}  // namespace

bool deriveHsi(int type, unsigned char* data, unsigned char* spatial, unsigned char* hsi) {
    return visitDisplayElement(type, [&]<class T>() {
        DataToHsi<T>(&boundEntry<T>(data, 0), &boundEntry<T>(spatial, 0), hsi,
                     GetHSIFullScale(static_cast<unsigned char>(type)));
    });
}

void DeriveHsiBound(Image* image) {
    deriveHsi(GetDataType(image), GetBound(image), GetSpatialBound(image), GetHSIBound(image));
}

void DeriveDataBound(Image* image) {
    visitDisplayElement(GetDataType(image), [&]<class T>() {
        HsiToData<T>(GetHSIBound(image), &boundEntry<T>(GetSpatialBound(image), 0),
                     &boundEntry<T>(GetBound(image), 0));
    });
}

}  // namespace pzel
