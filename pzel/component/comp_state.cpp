// What a component answers about itself: type, place, opacity, visibility, remapper and flags; and what it
// passes on to the movie that holds it. Every setter compares first and announces only a real change.
#include <cassert>
#include <memory>
#include <utility>

#include "pzel/component/comp.h"
#include "pzel/component/data_area.h"
#include "pzel/component/kept_alive.h"
#include "pzel/component/movie.h"
#include "pzel/loops/saturate.h"

namespace {

/// The caller's contract: components without a movie are not asked what only a movie knows.
Movie& required(Movie* parent) {
    assert(parent != nullptr);
    return *parent;
}

template <class Flags>
void setFlag(std::uint16_t& word, Flags flag, bool on) {
    word = static_cast<std::uint16_t>(on ? word | flag : word & ~flag);
}

constexpr int kTransparent = 128;
constexpr unsigned short kMajorBits = 0xFF00;
constexpr unsigned short kSubBits = 0x00FF;

}  // namespace

Movie* Comp::GetParent() {
    return parent;
}

void Comp::SetParent(Movie* movie) {
    parent = movie;
}

IComponent* Comp::GetParentOrSelf() {
    if (parent != nullptr) return parent;
    return this;
}

bool Comp::IsMovieObj() {
    return false;
}

bool Comp::IsComposite() {
    return false;
}

int Comp::GetNumbChildren() {
    return 0;
}

IComponent* Comp::GetChildAt(int /*index*/) const {
    return nullptr;
}

Comp* Comp::GetInternalComp() {
    return this;
}

unsigned short Comp::GetCompType() {
    return GetImageType(static_cast<const Image*>(GetFlatImage()));
}

// Both by masking the word, so that a component without an image has sub type 0x00.
ImageMajorType Comp::GetCompMType() {
    return CompMType(GetCompType());
}

ImageSubType Comp::GetCompSType() {
    return CompSType(GetCompType());
}

ImageDataType Comp::GetDataType() {
    return ::GetDataType(static_cast<const Image*>(GetFlatImage()));
}

bool Comp::IsInterleaved() {
    return ::IsInterleaved(images);
}

int Comp::GetNumbChannels() {
    return images == nullptr ? 1 : images->channels;
}

unsigned long Comp::GetImageFrames() {
    return imageFrames;
}

Image* Comp::GetCurrentImage() {
    return images;
}

unsigned long Comp::GetFrameCount() {
    return frameCount;
}

bool Comp::IsMovie() {
    return frameCount > 1;
}

bool Comp::IsVisible() {
    return (flagsA & CompHidden) == 0;
}

void Comp::SetVisible(bool visible) {
    if (visible == IsVisible()) return;
    setFlag(flagsA, CompHidden, !visible);
    NotifyObserver(EventVisible, 0);
}

float Comp::GetOpacity() {
    return static_cast<float>(kTransparent - transparency) * 0.0078125f;
}

void Comp::SetOpacity(float opacity) {
    const float wanted = static_cast<float>(kTransparent) - opacity * static_cast<float>(kTransparent);
    const auto stored = pzel::narrowWide<std::uint8_t>(wanted);
    if (stored == transparency) return;
    transparency = stored;
    NotifyObserver(EventOpacity, 0);
}

SRect Comp::GetCompExtent() {
    const bool byArea = pzel::showsDataArea(*this);
    const int left = byArea ? x + dataArea->left : x;
    const int top = byArea ? y + dataArea->top : y;
    const int width = byArea ? pzel::widthOf(*dataArea) : images == nullptr ? 0 : images->width;
    const int height = byArea ? pzel::heightOf(*dataArea) : images == nullptr ? 0 : images->height;
    return {static_cast<std::int16_t>(left), static_cast<std::int16_t>(left + width - 1),
            static_cast<std::int16_t>(top), static_cast<std::int16_t>(top + height - 1)};
}

void Comp::GetSize(int& width, int& height) {
    const SRect extent = GetCompExtent();
    width = extent.right - extent.left + 1;
    height = extent.bottom - extent.top + 1;
}

void Comp::GetLocation(int& left, int& top) {
    const SRect extent = GetCompExtent();
    left = extent.left;
    top = extent.top;
}

