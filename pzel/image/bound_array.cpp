// The bound array: creation, sections and defaults.
#include "pzel/image/bound_array.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "pzel/image/bound_entries.h"

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

namespace pzel {

unsigned char* CloneBoundArray(const Image& image) {
    if (!image.bound) return nullptr;
    unsigned char* copy = NewBoundArray();
    std::memcpy(copy, image.bound, boundArrayBytes(image));
    return copy;
}

}  // namespace pzel
