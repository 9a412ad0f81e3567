// Groups of components. The adding itself is the movie's.
#include "pzel/component/group.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "pzel/component/comp.h"
#include "pzel/component/kept_alive.h"
#include "pzel/component/movie.h"
#include "pzel/component/reference.h"

using pzel::addressOf;

int AddComponentGroup(Movie* movie, Comp** comps, int count) {
    if (count < 1 || std::find(comps, comps + count, nullptr) != comps + count) return -1;
    return movie->AddParts({comps, static_cast<std::size_t>(count)});
}

int AppendComponent(Movie* movie, Comp* comp) {
    return AddComponentGroup(movie, &comp, 1);
}

// A removal and an addition, but for the length, which is checked once: the movie does not shrink and grow.
// Observers may change the movie on the way; the place is looked up again each time.
bool SetComponent(Movie* movie, int index, Comp* comp) {
    if (comp == nullptr || index < 0 || index >= movie->childCount) return false;
    Comp* const old = movie->children[index];
    if (comp == old) return true;
    // Before anything changes: there are never more children than this.
    std::unique_ptr<Comp*[]> rooms(new Comp* [Movie::kMaxChildren] {});
    comp->Hold();  // it may hang on the old one
    const pzel::CompReference held(comp);
    const pzel::KeptAlive here(movie);

    const bool wasActive = movie->activeIndex == index;
    movie->NotifyObserver(EventChildRemoving, addressOf(old));
    if (index < movie->childCount && movie->children[index] == old) {
        movie->RemoveSlot(index);
        movie->LetGo(old);
    }
    movie->NotifyObserver(EventChildRemoved, addressOf(movie));

    if (!movie->HasRoomFor(1)) return false;
    const bool wasComposite = movie->IsComposite();
    const int place = std::min(index, movie->GetNumbChildren());
    movie->MoveChildrenInto(std::move(rooms));
    movie->Adopt(comp);
    std::rotate(movie->children + place, movie->children + movie->childCount - 1,
                movie->children + movie->childCount);
    if (wasActive && movie->activeIndex == -1) movie->activeIndex = place;
    if (!wasComposite) movie->NotifyObserver(EventChildAdded, 0);
    movie->NotifyObserver(EventChildAdded, addressOf(comp));
    movie->CheckMovieLength(true);
    return true;
}

Comp* GetIOComponent(IComponent* component) {
    if (component == nullptr) return nullptr;
    if (!component->IsMovieObj()) return component->GetInternalComp();
    auto* const movie = static_cast<Movie*>(component);
    if (Comp* const active = movie->GetActiveComp()) return active;
    IComponent* const first = movie->GetChildAt(0);
    return first == nullptr ? nullptr : first->GetInternalComp();
}
