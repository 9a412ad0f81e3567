// A movie's life: construction, emptying, copies, children, the registry of open movies, status and names.
// What it answers as a component stands in movie_state.cpp, the frame selection in frame_selection.cpp.
#include "pzel/component/movie.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

#include "pzel/component/comp.h"
#include "pzel/component/kept_alive.h"
#include "pzel/component/naming.h"
#include "pzel/component/observer_list.h"
#include "pzel/component/reference.h"

using pzel::addressOf;

namespace {

pzel::NumberedName untitled("Untitled movie ");
pzel::NumberedName created("New movie ");
std::vector<Movie*> openMovies;
std::mutex registryLock;  // of the list, not of the movies in it

/// The component itself, or the children of a movie: a list of its own, safe from what becomes of the movie,
/// and without memory of its own, so that removing cannot fail.
class Parts {
  public:
    explicit Parts(IComponent* component) {
        if (!component->IsMovieObj()) {
            list[count++] = component->GetInternalComp();
            return;
        }
        const auto all = static_cast<std::size_t>(component->GetNumbChildren());
        for (; count < std::min(all, list.size()); ++count) {
            list[count] = component->GetChildAt(static_cast<int>(count))->GetInternalComp();
        }
    }
    operator std::span<Comp* const>() const { return {list.data(), count}; }

  private:
    std::array<Comp*, std::numeric_limits<std::uint8_t>::max() + 1> list;  // one more than a movie takes
    std::size_t count = 0;
};

}  // namespace

Movie::Movie() : observers(nullptr), refCount(1), width(0), height(0), nametagSet(false), filenameSet(false) {
    Clear();
}

Movie::Movie(const Movie& other) : Movie() {
    CopyFrom(other, false);
}

Movie& Movie::operator=(const Movie& other) {
    CopyFrom(other, false);
    return *this;
}

Movie::~Movie() {
    const pzel::KeptAlive dying(this, pzel::KeptAlive::Destroyed);
    NotifyObserver(EventDestroyed, 0);
    Cleanup();
}

void Movie::Clear() {
    children = nullptr;
    childCount = 0;
    status = 0;
    activeIndex = 0;
    length = 0;
    currentFrame = 0;
    filename = nametag = nullptr;
    playingBack = false;
}

void Movie::Cleanup() {
    const pzel::KeptAlive here(this);  // children tell of their end
    ReplaceChildren(nullptr, 0);
    delete std::exchange(filename, nullptr);
    delete std::exchange(nametag, nullptr);
    delete std::exchange(observers, nullptr);
}

void Movie::CopyFrom(const Movie& other, bool share) {
    if (this == &other) return;
    const pzel::KeptAlive here(this);
    // All that asks for memory comes first, so that the movie changes as a whole or not at all.
    std::vector<FrameRange> copiedRanges = other.ranges, copiedRanges2 = other.ranges2;
    auto copiedNametag = other.nametag == nullptr ? nullptr : std::make_unique<std::string>(*other.nametag);
    auto copiedFilename =
        other.filename == nullptr ? nullptr : std::make_unique<std::string>(*other.filename);
    const int count = other.children == nullptr ? 0 : other.childCount;
    std::vector<pzel::CompReference> held;
    held.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        if (share) {
            other.children[i]->Hold();
            held.emplace_back(other.children[i]);
        } else {
            CopyComp(held.emplace_back(new Comp).get(), other.children[i], false);
        }
    }
    std::unique_ptr<Comp*[]> rooms(other.children == nullptr ? nullptr : new Comp* [std::size_t(count)] {});
    std::transform(held.begin(), held.end(), rooms.get(), [](const auto& comp) { return comp.get(); });

    Cleanup();
    ranges = std::move(copiedRanges);
    ranges2 = std::move(copiedRanges2);
    delete std::exchange(nametag, copiedNametag.release());
    delete std::exchange(filename, copiedFilename.release());
    status = other.status;
    playingBack = other.playingBack;
    activeIndex = other.activeIndex;
    length = other.length;
    currentFrame = other.currentFrame;
    width = other.width;
    height = other.height;
    nametagSet = other.nametagSet;
    filenameSet = other.filenameSet;
    for (pzel::CompReference& comp : held) comp.release()->SetParent(this);
    ReplaceChildren(std::move(rooms), count);
}

