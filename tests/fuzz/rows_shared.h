// What components and movies both answer and take: each row serves both, so that every member is called on
// each.
#pragma once

#include "tests/fuzz/rows.h"

namespace fuzz {

/// A component, or a movie with children.
template <class C>
C* anyOf(World& w) {
    if constexpr (std::is_same_v<C, Comp>) {
        return w.comp();
    } else {
        Movie* const movie = w.movie();
        return movie->GetNumbChildren() > 0 ? movie : nullptr;
    }
}

/// The component that what is said to `c` concerns; null for a composite movie, which ignores it.
inline Comp* target(Comp* c) {
    return c;
}
inline Comp* target(Movie* m) {
    return m->GetNumbChildren() == 1 ? m->GetChildren()[0] : nullptr;
}

/// Rows are given what is asked, and the component that this concerns.
template <class C>
void ask(World& w, void (*row)(World&, C*, Comp*)) {
    if (C* const c = anyOf<C>(w)) row(w, c, target(c));
}
template <auto row>
void onAny(World& w) {
    ask(w, row);
}

/// What a copy of a component must have as well; nothing where it gets pixels that the original lacks.
inline std::optional<u64> contents(World& w, Comp& comp, bool withBitmap) {
    for (int i = 0; i < comp.imageFrames; ++i)
        if (!comp.images[i].data) return {};
    if (comp.flatImage && !comp.flatImage->data) return {};
    if (comp.flatComp && !contents(w, *comp.flatComp, withBitmap)) return {};
    return w.contentsDigest(comp, withBitmap);
}

template <class C>
void references(World& w, C* c, Comp*) {
    w.out(c);
    const int more = CALL_ON(c, Hold);
    const int back = CALL_ON(c, Release);
    HOLDS(more == back + 1 && back > 0);
}

template <class C>
void observe(World& w, C* c, Comp*) {
    Ear* const ear = w.ear();
    w.out(c);
    const auto* const before = CALL_ON(c, GetObservers);
    std::vector<Observer*> wanted = before ? *before : std::vector<Observer*>();
    const auto at = std::find(wanted.begin(), wanted.end(), ear);
    const bool attaches = w.draw.coin();
    if (attaches && at == wanted.end()) wanted.push_back(ear);
    if (!attaches && at != wanted.end()) wanted.erase(at);
    if (attaches) {
        CALL_ON(c, AttachObserver, ear);
    } else {
        CALL_ON(c, DetachObserver, ear);
    }
    const auto* const now = c->GetObservers();
    HOLDS(now ? *now == wanted : wanted.empty());
}

template <class C>
void replaceObservers(World& w, C* c, Comp*) {
    w.out(c);
    auto* const fresh = w.draw.oneIn(4) ? nullptr : new std::vector<Observer*>{w.ear()};
    std::vector<Observer*>* const old = c->GetObservers();
    CALL_ON(c, SetObservers, fresh);
    delete old;
    HOLDS(c->GetObservers() == fresh);
}

template <class C>
void notify(World& w, C* c, Comp*) {
    const int event = w.draw(19, 99);
    w.expect(c, event, 5);
    CALL_ON(c, NotifyObserver, event, std::intptr_t(5));
}

template <class C>
void scenes(World& w, C* c, Comp* to) {
    w.out(to);
    unsigned long ranges[] = {1, 2, 7, 4};
    const auto before = to && to->scenes ? to->scenes->size() : 0;
    if (w.draw.coin()) {
        if (to) w.expect(to, EventSceneAdded);
        const bool added = CALL_ON(c, AddScene, w.text(), w.text(), long(w.draw(0, 2)), ranges);
        HOLDS(added == (to != nullptr) && (!to || to->scenes->size() == before + 1));
    } else if (!to || to->scenes) {
        const long index = w.draw(-1, 3);
        const bool exists = to && index >= 0 && std::size_t(index) < before;
        if (exists) w.expect(to, EventSceneRemoved);
        HOLDS(CALL_ON(c, RemoveScene, index) == exists);
    }
    HOLDS(CALL_ON(c, GetSceneList) == (std::is_same_v<C, Comp> ? to->scenes : nullptr));
}

template <class C>
void sceneList(World& w, C* c, Comp*) {
    w.out(c);
    auto* const list =
        w.draw.oneIn(4) ? nullptr : new std::vector<MovieScene>(1, MovieScene(w.text(), nullptr, 0, nullptr));
    CALL_ON(c, SetSceneList, list);
    if constexpr (std::is_same_v<C, Comp>) HOLDS(c->GetSceneList() == list);
}

/// Answers that follow from what is shown.
template <class C>
void answers(World& w, C* c, Comp* of) {
    constexpr bool isMovie = std::is_same_v<C, Movie>;
    const int children = CALL_ON(c, GetNumbChildren);
    HOLDS(CALL_ON(c, IsMovieObj) == isMovie && CALL_ON(c, IsComposite) == (isMovie && children > 1));
    HOLDS(CALL_ON(c, GetInternalComp) == (of ? of : c->GetChildAt(0)));
    HOLDS((CALL_ON(c, GetChildAt, w.draw(-1, 3)) == nullptr || isMovie) && !c->GetChildAt(children));
    HOLDS(isMovie ? CALL_ON(c, GetParent) == nullptr : true);
    HOLDS(CALL_ON(c, GetParentOrSelf) == (c->GetParent() ? static_cast<IComponent*>(c->GetParent()) : c));
    const Image* const shown = of ? of->GetFlatImage() : nullptr;
    const u16 type = of ? shown ? shown->imageType : u16(MajorNone) : u16(MajorComposite);
    HOLDS(CALL_ON(c, GetCompType) == type);
    HOLDS(CALL_ON(c, GetCompMType) == (type & 0xFF00) &&
          CALL_ON(c, GetCompSType) == (of ? type & 0xFF : SubNone));
    HOLDS(CALL_ON(c, GetDataType) == (shown ? shown->dataType & DataTypeMask : 0));
    HOLDS(CALL_ON(c, GetNumbChannels) == (of ? of->images ? of->images->channels : 1 : 0));
    HOLDS(CALL_ON(c, IsInterleaved) == (of && of->images && IsInterleaved(of->images)));
    bool movie = of && of->frameCount > 1;
    for (int i = 0; i < children; ++i) movie = movie || c->GetChildAt(i)->GetFrameCount() > 1;
    HOLDS(CALL_ON(c, IsMovie) == movie);
    HOLDS(CALL_ON(c, GetImageFrames) <= 3);
    w.see(u64(CALL_ON(c, GetFrameCount)) + CALL_ON(c, GetCurrentFrame));
}

template <class C>
void visible(World& w, C* c, Comp* to) {
    w.out(to);
    const bool wanted = w.draw.coin();
    if (to && wanted != to->IsVisible()) w.expect(to, EventVisible);
    CALL_ON(c, SetVisible, wanted);
    HOLDS(CALL_ON(c, IsVisible) == (to ? wanted : true));
}

template <class C>
void opacity(World& w, C* c, Comp* to) {
    w.out(to);
    const float wanted = w.draw.coin() ? float(w.draw(0, 128)) / 128 : w.real();
    const float before = c->GetOpacity();
    w.anyEvents();
    CALL_ON(c, SetOpacity, wanted);
    const float now = CALL_ON(c, GetOpacity);
    HOLDS(!to || !(wanted >= 0 && wanted <= 1) || std::fabs(now - wanted) <= 1.0f / 128);
    if (to && now != before)
        HOLDS(w.heardOf(to, EventOpacity) == long(to->observers ? to->observers->size() : 0));
    HOLDS(to || now == 1);
}

template <class C>
void remapper(World& w, C* c, Comp* to) {
    w.out(to);
    Tone* const tone = w.draw.oneIn(4) ? nullptr : new Tone(&w, w.draw(0, 5));
    if (to && tone && (!to->remapper || !tone->IsEqual(*to->remapper))) w.expect(to, EventRemapper);
    if (to && !tone && to->remapper) w.expect(to, EventRemapper);
    const int id = tone ? tone->id : -1;
    // A call that throws has deleted what it was given, or still the caller has it: it counts as the former.
    CALL_ON(c, SetRemapper, tone);
    const auto* const held = static_cast<const Tone*>(CALL_ON(c, GetRemapper));
    HOLDS(to ? (held ? held->id : -1) == id : held == nullptr);
}

template <class C>
void levels(World& w, C* c, Comp* to) {
    w.out(to);
    const int channel = w.draw(0, 6);
    const CompBlackWhite wanted(w.real(), w.real()), before = CALL_ON(c, GetBlackWhite, channel);
    w.anyEvents();
    CALL_ON(c, SetBlackWhite, channel, wanted);
    const CompBlackWhite now = c->GetBlackWhite(channel);
    const bool changed = !same(now.black, before.black) || !same(now.white, before.white);
    HOLDS(!changed || to);
    if (changed && to)
        HOLDS(w.heardOf(to, EventBlackWhite) == long(to->observers ? to->observers->size() : 0));
    w.see(float(now.black)), w.see(float(now.white));
}

template <class C>
void location(World& w, C* c, Comp* to) {
    w.out(to);
    const int x = w.draw.oneIn(9) ? int(w.draw.word()) : w.draw(-20, 40), y = w.draw(-9, 9);
    int left = 0, top = 0;
    if (to) {
        const SRect before = to->GetCompExtent();
        std::int64_t extent;
        std::memcpy(&extent, &before, sizeof extent);
        if (before.left != x || before.top != y) w.expect(to, EventLocation, extent);
    }
    CALL_ON(c, SetLocation, x, y);
    CALL_ON(c, GetLocation, left, top);
    if constexpr (std::is_same_v<C, Movie>) HOLDS(left == 0 && top == 0);
    if (to) to->GetLocation(left, top);
    HOLDS(!to || (left == std::int16_t(x) && top == std::int16_t(y)));
    if constexpr (std::is_same_v<C, Comp>) {
        int width = 0, height = 0;
        CALL_ON(c, GetSize, width, height);
        const SRect extent = CALL_ON(c, GetCompExtent);
        HOLDS(width == extent.right - extent.left + 1 && height == extent.bottom - extent.top + 1);
    }
}

template <class C>
void startFrame(World& w, C* c, Comp* to) {
    w.out(to);
    const u32 frame = w.draw.oneIn(9) ? u32(w.draw.word()) : u32(w.draw(0, 9));
    if (to && frame != to->startFrame) {
        w.expect(to, EventStartFrame);
        if (to->parent) {
            w.out(to->parent);
            u32 needed = 0;
            for (int i = 0; i < to->parent->GetNumbChildren(); ++i) {
                const Comp* const child = to->parent->GetChildren()[i];
                needed = std::max(needed, (child == to ? frame : child->startFrame) + child->frameCount);
            }
            w.expectLength(to->parent, needed);
        }
    }
    CALL_ON(c, SetStartFrame, frame);
    HOLDS(CALL_ON(c, GetStartFrame) == (to ? frame : 0));
}

template <class C>
void names(World& w, C* c, Comp* to) {
    w.out(c), w.out(to);
    const std::string wanted = w.text();
    const bool tag = w.draw.coin();
    if (tag) {
        CALL_ON(c, SetNametag, wanted);
        HOLDS(CALL_ON(c, GetNametag) == wanted);
    } else {
        CALL_ON(c, SetFilename, wanted);
        HOLDS(CALL_ON(c, GetFilename) == wanted);
    }
    const std::string name = CALL_ON(c, GetName), shorter = CALL_ON(c, GetShortName);
    const auto bar = name.rfind('\\');
    HOLDS(shorter == (bar == std::string::npos ? name : name.substr(bar + 1)));
    w.see(u64(CALL_ON(c, IsNametagSet)));
}

}  // namespace fuzz
