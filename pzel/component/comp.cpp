// A component's life: construction, emptying, references, observers, scenes and names. What it answers and
// passes on stands in comp_state.cpp, levels in levels.cpp, copies in comp_copy.cpp, the bitmap in the
// display room.
#include "pzel/component/comp.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <new>
#include <utility>

#include "pzel/component/kept_alive.h"
#include "pzel/component/movie_scene.h"
#include "pzel/component/naming.h"
#include "pzel/component/observer_list.h"
#include "pzel/component/reference.h"
#include "pzel/image/attachment.h"
#include "pzel/image/lifecycle.h"

namespace {

pzel::NumberedName untitled("Untitled comp ");

/// Records of MajorNoBitmap keep other things than pixels in their pointers: only the block goes.
void releaseImages(Image* images, int count, unsigned short majorType) {
    if (majorType == MajorNoBitmap) {
        ::operator delete(images);
    } else {
        DeleteImages(images, count);
    }
}

template <class T>
void destroy(T*& owned) {
    delete std::exchange(owned, nullptr);
}

}  // namespace

Comp::Comp() : observers(nullptr), refCount(1), scenes(nullptr), nametagSet(false), filenameSet(false) {
    Clear();
}

Comp::Comp(const Comp& other) : Comp() {
    CopyComp(this, &other, true);
}

Comp& Comp::operator=(const Comp& other) {
    CopyComp(this, &other, true);
    return *this;
}

Comp::~Comp() {
    const pzel::KeptAlive dying(this, pzel::KeptAlive::Destroyed);
    NotifyObserver(EventDestroyed, 0);
    Cleanup();
}

void Comp::Clear() {
    parent = nullptr;
    info = nullptr;
    images = nullptr;
    imageFrames = msType = 0;
    x = y = 0;
    bmpWidth = bmpHeight = bmpRowBytes = bmpLeft = bmpTop = bmpSpare = 0;
    bmpBits = overlayColour = 0;
    bitmap = nullptr;
    ownBitmap = {};
    dataArea = nullptr;
    remapper = nullptr;
    flagsA = flagsB = 0;
    flatComp = nullptr;
    flatImage = nullptr;
    displaySpare = transparency = 0;
    levels = nullptr;
    attachment = nullptr;
    startFrame = 0;
    frameCount = 1;
    filename = nametag = nullptr;
}

void Comp::Cleanup() {
    const pzel::KeptAlive here(this);  // the flat comp tells of its end
    DeleteCompInfo(std::exchange(info, nullptr));
    releaseImages(std::exchange(images, nullptr), std::exchange(imageFrames, 0), GetCompMajorType(this));
    DeleteBitmap();
    if (dataArea != nullptr) {
        destroy(dataArea);
        flagsA &= static_cast<unsigned short>(~CompExtentMask);
    }
    destroy(remapper);
    Comp* const overlay = std::exchange(flatComp, nullptr);
    if (overlay != nullptr && (flagsA & CompFlatCompNotOwned) == 0) overlay->Release();
    DeleteImage(std::exchange(flatImage, nullptr));
    DeleteAttachment(this);
    destroy(levels);
    parent = nullptr;
    destroy(filename);
    destroy(nametag);
    destroy(observers);
    CleanupSceneList();
}

void CompInit(Comp* comp, unsigned long frames) {
    const auto count = static_cast<std::uint16_t>(frames);
    assert(count == frames);
    Image* images = nullptr;
    if (count > 0) {
        images = static_cast<Image*>(::operator new(count * sizeof(Image)));
        std::fill_n(images, count, Image{});
    }
    comp->Clear();
    comp->images = images;
    comp->imageFrames = count;
    comp->overlayColour = 255;
}

Comp* AllocComp(unsigned long frames) {
    pzel::CompReference comp(new Comp);
    CompInit(comp.get(), frames);
    return comp.release();
}

void DeleteAttachment(Comp* comp) {
    Attachment* const attachment = std::exchange(comp->attachment, nullptr);
    if (attachment == nullptr) return;
    ::operator delete(attachment->buffer);
    ::operator delete(attachment);
}

bool Comp::OwnsBitmap() const {
    return bitmap != nullptr && ownBitmap.block == bitmap && ownBitmap.width == bmpWidth &&
           ownBitmap.height == bmpHeight && ownBitmap.rowBytes == bmpRowBytes && ownBitmap.left == bmpLeft &&
           ownBitmap.top == bmpTop;
}

/// What can be read and written behind `bitmap`.
std::size_t Comp::BitmapBytes() const {
    if (bitmap == nullptr) return 0;
    return OwnsBitmap() ? ownBitmap.bytes : std::size_t{bmpRowBytes} * bmpHeight;
}

int Comp::Hold() {
    return ++refCount;
}

int Comp::Release() {
    const int left = --refCount;
    if (left <= 0 && !pzel::KeptAlive::endsLater(this)) delete this;
    return left;
}

void Comp::AttachObserver(Observer* observer) {
    pzel::attach(observers, observer);
}

void Comp::DetachObserver(Observer* observer) {
    pzel::detach(observers, observer);
}

void Comp::NotifyObserver(int event, std::intptr_t param) {
    const pzel::KeptAlive here(this);
    pzel::visitSnapshot(observers, [&](Observer* observer) {
        if (pzel::isAttached(observers, observer)) observer->Update(this, event, param);
    });
}

std::vector<Observer*>* Comp::GetObservers() {
    return observers;
}

void Comp::SetObservers(std::vector<Observer*>* list) {
    observers = list;
}

std::vector<MovieScene>* Comp::GetSceneList() {
    return scenes;
}

void Comp::SetSceneList(std::vector<MovieScene>* list) {
    if (list == scenes) return;
    CleanupSceneList();
    scenes = list;
}

bool Comp::AddScene(const char* name, const char* description, long numbRanges, unsigned long* ranges) {
    std::vector<MovieScene::Range> narrowed;
    for (long i = 0; i < numbRanges; ++i) {
        narrowed.emplace_back(static_cast<std::uint32_t>(ranges[2 * i]),
                              static_cast<std::uint32_t>(ranges[2 * i + 1]));
    }
    std::unique_ptr<std::vector<MovieScene>> first;
    if (scenes == nullptr) first = std::make_unique<std::vector<MovieScene>>();
    (first ? *first : *scenes)
        .emplace_back(name, description, static_cast<std::uint32_t>(narrowed.size()), narrowed.data());
    if (first) scenes = first.release();
    NotifyObserver(EventSceneAdded, 0);
    return true;
}

bool Comp::RemoveScene(long index) {
    assert(scenes != nullptr);
    if (index < 0 || static_cast<std::size_t>(index) >= scenes->size()) return false;
    scenes->erase(scenes->begin() + index);
    NotifyObserver(EventSceneRemoved, 0);
    return true;
}

void Comp::CleanupSceneList() {
    destroy(scenes);
}

const char* Comp::GetName() {
    return pzel::shownName({filename, filenameSet, nametag, nametagSet}, untitled);
}

const char* Comp::GetShortName() {
    return pzel::shortName(GetName());
}

bool Comp::IsNametagSet() const {
    return nametagSet;
}

void Comp::SetFilename(std::string name) {
    pzel::storeName(filename, filenameSet, std::move(name));
}

std::string Comp::GetFilename() const {
    return pzel::textOf(filename);
}

void Comp::SetNametag(std::string name) {
    pzel::storeName(nametag, nametagSet, std::move(name));
}

std::string Comp::GetNametag() const {
    return pzel::textOf(nametag);
}
