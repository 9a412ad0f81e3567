// Bounds pair by pair, and the bound type.
#include "pzel/bounds/bounds.h"

#include <algorithm>
#include <cstring>

#include "pzel/bounds/hsi_bound.h"
#include "pzel/image/bound_entries.h"

using pzel::boundEntry;
using pzel::Pair;

namespace {

constexpr int kHsiChannels = 3;

bool IsBoundUnset(const Image* image) {
    return !(image->state & (StateBoundSet | StateBoundDefault));
}

void StoreEntry(Image* image, AnyType min, AnyType max, int channel) {
    if (!pzel::holdsEntry(image, channel)) return;
    const std::size_t bytes = std::size_t(DataBytes(image->dataType));
    unsigned char* entry = GetBound(image) + std::size_t(channel) * 2 * bytes;
    std::memcpy(entry, &min, bytes);
    std::memcpy(entry + bytes, &max, bytes);
}

}  // namespace

unsigned char* GetSelectedBound(Image* image) {
    return GetBound(image, GetBoundType(image));
}

unsigned char* GetBound(Image* image, unsigned char type) {
    if (type == BoundHsi) return GetHSIBound(image);
    return type == BoundSpatial && image->channels >= kHsiChannels ? GetSpatialBound(image) : GetBound(image);
}

void SetBound(Image* image, AnyType min, AnyType max, int channel) {
    if (GetBound(image)) StoreEntry(image, min, max, channel);
    image->state |= StateBoundSet;
}

void SetBound(Image* image, AnyType min, AnyType max) {
    for (int c = 0; c < image->channels; ++c) SetBound(image, min, max, c);
    image->state |= StateBoundSet;
}

void GetBound(Image* image, float* min, float* max, int channel) {
    if (IsBoundUnset(image)) SetDefaultBound(image);
    *min = 0;
    *max = 1;
    unsigned char* bound = GetBound(image);
    if (!bound || !pzel::holdsEntry(image, channel)) return;
    pzel::visitElement(pzel::trueType(image, channel), [&]<class T>() {
        const Pair<T>& entry = boundEntry<T>(bound, channel);
        *min = float(entry.low);
        *max = float(entry.high);
    });
}

float GetScale(Image* image, int channel) {
    float min, max;
    GetBound(image, &min, &max, channel);
    return max - min;
}

float GetScale(Image* image) {
    float lowest, highest;
    GetBound(image, &lowest, &highest, 0);
    for (int c = 1; c < image->channels; ++c) {
        float min, max;
        GetBound(image, &min, &max, c);
        lowest = std::min(lowest, min);
        highest = std::max(highest, max);
    }
    return highest - lowest;
}

unsigned char GetBoundType(Image* image) {
    return image->state & StateHsiBound;
}

void SetBoundType(Image* image, unsigned char type) {
    if (type == BoundData || type == BoundSpatial || type == BoundHsi)
        image->state = std::uint8_t((image->state & ~StateHsiBound) | type);
}

void SwitchBoundType(Image* image, unsigned char from, unsigned char to) {
    if (image->channels < kHsiChannels) return;
    if (from != BoundData && from != BoundHsi) from = GetBoundType(image);
    if (to != BoundData && to != BoundHsi) to = GetBoundType(image);
    if (from == to) return;
    if (from == BoundData)
        pzel::DeriveHsiBound(image);
    else
        pzel::DeriveDataBound(image);
    SetBoundType(image, to);
}

float GetHSIFullScale(unsigned char dataType) {
    switch (dataType) {
        case DataUInt16:
        case DataInt16: return 65535.0f;
        case DataFloat: return 1.0f;
        default: return 255.0f;
    }
}

int CompareBounds(Image* a, Image* b) {
    if (!a->bound && !b->bound) return 1;
    if (!a->bound || !b->bound || a->channels != b->channels) return 0;
    bool equal = true, comparable = false;
    pzel::visitDisplayElement(GetDataType(a), [&]<class A>() {
        pzel::visitDisplayElement(GetDataType(b), [&]<class B>() {
            comparable = true;
            for (int c = 0; c < a->channels; ++c) {
                const Pair<A>& pairA = boundEntry<A>(a->bound, c);
                const Pair<B>& pairB = boundEntry<B>(b->bound, c);
                equal =
                    equal && float(pairA.low) == float(pairB.low) && float(pairA.high) == float(pairB.high);
            }
        });
    });
    return comparable && equal;
}
