// Levels by element type, and levels of the spatial bound.
#include "pzel/bounds/black_white.h"

#include <cstring>

#include "pzel/bounds/bounds.h"
#include "pzel/bounds/hsi_bound.h"
#include "pzel/image/bound_entries.h"
#include "pzel/loops/saturate.h"

namespace {

constexpr int kColours = 3;

template <class T>
CompBlackWhite Levels(pzel::Pair<T> pair) {
    return {double(pair.low), double(pair.high)};
}

/// The first pairs of an image's spatial bound, in elements that may be others than the image's own; false
/// where the array does not reach so far.
template <class T, std::size_t count>
bool ReadSpatial(Image* image, pzel::Pair<T> (&pairs)[count], int first) {
    const unsigned char* spatial = GetSpatialBound(image);
    const auto room = std::size_t(2 * GetBoundBytes(image)), skipped = std::size_t(first) * sizeof *pairs;
    if (!spatial || skipped + sizeof pairs > room) return false;
    std::memcpy(pairs, spatial + skipped, sizeof pairs);
    return true;
}

}  // namespace

CompBlackWhite::~CompBlackWhite() = default;

CompBlackWhite FullBlackWhite(unsigned short compType, ImageDataType type, int channel) {
    if (type == DataBit) return {0, 1};
    CompBlackWhite full;
    pzel::visitElement(pzel::levelType(compType, type, channel), [&]<class T>() {
        full = {double(std::numeric_limits<T>::lowest()), double(std::numeric_limits<T>::max())};
    });
    return full;
}

CompBlackWhite DefaultBlackWhite(unsigned short compType, ImageDataType type, int channel) {
    if (type != DataFloat) return FullBlackWhite(compType, type, channel);
    // Tied to type word 0, not to the one with colour differences (deliberate).
    if (compType == SubColour && (channel == 1 || channel == 2)) return {-128, 128};
    return {0, 255};
}

CompBlackWhite GetSpatialBounds(Image* image, unsigned short compType, ImageDataType type, int channel) {
    if (type == DataBit) return {0, 1};
    CompBlackWhite levels;
    if (channel < 0) return levels;
    if (channel < kColours) {
        pzel::visitElement(pzel::levelType(compType, type, channel), [&]<class T>() {
            pzel::Pair<T> pair[1];
            if (ReadSpatial(image, pair, channel)) levels = Levels(*pair);
        });
    } else if (compType == SubColour && channel < 2 * kColours) {
        pzel::visitDisplayElement(type, [&]<class T>() {
            pzel::Pair<T> spatial[kColours];
            if (!ReadSpatial(image, spatial, 0)) return;
            alignas(float) unsigned char hsi[sizeof spatial];
            auto* bytes = reinterpret_cast<unsigned char*>(spatial);
            pzel::deriveHsi(type, bytes, bytes, hsi);
            pzel::visitElement(pzel::unsignedType(type), [&]<class U>() {
                levels = Levels(pzel::boundEntry<U>(hsi, channel - kColours));
            });
        });
    }
    return levels;
}

void SetSpatialBounds(Image* image, const CompBlackWhite& levels, int channel) {
    if (channel >= kColours) channel -= image->channels;
    unsigned char* spatial = GetSpatialBound(image);
    if (!spatial || channel < 0 || channel >= image->channels) return;
    pzel::visitElement(GetDataType(image), [&]<class T>() {
        pzel::boundEntry<T>(spatial, channel) = {pzel::narrowWide<T>(levels.black),
                                                 pzel::narrowWide<T>(levels.white)};
    });
}
