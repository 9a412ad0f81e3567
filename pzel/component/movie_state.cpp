// What a movie answers as a component, and what it takes. With one child it speaks for that child; with two
// or more it is composite, answers with fixed values and ignores what concerns a single component. The test
// is "one or less", so that an empty movie must not be asked what only a child knows.
#include <algorithm>
#include <cassert>

#include "pzel/component/comp.h"
#include "pzel/component/kept_alive.h"
#include "pzel/component/movie.h"
#include "pzel/component/movie_scene.h"

namespace {

constexpr unsigned short kCompositeType = MajorComposite;
constexpr ImageSubType kCompositeSubType = SubNone;

}  // namespace

Comp* Movie::FirstChild() const {
    assert(childCount > 0);
    return children[0];
}

Comp* Movie::ActiveOrFirstChild() const {
    return activeIndex >= 0 && activeIndex < childCount ? children[activeIndex] : FirstChild();
}

bool Movie::IsComposite() {
    return childCount > 1;
}

bool Movie::IsMovieObj() {
    return true;
}

int Movie::GetNumbChildren() {
    return childCount;
}

IComponent* Movie::GetChildAt(int index) const {
    return index >= 0 && index < childCount ? children[index] : nullptr;
}

Movie* Movie::GetParent() {
    return nullptr;
}

IComponent* Movie::GetParentOrSelf() {
    return this;
}

int Movie::GetIndex() {
    return -1;
}

Comp* Movie::GetInternalComp() {
    return FirstChild();
}

bool Movie::IsMovie() {
    return std::any_of(children, children + childCount, [](Comp* child) { return child->IsMovie(); });
}

unsigned short Movie::GetCompType() {
    return IsComposite() ? kCompositeType : FirstChild()->GetCompType();
}

ImageMajorType Movie::GetCompMType() {
    return IsComposite() ? MajorComposite : FirstChild()->GetCompMType();
}

ImageSubType Movie::GetCompSType() {
    return IsComposite() ? kCompositeSubType : FirstChild()->GetCompSType();
}

ImageDataType Movie::GetDataType() {
    return IsComposite() ? DataNone : FirstChild()->GetDataType();
}

int Movie::GetNumbChannels() {
    return IsComposite() ? 0 : FirstChild()->GetNumbChannels();
}

bool Movie::IsInterleaved() {
    return !IsComposite() && FirstChild()->IsInterleaved();
}

unsigned long Movie::GetImageFrames() {
    return ActiveOrFirstChild()->GetImageFrames();
}

bool Movie::IsVisible() {
    return IsComposite() || FirstChild()->IsVisible();
}

void Movie::SetVisible(bool visible) {
    if (!IsComposite()) FirstChild()->SetVisible(visible);
}

float Movie::GetOpacity() {
    return IsComposite() ? 1.0f : FirstChild()->GetOpacity();
}

void Movie::SetOpacity(float opacity) {
    if (!IsComposite()) FirstChild()->SetOpacity(opacity);
}

Zel::Remapper* Movie::GetRemapper() const {
    return childCount > 1 ? nullptr : FirstChild()->GetRemapper();
}

// What is handed over is taken, also where it is not wanted, unless it is a child's.
void Movie::SetRemapper(Zel::Remapper* remapper) {
    if (!IsComposite()) return FirstChild()->SetRemapper(remapper);
    const auto holds = [=](const Comp* child) { return child->remapper == remapper; };
    if (std::none_of(children, children + childCount, holds)) delete remapper;
}

void Movie::GetSize(int& w, int& h) {
    w = width;
    h = height;
}

void Movie::SetSize(int w, int h) {
    width = static_cast<std::uint16_t>(w);
    height = static_cast<std::uint16_t>(h);
}

// The movie stands at the origin, wherever its child does (deliberate).
void Movie::GetLocation(int& x, int& y) {
    x = y = 0;
}

void Movie::SetLocation(int x, int y) {
    if (!IsComposite()) FirstChild()->SetLocation(x, y);
}

std::vector<MovieScene>* Movie::GetSceneList() {
    return nullptr;
}

void Movie::SetSceneList(std::vector<MovieScene>* scenes) {
    const auto holds = [=](const Comp* child) { return child->scenes == scenes; };
    if (std::none_of(children, children + childCount, holds)) delete scenes;
}

bool Movie::AddScene(const char* name, const char* description, long numbRanges, unsigned long* from) {
    return childCount == 1 && children[0]->AddScene(name, description, numbRanges, from);
}

bool Movie::RemoveScene(long index) {
    return childCount == 1 && children[0]->RemoveScene(index);
}

void Movie::MakeActive() {
    activeIndex = -1;
    NotifyObserver(EventActivated, 0);
}

bool Movie::IsActive() {
    return false;
}

unsigned long Movie::GetFrameCount() {
    return length;
}

unsigned long Movie::GetMovieLength() {
    return length;
}

void Movie::SetMovieLength(unsigned long wantedLength) {
    const auto wanted = static_cast<std::uint32_t>(wantedLength);
    if (wanted == 0 || wanted == length) return;
    length = wanted;
    NotifyObserver(EventMovieLength, 0);
}

unsigned long Movie::CheckMovieLength(bool apply) {
    std::uint32_t needed = 0;
    for (int i = 0; i < childCount; ++i) {
        needed = std::max(needed, children[i]->startFrame + children[i]->frameCount);
    }
    if (apply) SetMovieLength(needed);
    return needed;
}

unsigned long Movie::GetStartFrame() {
    return IsComposite() ? 0 : ActiveOrFirstChild()->GetStartFrame();
}

void Movie::SetStartFrame(unsigned long frame) {
    if (!IsComposite()) FirstChild()->SetStartFrame(frame);
}

unsigned long Movie::GetCurrentFrame() {
    return currentFrame;
}

bool Movie::SetCurrentFrame(unsigned long frame) {
    const auto wanted = static_cast<std::uint32_t>(frame);
    if (wanted >= length || wanted == currentFrame) return false;
    currentFrame = wanted;
    NotifyObserver(EventCurrentFrame, 0);
    return true;
}

void Movie::SendFrameChangedEvent() {
    const pzel::KeptAlive here(this);
    NotifyObserver(EventCurrentFrame, currentFrame);
    for (int i = 0; i < childCount; ++i) {
        children[i]->NotifyObserver(EventCurrentFrame,
                                    static_cast<std::intptr_t>(children[i]->GetCurrentFrame()));
    }
}
