// A movie's life: construction, emptying, copies, children, the registry of open movies, status and names.
// What it answers as a component stands in movie_state.cpp, the frame selection in frame_selection.cpp.
#include "pzel/component/movie.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <memory>
#include <utility>

#include "pzel/component/comp.h"
#include "pzel/component/naming.h"
#include "pzel/component/observer_list.h"
#include "pzel/component/reference.h"

using pzel::addressOf;

namespace {

constexpr int kMaxChildren = std::numeric_limits<std::uint8_t>::max();

pzel::NumberedName untitled("Untitled movie ");
pzel::NumberedName created("New movie ");
std::vector<Movie*> openMovies;

/// The component itself, or the children of a movie: a list of its own, safe from what becomes of the movie.
std::vector<Comp*> partsOf(IComponent* component) {
    if (!component->IsMovieObj()) return {component->GetInternalComp()};
    std::vector<Comp*> parts;
    for (int i = 0; i < component->GetNumbChildren(); ++i) {
        parts.push_back(component->GetChildAt(i)->GetInternalComp());
    }
    return parts;
}

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
    // The children leave the movie before the first of them dies and tells its observers.
    const std::unique_ptr<Comp*[]> leaving(std::exchange(children, nullptr));
    const int count = std::exchange(childCount, 0);
    for (int i = 0; i < count; ++i) LetGo(leaving[i]);
    delete std::exchange(filename, nullptr);
    delete std::exchange(nametag, nullptr);
    delete std::exchange(observers, nullptr);
}

void Movie::CopyFrom(const Movie& other, bool share) {
    if (this == &other) return;
    Cleanup();
    ranges = other.ranges;
    ranges2 = other.ranges2;
    status = other.status;
    playingBack = other.playingBack;
    activeIndex = other.activeIndex;
    length = other.length;
    currentFrame = other.currentFrame;
    width = other.width;
    height = other.height;
    nametagSet = other.nametagSet;
    filenameSet = other.filenameSet;
    if (other.nametag != nullptr) nametag = new std::string(*other.nametag);
    if (other.filename != nullptr) filename = new std::string(*other.filename);
    if (other.children == nullptr) return;
    AddCompRooms(other.childCount);
    for (int i = 0; i < other.childCount; ++i) {
        if (share) {
            Adopt(other.children[i]);
        } else {
            auto* const copy = new Comp;
            Adopt(copy);
            copy->Release();  // the movie's reference is the only one
            CopyComp(copy, other.children[i], false);
        }
    }
}

int Movie::Hold() {
    return ++refCount;
}

int Movie::Release() {
    const int left = --refCount;
    if (left <= 0) delete this;
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
    for (Observer* observer : pzel::snapshot(observers)) observer->Update(this, event, param);
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
    auto* const rooms = new Comp* [std::size_t(childCount) + std::size_t(n)] {};
    std::copy_n(children, childCount, rooms);
    delete[] children;
    children = rooms;
    return childCount;
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
    return component == this ? -1 : AddParts(partsOf(component));
}

/// Adds components at the end, with all events; -1, and nothing changes, where there is no room for all.
int Movie::AddParts(const std::vector<Comp*>& parts) {
    if (!HasRoomFor(static_cast<int>(parts.size()))) return -1;
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
    std::vector<pzel::CompReference> fresh;  // their first references, until the movie holds them
    std::vector<Comp*> parts;
    for (int i = 0; i < n; ++i) parts.push_back(fresh.emplace_back(AllocComp(0)).get());
    return AddParts(parts);
}

int Movie::AllocComps(int n) {
    return AddComponents(n);
}

int Movie::AllocMoreComps(int n) {
    return AddComponents(n);
}

void Movie::RemoveChild(IComponent* component) {
    const std::vector<Comp*> removed = partsOf(component);
    NotifyObserver(EventChildRemoving, addressOf(component));
    for (Comp* comp : removed) RemoveComponent(comp);
    CheckMovieLength(true);
    if (activeIndex >= childCount) activeIndex = childCount - 1;
    NotifyObserver(EventChildRemoved, addressOf(this));
}

// Here the child goes first and then its slot; by component it is the other way round (deliberate).
bool Movie::RemoveComponent(unsigned char index) {
    if (index >= childCount) return false;
    LetGo(children[index]);
    RemoveSlot(index);
    return true;
}

bool Movie::RemoveComponent(Comp* comp) {
    const int index = FindComponentIndex(comp);
    if (index < 0) return false;
    RemoveSlot(index);
    LetGo(comp);
    return true;
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
    openMovies.push_back(this);
}

void Movie::UnregistMe() {
    const auto found = std::find(openMovies.begin(), openMovies.end(), this);
    if (found != openMovies.end()) openMovies.erase(found);
}

bool Movie::HasRegisted() {
    return std::find(openMovies.begin(), openMovies.end(), this) != openMovies.end();
}

int Movie::GetCount() {
    return static_cast<int>(openMovies.size());
}

Movie* Movie::GetMovie(int index) {
    assert(index >= 0 && index < GetCount());
    return openMovies[static_cast<std::size_t>(index)];
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