void Comp::SetLocation(int left, int top) {
    const SRect before = GetCompExtent();
    if (before.left == left && before.top == top) return;
    const pzel::KeptAlive here(this);
    const bool byArea = pzel::showsDataArea(*this);
    using Wide = long long;
    x = static_cast<std::int16_t>(byArea ? Wide{left} - dataArea->left : left);
    y = static_cast<std::int16_t>(byArea ? Wide{top} - dataArea->top : top);
    if (left == 0 && top == 0 && parent != nullptr && parent->GetNumbChildren() == 0) {
        NotifyObserver(EventChildRemoved, reinterpret_cast<std::intptr_t>(parent));
    }
    NotifyObserver(EventLocation, reinterpret_cast<std::intptr_t>(&before));
}

Zel::Remapper* Comp::GetRemapper() const {
    return remapper;
}

void Comp::SetRemapper(Zel::Remapper* wanted) {
    if (wanted == remapper) return;
    if (wanted != nullptr && remapper != nullptr && *wanted == *remapper) {
        delete wanted;
        return;
    }
    std::unique_ptr<Zel::Remapper> other(std::exchange(remapper, wanted));
    try {
        ComputeBitmap(-1);
    } catch (...) {
        other.reset(std::exchange(remapper, other.release()));
        throw;
    }
    other.reset();
    NotifyObserver(EventRemapper, 0);
}

unsigned long Comp::GetStartFrame() {
    return startFrame;
}

void Comp::SetStartFrame(unsigned long frame) {
    const auto wanted = static_cast<std::uint32_t>(frame);
    if (wanted == startFrame) return;
    const pzel::KeptAlive here(this);
    startFrame = wanted;
    NotifyObserver(EventStartFrame, 0);
    // An observer may have taken the component out of its movie.
    if (parent != nullptr) parent->CheckMovieLength(true);
}

unsigned long Comp::GetCurrentFrame() {
    constexpr std::uint32_t none = 0xFFFFFFFF;
    return info == nullptr ? none : info->currentFrame;
}

bool Comp::SetCurrentFrame(unsigned long frame) {
    const auto movieFrame = static_cast<std::uint32_t>(frame + startFrame);
    const pzel::KeptAlive here(this);
    if (!required(parent).SetCurrentFrame(movieFrame)) return false;
    NotifyObserver(EventCurrentFrame, 0);
    return true;
}

void Comp::MoveToNextFrame() {
    required(parent).MoveToNextFrame();
}

int Comp::GetIndex() {
    return required(parent).FindComponentIndex(this);
}

void Comp::SetMovieLength(unsigned long length) {
    required(parent).SetMovieLength(length);
}

unsigned long Comp::GetMovieLength() {
    return required(parent).GetMovieLength();
}

unsigned long Comp::CheckMovieLength(bool apply) {
    return required(parent).CheckMovieLength(apply);
}

void Comp::MakeActive() {
    required(parent).MakeChildActive(this);
}

bool Comp::IsActive() {
    return required(parent).IsChildActive(this);
}

void SetDataReady(Comp* comp, bool ready) {
    setFlag(comp->flagsA, CompDataNotReady, !ready);
}

bool IsDataReady(const Comp* comp) {
    return (comp->flagsA & CompDataNotReady) == 0;
}

void SetCompMajorType(Comp* comp, unsigned short type) {
    comp->msType = static_cast<std::uint16_t>((type & kMajorBits) | (comp->msType & kSubBits));
}

void SetCompSubType(Comp* comp, unsigned short type) {
    comp->msType = static_cast<std::uint16_t>((comp->msType & kMajorBits) | (type & kSubBits));
}

unsigned short GetCompMajorType(const Comp* comp) {
    return comp->msType & kMajorBits;
}

unsigned short GetCompSubType(const Comp* comp) {
    return comp->msType & kSubBits;
}

unsigned short GetCompMSType(const Comp* comp) {
    return comp->msType;
}

void SetCompMSType(Comp* comp, unsigned short type) {
    comp->msType = type;
}

void SetFlatFrameUpdated(Comp* comp) {
    setFlag(comp->flagsB, CompFlatFrameNotUpdated, false);
}

void SetFlatFrameNotUpdated(Comp* comp) {
    setFlag(comp->flagsB, CompFlatFrameNotUpdated, true);
}

bool IsFlatFrameNotUpdated(const Comp* comp) {
    return (comp->flagsB & CompFlatFrameNotUpdated) != 0;
}

bool CanExpandPictureToMovie(const Comp* comp) {
    return (comp->flagsB & CompNotExpandable) == 0;
}

void SetNotExpandPictureToMovie(Comp* comp) {
    if (comp->frameCount <= 1) setFlag(comp->flagsB, CompNotExpandable, true);
}
