// Deep copies of components. The copy is built aside, in a component of its own, and then changes places with
// what the destination held: a failure half-way changes nothing, and the source may be part of the
// destination.
#include <algorithm>
#include <cstring>
#include <new>
#include <tuple>

#include "pzel/component/bitmap_update.h"
#include "pzel/component/comp.h"
#include "pzel/component/movie_scene.h"
#include "pzel/image/attachment.h"
#include "pzel/image/clone.h"
#include "pzel/image/lifecycle.h"

/// The fields of a component by kind. Observers, parent and references belong to none: they stay.
struct Comp::Fields {
    template <class C>
    static auto plain(C& c) {
        return std::tie(c.msType, c.x, c.y, c.overlayColour, c.flagsA, c.flagsB, c.displaySpare,
                        c.transparency, c.startFrame, c.frameCount, c.nametagSet, c.filenameSet);
    }

    template <class C>
    static auto bitmap(C& c) {
        return std::tie(c.bmpWidth, c.bmpHeight, c.bmpRowBytes, c.bmpLeft, c.bmpTop, c.bmpSpare, c.bmpBits);
    }

    static auto owned(Comp& c) {
        return std::tie(c.scenes, c.info, c.images, c.imageFrames, c.bitmap, c.ownBitmap, c.dataArea,
                        c.remapper, c.flatComp, c.flatImage, c.levels, c.attachment, c.filename, c.nametag);
    }

    static void exchange(Comp& a, Comp& b) {
        auto mine = std::tuple_cat(plain(a), bitmap(a), owned(a));
        auto theirs = std::tuple_cat(plain(b), bitmap(b), owned(b));
        mine.swap(theirs);
    }
};

namespace {

template <class T>
T* duplicate(const T* value) {
    return value == nullptr ? nullptr : new T(*value);
}

/// `copy` has its type already, so that what is there of the images is released as it should be.
void copyImages(Comp& copy, const Comp& src) {
    copy.imageFrames = src.imageFrames;
    if (src.images == nullptr) return;
    copy.images = static_cast<Image*>(::operator new(src.imageFrames * sizeof(Image)));
    if (GetCompMajorType(&src) == MajorNoBitmap) {
        // Nothing that these records point to is theirs.
        std::copy_n(src.images, src.imageFrames, copy.images);
        return;
    }
    std::fill_n(copy.images, src.imageFrames, Image{});
    for (int i = 0; i < src.imageFrames; ++i) pzel::CloneImage(copy.images + i, src.images + i);
}

void copyFlatPicture(Comp& copy, const Comp& src, bool withBitmap) {
    if (src.flatImage != nullptr) {
        copy.flatImage = AllocImage();
        pzel::CloneImage(copy.flatImage, src.flatImage);
    }
    if (src.flatComp == nullptr || (src.flagsA & CompFlatCompNotOwned) != 0) {
        copy.flatComp = src.flatComp;
    } else {
        copy.flatComp = new Comp;
        CopyComp(copy.flatComp, src.flatComp, withBitmap);
    }
}

}  // namespace

void CopyComp(Comp* dst, const Comp* src, bool withBitmap) {
    if (dst == src) return;
    Comp copy;
    Comp::Fields::plain(copy) = Comp::Fields::plain(*src);
    copyImages(copy, *src);
    copy.info = duplicate(src->info);
    copy.dataArea = duplicate(src->dataArea);
    if (src->remapper != nullptr) copy.remapper = src->remapper->Clone();
    copyFlatPicture(copy, *src, withBitmap);
    copy.levels = duplicate(src->levels);
    copy.attachment = pzel::CloneAttachment(src->attachment);
    copy.filename = duplicate(src->filename);
    copy.nametag = duplicate(src->nametag);
    copy.scenes = duplicate(src->scenes);
    if (withBitmap) {
        Comp::Fields::bitmap(copy) = Comp::Fields::bitmap(*src);
        if (src->bitmap != nullptr) {
            Comp::BitmapUpdate update(copy);
            std::memcpy(update.Prepare(src->BitmapBytes()), src->bitmap, src->BitmapBytes());
            update.Commit();
        }
    }
    Comp::Fields::exchange(*dst, copy);
}