int Movie::Hold() {
    return ++refCount;
}

int Movie::Release() {
    const int left = --refCount;
    if (left <= 0 && !pzel::KeptAlive::endsLater(this)) delete this;
    return left;
}

void Movie::AttachObserver(Observer* observer) {
    pzel::attach(observers, observer);
}

void Movie::DetachObserver(Observer* observer) {
    pzel::detach(observers, observer);
}

// Unlike a component, a movie calls all of its copy of the list, also who was detached meanwhile
// (deliberate).
void Movie::NotifyObserver(int event, std::intptr_t param) {
    const pzel::KeptAlive here(this);
    pzel::visitSnapshot(observers, [&](Observer* observer) { observer->Update(this, event, param); });
}

std::vector<Observer*>* Movie::GetObservers() {
    return observers;
}

void Movie::SetObservers(std::vector<Observer*>* list) {
    observers = list;
}

void Movie::AttachObserver_All(Observer* observer) {
    AttachObserver(observer);
    for (int i = 0; i < childCount; ++i) children[i]->AttachObserver(observer);
}

void Movie::DetachObserver_All(Observer* observer) {
    for (int i = 0; i < childCount; ++i) children[i]->DetachObserver(observer);
    DetachObserver(observer);
}

int Movie::AddCompRooms(int n) {
    assert(n >= 0);
    MoveChildrenInto(std::unique_ptr<Comp*[]>(new Comp* [std::size_t(childCount) + std::size_t(n)] {}));
    return childCount;
}

void Movie::MoveChildrenInto(std::unique_ptr<Comp*[]> rooms) {
    std::copy_n(children, childCount, rooms.get());
    delete[] std::exchange(children, rooms.release());
}

/// The old children have left, and the new ones stand there, before the first of them dies and tells its
/// observers.
void Movie::ReplaceChildren(std::unique_ptr<Comp*[]> rooms, int count) {
    const std::unique_ptr<Comp*[]> leaving(std::exchange(children, rooms.release()));
    const int leavingCount = std::exchange(childCount, static_cast<std::uint8_t>(count));
    for (int i = 0; i < leavingCount; ++i) LetGo(leaving[i]);
}

bool Movie::HasRoomFor(int n) const {
    return childCount + n <= kMaxChildren;
}

void Movie::Adopt(Comp* comp) {
    children[childCount++] = comp;
    comp->Hold();
    comp->SetParent(this);
}

void Movie::LetGo(Comp* comp) {
    if (comp->GetParent() == this) comp->SetParent(nullptr);
    comp->Release();
}

int Movie::AddChild(IComponent* component) {
    return component == this ? -1 : AddParts(Parts(component));
}

/// Adds components at the end, with all events; -1, and nothing changes, where there is no room for all.
int Movie::AddParts(std::span<Comp* const> parts) {
    if (parts.size() > kMaxChildren || !HasRoomFor(static_cast<int>(parts.size()))) return -1;
    const pzel::KeptAlive here(this);
    const bool wasComposite = IsComposite();
    const int first = AddCompRooms(static_cast<int>(parts.size()));
    for (Comp* comp : parts) Adopt(comp);
    if (!wasComposite) NotifyObserver(EventChildAdded, 0);
    for (Comp* comp : parts) NotifyObserver(EventChildAdded, addressOf(comp));
    CheckMovieLength(true);
    return first;
}

int Movie::AddComponents(int n) {
    if (n < 1 || n > kMaxChildren) return -1;
    // Their first references, until the movie holds them.
    std::array<pzel::CompReference, kMaxChildren> fresh;
    std::array<Comp*, kMaxChildren> parts;
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
        fresh[i].reset(AllocComp(0));
        parts[i] = fresh[i].get();
    }
    return AddParts({parts.data(), static_cast<std::size_t>(n)});
}

int Movie::AllocComps(int n) {
    return AddComponents(n);
}

