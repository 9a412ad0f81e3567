// The bound array: creation, sections, defaults, single pairs and the bound type.
#include "pzel/bounds/bounds.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "pzel/bounds/bound_entries.h"

using pzel::boundEntry;
using pzel::Pair;

namespace {

constexpr int kHsiChannels = 3, kSections = 3;

/// Section 0, 1 or 2; null for an image that has none.
unsigned char* Section(Image* image, int index) {
    CheckBoundArray(image);
    const int bytes = GetBoundBytes(image);
    return bytes ? image->bound + index * bytes : nullptr;
}

unsigned char* NewBoundArray() {
    auto* bound = static_cast<unsigned char*>(::operator new(pzel::kBoundArrayBytes));
    std::memset(bound, 0, pzel::kBoundArrayBytes);
    return bound;
}

bool IsBoundUnset(const Image* image) {
    return !(image->state & (StateBoundSet | StateBoundDefault));
}

/// At most `room` pairs.
template <class T>
void WriteDefaults(unsigned char* entries, int room, unsigned short subType) {
    using Signed = std::conditional_t<sizeof(T) == 1, std::int8_t, std::int16_t>;
    using Unsigned = std::make_unsigned_t<Signed>;
    constexpr bool real = std::is_floating_point_v<T>;
    switch (subType) {
        case SubColour:
            std::fill_n(&boundEntry<T>(entries, 0), std::min(room, 3), pzel::fullRange<T>());
            break;
        case SubGrey: boundEntry<T>(entries, 0) = pzel::fullRange<T>(); break;
        case SubYuv:
            if constexpr (real) {
                boundEntry<T>(entries, 0) = pzel::fullRange<T>();
                std::fill_n(&boundEntry<T>(entries, 1), std::min(room - 1, 2), Pair<T>{-128, 127});
            } else {
                boundEntry<Unsigned>(entries, 0) = pzel::fullRange<Unsigned>();
                std::fill_n(&boundEntry<Signed>(entries, 1), std::min(room - 1, 2),
                            pzel::fullRange<Signed>());
            }
            break;
        default: break;
    }
}

/// Into a section of an image, and no further than its array goes.
void WriteDefaults(Image* image, int section, unsigned short subType) {
    unsigned char* entries = Section(image, section);
    const int room = (kSections - section) * image->channels;
    if (entries)
        pzel::visitDisplayElement(GetDataType(image),
                                  [&]<class T>() { WriteDefaults<T>(entries, room, subType); });
}

void StoreEntry(Image* image, AnyType min, AnyType max, int channel) {
    if (!pzel::holdsEntry(image, channel)) return;
    const std::size_t bytes = std::size_t(DataBytes(image->dataType));
    unsigned char* entry = GetBound(image) + std::size_t(channel) * 2 * bytes;
    std::memcpy(entry, &min, bytes);
    std::memcpy(entry + bytes, &max, bytes);
}

}  // namespace

int GetBoundBytes(Image* image) {
    return DataBytes(image->dataType) * image->channels * 2;
}

void CheckBoundArray(Image* image) {
    if (image->bound || GetBoundBytes(image) == 0) return;
    image->bound = NewBoundArray();
    if (GetMajorType(image) != MajorPicture) return;
    const unsigned short subType =
        image->channels == 1 ? static_cast<unsigned short>(SubGrey) : GetSubType(image);
    WriteDefaults(image, 1, subType);
}

unsigned char* GetBound(Image* image) {
    return Section(image, 0);
}

unsigned char* GetSpatialBound(Image* image) {
    return Section(image, 1);
}

unsigned char* GetHSIBound(Image* image) {
    return Section(image, image->channels < kHsiChannels ? 0 : 2);
}

unsigned char* GetSelectedBound(Image* image) {
    return GetBound(image, GetBoundType(image));
}

unsigned char* GetBound(Image* image, unsigned char type) {
    if (type == BoundHsi) return GetHSIBound(image);
    return Section(image, type == BoundSpatial && image->channels >= kHsiChannels ? 1 : 0);
}

void SetBoundDefault(unsigned char* entries, unsigned short subType, unsigned char dataType) {
    constexpr int most = 3;
    pzel::visitDisplayElement(dataType, [&]<class T>() { WriteDefaults<T>(entries, most, subType); });
}

void SetDefaultBound(Image* image) {
    WriteDefaults(image, 0, GetSubType(image));
    CopyBoundToSpatialBound(image);
    image->state |= StateBoundSet | StateBoundDefault;
}

void SetDefaultSpatialBounds(Image* image) {
    WriteDefaults(image, 1, GetSubType(image));
}

void CopyBoundToSpatialBound(Image* image) {
    if (unsigned char* bound = GetBound(image))
        std::memcpy(GetSpatialBound(image), bound, std::size_t(GetBoundBytes(image)));
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

namespace pzel {

unsigned char* CloneBoundArray(const Image& image) {
    if (!image.bound) return nullptr;
    unsigned char* copy = NewBoundArray();
    std::memcpy(copy, image.bound, boundArrayBytes(image));
    return copy;
}

}  // namespace pzel
