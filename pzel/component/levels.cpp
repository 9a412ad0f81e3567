// Black and white levels of components and movies: entries of the data bound of the shown image, or of its
// HSI bound for the channels behind the last. Making levels from data is the bounds' business.
#include <array>

#include "pzel/bounds/bounds.h"
#include "pzel/bounds/hsi_bound.h"
#include "pzel/component/comp.h"
#include "pzel/component/movie.h"
#include "pzel/image/bound_entries.h"
#include "pzel/loops/saturate.h"

namespace {

bool hasLevels(int type) {
    return type >= DataUInt8 && type <= DataFloat;
}

/// Which entry of which bound a channel of a component names, and how its elements are read.
class LevelEntry {
  public:
    LevelEntry(unsigned short typeWord, int numbChannels, int channel)
        : word(typeWord), entry(channel), hsi(typeWord == SubColour && channel >= numbChannels) {
        if (hsi) entry -= numbChannels;
        exists = entry < numbChannels;
    }

    /// The channel by which observers and the bitmap know the entry.
    int channel() const { return entry; }

    /// Calls f with the entry's pair in an image; false where the image has none.
    template <class F>
    bool visit(Image* image, F&& f) const {
        if (!exists || image == nullptr || entry >= image->channels) return false;
        unsigned char* const bound = hsi ? GetHSIBound(image) : GetBound(image);
        if (bound == nullptr) return false;
        return pzel::visitElement(elementType(image),
                                  [&]<class T>() { f(pzel::boundEntry<T>(bound, entry)); });
    }

  private:
    /// HSI pairs are unsigned; luminance and colour differences have signs of their own.
    int elementType(const Image* image) const {
        const int type = GetDataType(image);
        return hsi ? pzel::unsignedType(type) : pzel::levelType(word, type, entry);
    }

    unsigned short word;
    int entry;
    bool hsi;
    bool exists;
};

/// True when the pair was another one before.
template <class T>
bool store(pzel::Pair<T>& pair, const CompBlackWhite& levels) {
    const pzel::Pair<T> wanted{pzel::narrowWide<T>(levels.black), pzel::narrowWide<T>(levels.white)};
    bool same = pair == wanted;
    // The white of float data is compared unnarrowed: one that no float holds is a change each time
    // (deliberate).
    if constexpr (std::is_floating_point_v<T>) {
        same = pair.low == wanted.low && static_cast<double>(pair.high) == levels.white;
    }
    if (!same) pair = wanted;
    return !same;
}

/// Levels that are written into several images, and go back to what they were unless they are kept.
class LevelChange {
  public:
    LevelChange(const LevelEntry& named, const CompBlackWhite& levels) : entry(named), wanted(levels) {}
    ~LevelChange() {
        while (count > 0) undo(changed[--count]);
    }
    LevelChange(const LevelChange&) = delete;
    LevelChange& operator=(const LevelChange&) = delete;

    /// True when the pair was another one before. For four images at most.
    bool store(Image* image) {
        bool isOther = false;
        entry.visit(image, [&]<class T>(pzel::Pair<T>& pair) {
            const CompBlackWhite before(pair.low, pair.high);
            isOther = ::store(pair, wanted);
            if (isOther) changed[count++] = {image, before};
        });
        return isOther;
    }
    void keep() { count = 0; }

  private:
    struct Changed {
        Image* image;
        CompBlackWhite before;
    };

    void undo(const Changed& one) const {
        entry.visit(one.image, [&]<class T>(pzel::Pair<T>& pair) {
            pair = {static_cast<T>(one.before.black), static_cast<T>(one.before.white)};
        });
    }

    LevelEntry entry;
    CompBlackWhite wanted;
    std::array<Changed, 4> changed;
    std::size_t count = 0;
};

}  // namespace

unsigned char* Comp::GetCompBound() {
    Image* const image = GetFlatImage();
    return image == nullptr ? nullptr : GetBound(image);
}

CompBlackWhite Comp::GetBlackWhite(int channel) {
    const ImageDataType type = GetDataType();
    if (type == DataBit) return {0.0, 1.0};
    CompBlackWhite result;
    if (!hasLevels(type) || channel < 0) return result;
    const LevelEntry entry(GetCompType(), GetNumbChannels(), channel);
    entry.visit(GetFlatImage(), [&](const auto& pair) {
        result.black = pair.low;
        result.white = pair.high;
    });
    return result;
}

void Comp::SetBlackWhite(int channel, const CompBlackWhite& wanted) {
    if (!hasLevels(GetDataType()) || channel < 0) return;
    const LevelEntry entry(GetCompType(), GetNumbChannels(), channel);
    Image* const shown = GetFlatImage();
    LevelChange change(entry, wanted);
    if (!change.store(shown)) return;
    const std::array others{flatComp == nullptr ? nullptr : flatComp->GetCurrentImage(), GetCurrentImage(),
                            flatImage};
    for (Image* other : others) {
        if (other != shown) change.store(other);
    }
    ComputeBitmap(entry.channel());
    change.keep();
    NotifyObserver(EventBlackWhite, entry.channel());
}

CompBlackWhite Movie::GetBlackWhite(int channel) {
    return IsComposite() ? CompBlackWhite() : FirstChild()->GetBlackWhite(channel);
}

void Movie::SetBlackWhite(int channel, const CompBlackWhite& wanted) {
    if (!IsComposite()) FirstChild()->SetBlackWhite(channel, wanted);
}