int Movie::AllocMoreComps(int n) {
    return AddComponents(n);
}

void Movie::RemoveChild(IComponent* component) {
    const pzel::KeptAlive here(this);
    const Parts removed(component);
    NotifyObserver(EventChildRemoving, addressOf(component));
    for (Comp* comp : std::span<Comp* const>(removed)) RemoveComponent(comp);
    CheckMovieLength(true);
    if (activeIndex >= childCount) activeIndex = childCount - 1;
    NotifyObserver(EventChildRemoved, addressOf(this));
}

// The child leaves the movie before it dies and tells its observers, who may remove others.
bool Movie::RemoveComponent(unsigned char index) {
    if (index >= childCount) return false;
    Comp* const comp = children[index];
    RemoveSlot(index);
    LetGo(comp);
    return true;
}

bool Movie::RemoveComponent(Comp* comp) {
    const int index = FindComponentIndex(comp);
    return index >= 0 && RemoveComponent(static_cast<unsigned char>(index));
}

// An active index behind the slot is not moved along (deliberate).
void Movie::RemoveSlot(int index) {
    std::copy(children + index + 1, children + childCount, children + index);
    children[--childCount] = nullptr;
    if (activeIndex == index) activeIndex = -1;
}

int Movie::FindComponentIndex(const Comp* comp) {
    const auto end = children + childCount;
    const auto found = std::find(children, end, comp);
    return found == end ? -1 : static_cast<int>(found - children);
}

Comp** Movie::GetChildren() {
    return children;
}

Comp* Movie::GetActiveComp() {
    return activeIndex >= 0 && activeIndex < childCount ? children[activeIndex] : nullptr;
}

void Movie::MakeChildActive(Comp* comp) {
    const pzel::KeptAlive here(this);
    for (int i = 0; i < childCount; ++i) {
        if (children[i] != comp) continue;
        activeIndex = i;
        comp->NotifyObserver(EventActivated, 0);
    }
}

bool Movie::IsChildActive(IComponent* component) {
    const Comp* const active = GetActiveComp();
    return active != nullptr && active == component;
}

void Movie::RegistMe() {
    const std::lock_guard guard(registryLock);
    openMovies.push_back(this);
}

void Movie::UnregistMe() {
    const std::lock_guard guard(registryLock);
    const auto found = std::find(openMovies.begin(), openMovies.end(), this);
    if (found != openMovies.end()) openMovies.erase(found);
}

bool Movie::HasRegisted() {
    const std::lock_guard guard(registryLock);
    return std::find(openMovies.begin(), openMovies.end(), this) != openMovies.end();
}

int Movie::GetCount() {
    const std::lock_guard guard(registryLock);
    return static_cast<int>(openMovies.size());
}

Movie* Movie::GetMovie(int index) {
    const std::lock_guard guard(registryLock);
    const auto entry = static_cast<std::size_t>(index);  // beyond the end for negative numbers
    assert(entry < openMovies.size());
    return openMovies[entry];
}

std::vector<Movie*>* Movie::GetMovieList() {
    return &openMovies;
}

unsigned short Movie::GetStatus() const {
    return status;
}

void Movie::SetStatus(unsigned short wanted) {
    status = static_cast<std::uint8_t>(wanted);
}

bool Movie::IsLocked() {
    return (status & MovieLocked) != 0;
}

const char* Movie::GetName() {
    if (childCount == 1) return children[0]->GetName();
    return pzel::shownName({filename, filenameSet, nametag, nametagSet}, untitled);
}

const char* Movie::GetShortName() {
    return pzel::shortName(GetName());
}

void Movie::SetFilename(std::string name) {
    pzel::storeName(filename, filenameSet, std::move(name));
}

std::string Movie::GetFilename() const {
    return pzel::textOf(filename);
}

void Movie::SetNametag(std::string name) {
    pzel::storeName(nametag, nametagSet, std::move(name));
}

std::string Movie::GetNametag() const {
    return pzel::textOf(nametag);
}

bool Movie::IsNametagSet() const {
    return nametagSet;
}

std::string Movie::NewMovieName() {
    return created.next();
}
