// Movies: children and the events around them, one child against several, the registry, names.
#include <gtest/gtest.h>

#include "component_helpers.h"
#include "pzel/component/group.h"

namespace {

// The active index stays and names the next child; behind the last one it names that. With its child it goes.
TEST(Movie, ActiveIndexStaysWhenOtherChildrenGo) {
    Ref<Comp> comps[] = {newComp(), newComp(), newComp()};
    Comp* const wanted[] = {comps[2].get(), nullptr, comps[1].get()};
    for (int gone = 0; gone < 3; ++gone) {
        Movie movie;
        for (const auto& comp : comps) movie.AddChild(comp.get());
        comps[1]->MakeActive();
        movie.RemoveChild(comps[gone].get());
        EXPECT_EQ(movie.GetActiveComp(), wanted[gone]);
        movie.RemoveChild(comps[0].get());
        EXPECT_EQ(movie.GetActiveComp(), wanted[gone]);
    }
}

TEST(Movie, ObserversOfADyingChildSeeAnEmptyMovie) {
    Recorder r;
    Movie movie;
    movie.AddComponents(2);
    int seen = -1;
    r.onEvent = [&](int event) {
        seen = event == EventDestroyed && seen < 0 ? movie.GetNumbChildren() : seen;
    };
    movie.GetChildren()[0]->AttachObserver(&r);
    movie.Cleanup();
    EXPECT_EQ(seen, 0);
}

TEST(Movie, ObserversOfADyingChildMayTidyUp) {
    for (const bool byIndex : {true, false}) {
        Recorder r;
        Movie movie;
        movie.AddComponents(4);
        Comp *const dying = movie.GetChildren()[1], *const last = movie.GetChildren()[3];
        r.onEvent = [&](int) {
            EXPECT_EQ(movie.FindComponentIndex(dying), -1);
            movie.RemoveChild(movie.GetChildAt(1));
            movie.RemoveComponent(static_cast<unsigned char>(0));
        };
        dying->AttachObserver(&r);
        EXPECT_TRUE(byIndex ? movie.RemoveComponent(static_cast<unsigned char>(1))
                            : movie.RemoveComponent(dying));
        EXPECT_EQ(movie.GetNumbChildren(), 1);
        EXPECT_EQ(movie.GetChildAt(0), last);
    }
}

// The movie alone holds the component, and the first that is heard of anything lets go of both.
TEST(Movie, ObserversMayDropTheLastReferences) {
    const std::function<void(Movie&, Comp&)> calls[] = {
        [](Movie&, Comp& comp) { comp.SetVisible(false); },
        [](Movie&, Comp& comp) { comp.SetLocation(5, 5); },
        [](Movie&, Comp& comp) { comp.SetStartFrame(3); },
        [](Movie&, Comp& comp) { comp.SetCurrentFrame(1); },
        [](Movie& movie, Comp&) { movie.SendFrameChangedEvent(); },
        [](Movie& movie, Comp& comp) { movie.MakeChildActive(&comp); },
        [](Movie& movie, Comp&) { movie.AddComponents(2); },
        [](Movie& movie, Comp& comp) { movie.RemoveChild(&comp); },
        [](Movie& movie, Comp&) { SetComponent(&movie, 0, newComp().get()); },
        [](Movie& movie, Comp&) { movie.Cleanup(); },
        [](Movie& movie, Comp&) { movie.CopyFrom(Movie(), false); },
    };
    for (const auto& call : calls) {
        auto* const movie = new Movie;
        movie->AddComponents(1);
        Comp* const comp = movie->GetChildren()[0];
        movie->SetMovieLength(9);
        Recorder r, last;
        r.name('m', movie);
        r.name('c', comp);
        for (Recorder* one : {&r, &last}) movie->AttachObserver_All(one);
        bool isDropped = false;
        r.onEvent = [&](int) {
            if (std::exchange(isDropped, true)) return;
            movie->RemoveChild(comp);
            EXPECT_EQ(movie->Release(), 0);
        };
        call(*movie, *comp);
        const std::string log = " " + r.take();
        const auto count = [&](const std::string& text) {
            return log.find(text) == std::string::npos ? 0 : log.find(text) == log.rfind(text) ? 1 : 2;
        };
        EXPECT_EQ(count(" c1 "), 1) << log;
        const bool isEmptied = log.rfind(" c1 ", 0) == 0;  // whoever is, forgets its observers
        EXPECT_EQ(count(" m1 "), isEmptied ? 0 : 1) << log;
    }
}

TEST(Movie, CallsAllObserversOfAListOfAnyLength) {
    Movie movie;
    std::vector<Recorder> observers(200);
    std::string order;
    for (std::size_t i = 0; i < observers.size(); ++i) {
        observers[i].onEvent = [&, i](int) {
            order += static_cast<char>(i);
            movie.DetachObserver(&observers[199 - i]);
        };
        movie.AttachObserver(&observers[i]);
    }
    std::string wanted;
    for (int i = 0; i < 200; ++i) wanted += static_cast<char>(i);
    movie.NotifyObserver(99, 0);
    EXPECT_EQ(order, wanted);
    EXPECT_TRUE(movie.GetObservers()->empty());
}

// What is handed over is taken in any case, but what a child holds stays the child's.
TEST(Movie, TakesWhatItDoesNotWant) {
    Movie movie;
    movie.AddComponents(2);
    Comp& child = *movie.GetChildren()[0];
    child.remapper = new Tone(1);
    child.AddScene("scene", "", 0, nullptr);
    movie.SetRemapper(new Tone(2));
    movie.SetRemapper(child.remapper);
    movie.SetSceneList(new std::vector<MovieScene>(3));
    movie.SetSceneList(child.scenes);
    EXPECT_EQ(Tone::alive, 1);
    EXPECT_EQ(static_cast<Tone*>(child.remapper)->id, 1);
    EXPECT_STREQ(child.scenes->front().name, "scene");
}

TEST(Movie, RefusesThe256thChild) {
    Recorder r;
    Movie movie, two;
    auto comp = newComp();
    for (int i = 0; i < 254; ++i) ASSERT_EQ(movie.AddChild(comp.get()), i);
    for (int i = 0; i < 2; ++i) two.AddChild(comp.get());
    movie.AttachObserver(&r);
    EXPECT_EQ(movie.AddChild(&two), -1);
    EXPECT_EQ(r.take(), "");
    r.name('m', &movie);
    r.name('c', comp.get());
    EXPECT_EQ(movie.AddChild(comp.get()), 254);
    EXPECT_EQ(movie.AddChild(comp.get()), -1);
    EXPECT_EQ(r.take(), "m3(c) ");
    EXPECT_EQ(comp->refCount, 1 + 255 + 2);
}

TEST(Names, TagThenFileThenNumber) {
    const Ref<Comp> first(AllocComp(0)), second(AllocComp(0));
    const std::string text = "Untitled comp ", name = first->GetName();
    EXPECT_EQ(second->GetName(), text + std::to_string(std::stoi(name.substr(text.size())) + 1));
    EXPECT_EQ(first->GetName(), name) << "made once";
    first->SetFilename("a\\b\\c.img");
    EXPECT_STREQ(first->GetShortName(), "c.img");
    first->SetNametag("");
    EXPECT_STREQ(first->GetName(), "");
}

}  // namespace
