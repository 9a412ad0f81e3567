// Movies: children and their order, the registry, status, what a movie answers for its component, the
// selection of frames and walking over ranges.
#include <cstring>

#include "tests/fuzz/rows_shared.h"

namespace fuzz {

namespace {

constexpr int kMostChildren = 12;  // sequences stay small

std::vector<Comp*>& childrenOf(World& w, Movie* movie) {
    return w.children[std::size_t(w.slotOf(movie))];
}

std::vector<Comp*> partsOf(IComponent* component) {
    if (!component->IsMovieObj()) return {component->GetInternalComp()};
    auto* const movie = static_cast<Movie*>(component);
    return {movie->GetChildren(), movie->GetChildren() + movie->GetNumbChildren()};
}

/// What is shared changes hands: all of it may be touched.
void touchParts(World& w, const std::vector<Comp*>& parts) {
    for (Comp* part : parts) w.touch(part);
}

/// Expects the end of a component that only this movie and the list hold once more.
void expectEnd(World& w, Comp* comp, int held) {
    if (comp->refCount == held) w.expect(comp, EventDestroyed);
}

void addChild(World& w) {
    Movie* const movie = w.out(w.movie());
    IComponent* const added = w.draw.oneIn(5) ? static_cast<IComponent*>(w.movie()) : w.comp();
    std::vector<Comp*> parts = partsOf(added);
    if (movie->GetNumbChildren() + int(parts.size()) > kMostChildren) return;
    touchParts(w, parts);
    if (added != movie) w.expectAdded(movie, parts);
    auto& list = childrenOf(w, movie);
    const int place = int(list.size());
    const int first = CALL_ON(movie, AddChild, added);
    HOLDS(first == (added == movie ? -1 : place));
    if (added == movie) return;
    list.insert(list.end(), parts.begin(), parts.end());
    for (Comp* part : parts) HOLDS(part->parent == movie);
}

template <class F>
void addFresh(World& w, const char* name, F method) {
    Movie* const movie = w.out(w.movie());
    const int n = w.draw(-1, 3), before = movie->GetNumbChildren();
    if (before + n > kMostChildren) return;
    // Who they are is known when they are there.
    w.anyEvents();
    const int first = w.callOn(
        movie, name, [&](int count) { return (movie->*method)(count); }, n);
    HOLDS(first == (n > 0 ? before : -1));
    const int added = std::max(n, 0);
    HOLDS(movie->GetNumbChildren() == before + added);
    HOLDS(w.heardOf(movie, EventChildAdded) ==
          long(movie->GetObservers() ? movie->GetObservers()->size() : 0) *
              (added + (added > 0 && before < 2)));
    auto& list = childrenOf(w, movie);
    for (int i = 0; i < added; ++i) {
        Comp* const child = movie->GetChildren()[before + i];
        HOLDS(child->refCount == 1 && child->parent == movie && child->imageFrames == 0);
        list.push_back(child);
    }
}

/// Children leave one by one, each the first of its kind; the last reference ends it.
void expectLeaving(World& w, Movie* movie, const std::vector<Comp*>& leaving) {
    auto& list = childrenOf(w, movie);
    std::vector<std::pair<Comp*, int>> gone;
    for (Comp* comp : leaving) {
        const auto at = std::find(list.begin(), list.end(), comp);
        if (at == list.end()) continue;
        list.erase(at);
        touchParts(w, {comp});
        const auto known =
            std::find_if(gone.begin(), gone.end(), [=](const auto& one) { return one.first == comp; });
        const int times = known == gone.end() ? gone.emplace_back(comp, 1).second : ++known->second;
        expectEnd(w, comp, times);
    }
}

void removeChild(World& w) {
    Movie* const movie = w.out(w.movie());
    IComponent* removed = w.draw.oneIn(5) ? static_cast<IComponent*>(w.movie())
                          : w.draw.coin() ? static_cast<IComponent*>(w.comp())
                                          : w.childComp(movie);
    if (!removed) removed = w.comp();
    const std::vector<Comp*> parts = partsOf(removed);
    w.expect(movie, EventChildRemoving, reinterpret_cast<std::intptr_t>(removed));
    expectLeaving(w, movie, parts);
    u32 needed = 0;
    for (const Comp* child : childrenOf(w, movie))
        needed = std::max(needed, child->startFrame + child->frameCount);
    w.expectLength(movie, needed);
    w.expect(movie, EventChildRemoved, reinterpret_cast<std::intptr_t>(movie));
    CALL_ON(movie, RemoveChild, removed);
    HOLDS(movie->GetActiveComp() == nullptr || movie->FindComponentIndex(movie->GetActiveComp()) >= 0);
}

void removeComponent(World& w) {
    Movie* const movie = w.out(w.movie());
    const int index = w.draw(0, movie->GetNumbChildren());
    Comp* const comp = index < movie->GetNumbChildren() ? movie->GetChildren()[index] : nullptr;
    if (w.draw.coin()) {
        auto& list = childrenOf(w, movie);
        if (comp) {
            touchParts(w, {comp});
            list.erase(list.begin() + index);
            expectEnd(w, comp, 1);
        }
        HOLDS(CALL_ON(movie, RemoveComponent, u8(index)) == (comp != nullptr));
    } else if (comp) {
        expectLeaving(w, movie, {comp});
        HOLDS(CALL_ON(movie, RemoveComponent, comp));
    }
}

void setComponent(World& w) {
    Movie* const movie = w.out(w.movie());
    Comp* const comp = w.draw.oneIn(9) ? nullptr : w.comp();
    auto& list = childrenOf(w, movie);
    const int index = w.draw(-1, int(list.size()));
    const bool exists = comp && index >= 0 && index < int(list.size());
    if (exists && list[std::size_t(index)] != comp) {
        Comp* const old = list[std::size_t(index)];
        touchParts(w, {old, comp});
        w.expect(movie, EventChildRemoving, reinterpret_cast<std::intptr_t>(old));
        expectEnd(w, old, 1);
        w.expect(movie, EventChildRemoved, reinterpret_cast<std::intptr_t>(movie));
        if (list.size() < 3) w.expect(movie, EventChildAdded, 0);
        w.expect(movie, EventChildAdded, reinterpret_cast<std::intptr_t>(comp));
        list[std::size_t(index)] = comp;
        u32 needed = 0;
        for (const Comp* child : list) needed = std::max(needed, child->startFrame + child->frameCount);
        w.expectLength(movie, needed);
    }
    HOLDS(CALL(SetComponent, movie, index, comp) == exists);
    HOLDS(!exists || comp->parent == movie || list[std::size_t(index)] == comp);
}

void addGroup(World& w) {
    Movie* const movie = w.out(w.movie());
    Comp* comps[] = {w.comp(), w.comp()};
    const int count = w.draw(0, 2);
    auto& list = childrenOf(w, movie);
    const int place = int(list.size());
    if (place + 2 > kMostChildren) return;
    if (count > 1 && w.draw.oneIn(9)) comps[1] = nullptr;
    const bool adds = count > 0 && (count < 2 || comps[1]);
    std::vector<Comp*> parts(comps, comps + (adds ? count : 0));
    touchParts(w, parts);
    if (adds) w.expectAdded(movie, parts);
    const int first = count == 1 && w.draw.coin() ? CALL(AppendComponent, movie, comps[0])
                                                  : CALL(AddComponentGroup, movie, comps, count);
    HOLDS(first == (adds ? place : -1));
    list.insert(list.end(), parts.begin(), parts.end());
}

/// Another movie's children, shared or copied, or none.
void copyFrom(World& w, bool assigns) {
    Movie *const from = w.movie(), *const to = w.movie();
    if (from == to) return;
    w.touchAll();
    const bool share = !assigns && w.draw.coin();
    auto& list = childrenOf(w, to);
    w.anyEvents();
    if (assigns) {
        CALL_ON(to, operator=, *from);
    } else {
        CALL_ON(to, CopyFrom, *from, share);
    }
    HOLDS(to->GetNumbChildren() == from->GetNumbChildren() && to->GetMovieLength() == from->GetMovieLength());
    HOLDS(!to->GetObservers() && to->GetFrameRanges() == from->GetFrameRanges());
    list.assign(to->GetChildren(), to->GetChildren() + to->GetNumbChildren());
    for (std::size_t i = 0; i < list.size(); ++i) {
        HOLDS(list[i]->parent == to);
        Comp* const original = from->GetChildren()[i];
        HOLDS((list[i] == original) == share);
        const auto wanted = contents(w, *original, false);
        HOLDS(!wanted || contents(w, *list[i], false) == wanted);
    }
}

void release(World& w) {
    const auto slot = std::size_t(w.draw(0, World::kMovies - 1));
    Movie* const movie = w.movies[slot];
    if (!movie) return;
    w.touchAll();
    if (w.movieHeld[slot] < 2 && w.draw.coin()) {
        HOLDS(CALL_ON(movie, Hold) == ++w.movieHeld[slot]);
        return;
    }
    if (w.movieHeld[slot] == 1) {
        while (w.registered[slot] > 0) --w.registered[slot], movie->UnregistMe();
        // Its end, and that of children that nobody else holds. Nobody acts on that of a movie.
        w.anyEvents();
        w.children[slot].clear();
        w.movies[slot] = nullptr;
    }
    const int left = --w.movieHeld[slot];
    HOLDS(CALL_ON(movie, Release) == left);
}

/// The frames of a selection, range by range.
std::vector<long> selected(const Movie* movie) {
    std::vector<long> frames;
    for (const auto& [first, last] : const_cast<Movie*>(movie)->GetFrameRanges())
        for (long frame = first; frame <= last; ++frame) frames.push_back(frame);
    return frames;
}

}  // namespace

void addMovieRows(Table& table) {
    table.strong("Movie, made and copied", [](World& w) {
        const auto slot = std::size_t(w.draw(0, World::kMovies - 1));
        if (w.movies[slot]) {
            w.anyEvents();
            Movie* const from = w.movies[slot];
            Movie* const made = CALL(new Movie, *from);
            HOLDS(made->GetNumbChildren() == from->GetNumbChildren() && !made->GetObservers());
            const Movie alone = CALL(Movie, *made);
            CALL_ON(made, Cleanup);
            HOLDS(made->GetNumbChildren() == 0 && made->Release() == 0);
        } else {
            w.touch(World::Part(World::FirstMovie + slot));
            Movie* const made = CALL(new Movie);
            CALL_ON(made, Clear);
            HOLDS(made->GetNumbChildren() == 0 && made->GetMovieLength() == 0 && !made->GetActiveComp());
            HOLDS(made->GetStatus() == 0 && made->GetCurrentFrame() == 0 && !made->IsNametagSet());
            w.movies[slot] = made, w.movieHeld[slot] = 1;
        }
    });
    table.strong("Movie, assigned", [](World& w) { copyFrom(w, true); });
    table.strong("CopyFrom", [](World& w) { copyFrom(w, false); });
    table.never("Movie::Cleanup", [](World& w) {
        Movie* const movie = w.movie();
        w.touchAll();
        w.anyEvents();
        childrenOf(w, movie).clear();
        CALL_ON(movie, Cleanup);
        HOLDS(movie->GetNumbChildren() == 0 && !movie->GetObservers());
    });
    table.never("Movie::Release", release);
    // Children.
    table.strong("AddChild", addChild);
    table.strong("AddComponents", [](World& w) { addFresh(w, "AddComponents", &Movie::AddComponents); });
    table.strong("AllocComps", [](World& w) { addFresh(w, "AllocComps", &Movie::AllocComps); });
    table.strong("AllocMoreComps", [](World& w) { addFresh(w, "AllocMoreComps", &Movie::AllocMoreComps); });
    table.strong("AddComponentGroup, AppendComponent", addGroup);
    table.strong("SetComponent", setComponent);
    table.never("RemoveChild", removeChild);
    table.never("RemoveComponent", removeComponent);
    table.strong("AddCompRooms, GetChildren", [](World& w) {
        Movie* const movie = w.movie();
        HOLDS(CALL_ON(movie, AddCompRooms, w.draw(0, 4)) == movie->GetNumbChildren());
        Comp** const all = CALL_ON(movie, GetChildren);
        HOLDS(std::equal(childrenOf(w, movie).begin(), childrenOf(w, movie).end(), all));
    });
    table.never("FindComponentIndex, GetChildAt", [](World& w) {
        Movie* const movie = w.movie();
        const Comp* const comp = w.comp();
        const auto& list = childrenOf(w, movie);
        const auto at = std::find(list.begin(), list.end(), comp);
        HOLDS(CALL_ON(movie, FindComponentIndex, comp) == (at == list.end() ? -1 : int(at - list.begin())));
        const int index = w.draw(-1, 3);
        HOLDS(CALL_ON(movie, GetChildAt, index) ==
              (index >= 0 && index < int(list.size()) ? list[std::size_t(index)] : nullptr));
    });
    table.never("GetIOComponent", [](World& w) {
        IComponent* const one = w.draw.oneIn(9) ? nullptr : w.component();
        Comp* const found = CALL(GetIOComponent, one);
        HOLDS(one ? found && (found == one || one->IsMovieObj()) : !found);
    });
    table.never("MakeChildActive, GetActiveComp, IsChildActive", [](World& w) {
        Movie* const movie = w.out(w.movie());
        Comp* const comp = w.draw.coin() ? w.comp() : w.childComp(movie);
        if (!comp) return;
        const auto& list = childrenOf(w, movie);
        for (const Comp* child : list)
            if (child == comp) w.expect(comp, EventActivated);
        Comp* const before = movie->GetActiveComp();
        const bool isChild = std::find(list.begin(), list.end(), comp) != list.end();
        CALL_ON(movie, MakeChildActive, comp);
        HOLDS(CALL_ON(movie, GetActiveComp) == (isChild ? comp : before));
        HOLDS(CALL_ON(movie, IsChildActive, comp) == (movie->GetActiveComp() == comp));
    });
    table.never("Movie::MakeActive, IsActive, GetIndex", [](World& w) {
        Movie* const movie = w.out(w.movie());
        w.expect(movie, EventActivated);
        CALL_ON(movie, MakeActive);
        HOLDS(!movie->GetActiveComp() && !CALL_ON(movie, IsActive) && CALL_ON(movie, GetIndex) == -1);
    });
    // The registry.
    table.basic("RegistMe, UnregistMe, HasRegisted, GetCount, GetMovie", [](World& w) {
        Movie* const movie = w.movie();
        int& times = w.registered[std::size_t(w.slotOf(movie))];
        const int before = CALL(Movie::GetCount);
        if (times < 3 && w.draw.coin()) {
            CALL_ON(movie, RegistMe), ++times;
            HOLDS(Movie::GetCount() == before + 1 && CALL(Movie::GetMovie, before) == movie);
        } else {
            CALL_ON(movie, UnregistMe);
            HOLDS(Movie::GetCount() == before - (times > 0));
            times = std::max(times - 1, 0);
        }
        HOLDS(CALL_ON(movie, HasRegisted) == (times > 0) &&
              int(CALL(Movie::GetMovieList)->size()) == Movie::GetCount());
    });
    // What a movie says of itself, and for its component.
    table.never("SetStatus, GetStatus, IsLocked", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const int status = w.draw.pick<int>({0, 2, 4, 6, 8, 0x14, 0x1FF});
        CALL_ON(movie, SetStatus, u16(status));
        HOLDS(CALL_ON(movie, GetStatus) == (status & 0xFF) &&
              CALL_ON(movie, IsLocked) == ((status & MovieLocked) != 0));
    });
    table.never("SetSize, GetSize, GetParent", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const int width = w.draw(0, 90000), height = w.draw(0, 99);
        int x = 0, y = 0;
        CALL_ON(movie, SetSize, width, height);
        CALL_ON(movie, GetSize, x, y);
        HOLDS(x == u16(width) && y == height && !CALL_ON(movie, GetParent));
    });
    table.strong("NewMovieName",
                 [](World& w) { HOLDS(CALL(Movie::NewMovieName).rfind("New movie ", 0) == 0); });
    table.never("Movie::Hold, Release", onAny<references<Movie>>);
    table.strong("Movie::AttachObserver, DetachObserver, GetObservers", onAny<observe<Movie>>);
    table.never("Movie::SetObservers", onAny<replaceObservers<Movie>>);
    table.never("Movie::NotifyObserver", onAny<notify<Movie>>);
    table.strong("Movie::AddScene, RemoveScene, GetSceneList", onAny<scenes<Movie>>);
    table.never("Movie::SetSceneList", onAny<sceneList<Movie>>);
    table.never("Movie::GetCompType and its kin", onAny<answers<Movie>>);
    table.never("Movie::SetVisible", onAny<visible<Movie>>);
    table.never("Movie::SetOpacity", onAny<opacity<Movie>>);
    table.basic("Movie::SetRemapper", onAny<remapper<Movie>>);
    table.strong("Movie::SetBlackWhite, GetBlackWhite", onAny<levels<Movie>>);
    table.never("Movie::SetLocation, GetLocation", onAny<location<Movie>>);
    table.never("Movie::SetStartFrame, GetStartFrame", onAny<startFrame<Movie>>);
    table.basic("Movie::SetNametag, SetFilename, GetName", onAny<names<Movie>>);
    table.basic("AttachObserver_All, DetachObserver_All", [](World& w) {
        Movie* const movie = w.out(w.movie());
        touchParts(w, childrenOf(w, movie));
        Ear* const ear = w.ear();
        const bool attaches = w.draw.coin();
        if (attaches) {
            CALL_ON(movie, AttachObserver_All, ear);
        } else {
            CALL_ON(movie, DetachObserver_All, ear);
        }
        const auto has = [&](IComponent* one) {
            const auto* const list = one->GetObservers();
            return list && std::find(list->begin(), list->end(), ear) != list->end();
        };
        HOLDS(has(movie) == attaches);
        for (Comp* child : childrenOf(w, movie)) HOLDS(has(child) == attaches);
    });
    // Frames.
    table.never("Movie::SetMovieLength, GetMovieLength, CheckMovieLength", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const auto length = u32(w.draw.oneIn(9) ? int(w.draw.word()) : w.draw(0, 12)),
                   before = u32(CALL_ON(movie, GetMovieLength));
        w.expectLength(movie, length);
        CALL_ON(movie, SetMovieLength, length);
        HOLDS(CALL_ON(movie, GetFrameCount) == (length ? length : before));
        u32 needed = 0;
        for (const Comp* child : childrenOf(w, movie))
            needed = std::max(needed, child->startFrame + child->frameCount);
        HOLDS(CALL_ON(movie, CheckMovieLength, false) == needed);
    });
    table.never("Movie::SetCurrentFrame, GetCurrentFrame", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const auto frame = u32(w.draw(0, 12));
        const bool moves = frame < movie->GetMovieLength() && frame != movie->GetCurrentFrame();
        if (moves) w.expect(movie, EventCurrentFrame);
        HOLDS(CALL_ON(movie, SetCurrentFrame, frame) == moves);
        HOLDS(!moves || CALL_ON(movie, GetCurrentFrame) == frame);
    });
    table.never("MoveToNextFrame, GetNextFrame, GetPreviousFrame", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const u64 before = movie->GetCurrentFrame(), next = CALL_ON(movie, GetNextFrame),
                  previous = CALL_ON(movie, GetPreviousFrame);
        w.anyEvents();
        CALL_ON(movie, MoveToNextFrame);
        const u64 now = movie->GetCurrentFrame();
        HOLDS(now == before || now == next || now == previous);
        HOLDS(w.heardOf(movie, EventCurrentFrame) ==
              long(movie->GetObservers() && now != before ? movie->GetObservers()->size() : 0));
    });
    table.never("SendFrameChangedEvent", [](World& w) {
        Movie* const movie = w.movie();
        w.expect(movie, EventCurrentFrame, long(movie->GetCurrentFrame()));
        for (Comp* child : childrenOf(w, movie))
            w.expect(child, EventCurrentFrame, long(child->GetCurrentFrame()));
        CALL_ON(movie, SendFrameChangedEvent);
    });
    table.strong("AddFrameRange, ClearFrameRanges, GetFrameRanges, GetRangesLength", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const Movie::FrameRange range(w.draw(-2, 9), w.draw(-2, 12));
        const std::vector<Movie::FrameRange> before = CALL_ON(movie, GetFrameRanges);
        if (w.draw.oneIn(4) || before.size() > 5) {
            CALL_ON(movie, ClearFrameRanges);
            HOLDS(movie->GetFrameRanges().empty() &&
                  CALL_ON(movie, GetRangesLength) == movie->GetMovieLength());
        } else {
            CALL_ON(movie, AddFrameRange, range);
            HOLDS(movie->GetFrameRanges().size() == before.size() + 1 &&
                  movie->GetFrameRanges().back() == range);
        }
    });
    table.never("GetFirstFrame, GetLastFrame, AdjustFrameToTimeSelection", [](World& w) {
        Movie* const movie = w.out(w.movie());
        const auto first = u32(CALL_ON(movie, GetFirstFrame)), last = u32(CALL_ON(movie, GetLastFrame));
        CALL_ON(movie, AdjustFrameToTimeSelection);
        const auto ranges = movie->GetFrameRanges();
        const bool sane = first <= last && std::all_of(ranges.begin(), ranges.end(), [](const auto& r) {
                              return r.first >= 0 && r.first <= r.second;
                          });
        HOLDS(!sane || ranges.size() > 1 ||
              (movie->GetCurrentFrame() >= first && movie->GetCurrentFrame() <= last));
    });
    table.strong("GetFrameIterator, FrameIterator", [](World& w) {
        Movie* const movie = w.movie();
        std::vector<long> walked;
        FrameIterator f = CALL_ON(movie, GetFrameIterator);
        const auto ranges = movie->GetFrameRanges();
        FrameIterator other = CALL(FrameIterator, &ranges);
        for (; !CALL_ON(&f, Done) && walked.size() < 99; CALL_ON(&f, operator++)) {
            walked.push_back(CALL_ON(&f, operator*));
            HOLDS(*other == walked.back());
            ++other;
        }
        if (std::all_of(ranges.begin(), ranges.end(), [](const auto& r) { return r.first <= r.second; }))
            HOLDS(walked == selected(movie));
        CALL_ON(&f, Reset);
        HOLDS(f.Done() == ranges.empty() && *f == (ranges.empty() ? 0 : walked.front()));
    });
}

}  // namespace fuzz
