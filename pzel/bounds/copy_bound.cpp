// Copying a bound array across a change of element type.
#include <algorithm>
#include <cstring>

#include "pzel/bounds/bounds.h"
#include "pzel/bounds/hsi_bound.h"
#include "pzel/image/bound_entries.h"
#include "pzel/image/sub_type_change.h"

using pzel::boundEntry;
using pzel::Pair;

namespace {

/// Into unsigned 8 and signed 8 bits: the pair as it is where it fits, else its width from the lowest value
/// on.
template <class S, class D>
Pair<D> Narrowed(Pair<S> from, bool keepFitting) {
    constexpr Pair<D> full = pzel::fullRange<D>();
    if (keepFitting && from.low >= full.low && from.high <= full.high) return {D(from.low), D(from.high)};
    return {full.low, D(std::min(from.high - from.low, 255) + full.low)};
}

/// One pair from element type S to D. Pairs of equal true types stay as they were, deliberately.
template <class S, class D>
void ConvertPair(const Pair<S>& from, Pair<D>& to) {
    constexpr bool toReal = std::is_floating_point_v<D>, fromReal = std::is_floating_point_v<S>;
    if constexpr (std::is_same_v<S, D>) {
        return;
    } else if constexpr (fromReal) {
        to = pzel::fullRange<D>();
    } else if constexpr (toReal) {
        to = {D(from.low), D(from.high)};
    } else if constexpr (sizeof(S) == 1 && sizeof(D) == 1) {
        to = {D(from.low + 128), D(from.high + 128)};
    } else if constexpr (std::is_same_v<S, std::int8_t> && std::is_same_v<D, std::uint16_t>) {
        to = {D(from.low + 128), D(from.high + 128)};
    } else if constexpr (sizeof(S) == 1) {
        to = {D(from.low), D(from.high)};
    } else if constexpr (sizeof(D) == 2) {
        to = {D(from.low + 32768), D(from.high + 32768)};
    } else {
        to = Narrowed<S, D>(from, std::is_signed_v<S>);
    }
}

void ConvertEntry(int sourceType, unsigned char* source, int type, unsigned char* destination, int channel) {
    pzel::visitDisplayElement(type, [&]<class D>() {
        Pair<D>& to = boundEntry<D>(destination, channel);
        if (sourceType == DataBit) {
            to = {0, 1};
            return;
        }
        pzel::visitDisplayElement(sourceType,
                                  [&]<class S>() { ConvertPair<S, D>(boundEntry<S>(source, channel), to); });
    });
}

/// Whole arrays; of another number of channels what the source holds, and zeros behind it.
void CopyArray(unsigned char* to, std::size_t bytes, const unsigned char* from, std::size_t held) {
    if (!from) return;
    std::memcpy(to, from, std::min(bytes, held));
    if (bytes > held) std::memset(to + held, 0, bytes - held);
}

}  // namespace

void CopyBound(Image* dst, Image* src) {
    if (GetBoundBytes(dst) == 0) return;
    if (GetSubType(dst) != SubNotSet && GetSubType(dst) != GetSubType(src)) {
        SetDefaultBound(dst);
        return;
    }
    pzel::SubTypeChange subType(*dst, GetSubType(src));
    unsigned char* from = GetBound(src);
    unsigned char* to = GetBound(dst);
    subType.keep();
    if (GetDataType(dst) == GetDataType(src)) {
        CopyArray(to, pzel::boundArrayBytes(*dst), from, pzel::boundArrayBytes(*src));
        return;
    }
    // By the source's channel count, also where the destination has fewer, as far as its array goes.
    for (int c = 0; c < src->channels && pzel::holdsEntry(dst, c); ++c)
        ConvertEntry(pzel::trueType(src, c), from, pzel::trueType(dst, c), to, c);
    CopyBoundToSpatialBound(dst);
    if (dst->channels == 3 && GetSubType(dst) == SubColour) pzel::DeriveHsiBound(dst);
    dst->state |= StateBoundSet;
}
