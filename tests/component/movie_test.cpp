// Movies: children and the events around them, one child against several, the registry, names.
#include <gtest/gtest.h>

#include "component_helpers.h"

namespace {

TEST(Movie, ChildrenComeAndGoInOrder) {
    Recorder r;
    Movie movie, source;
    r.name('m', &movie);
    r.name('s', &source);
    movie.AttachObserver(&r);
    Ref<Comp> comps[] = {newComp(1), newComp(2), newComp(3), newComp(4)};
    for (int i = 0; i < 4; ++i) r.name(static_cast<char>('a' + i), comps[i].get());
    for (int i = 1; i < 4; ++i) source.AddChild(comps[i].get());
    EXPECT_EQ(movie.AddChild(comps[0].get()), 0);
    EXPECT_EQ(comps[0]->refCount, 2);
    EXPECT_EQ(r.take(), "m3 m3(a) m15 ");
    EXPECT_EQ(movie.AddChild(&source), 1);
    EXPECT_EQ(r.take(), "m3 m3(b) m3(c) m3(d) ");
    EXPECT_EQ(comps[3]->refCount, 3);
    EXPECT_EQ(comps[3]->GetParent(), &movie);
    EXPECT_EQ(comps[3]->GetIndex(), 3);
    source.Cleanup();
    EXPECT_EQ(comps[3]->GetParent(), &movie);
    EXPECT_EQ(movie.AddChild(&movie), -1);

    // A child that the movie alone holds dies between the two events of its removal.
    comps[0]->AttachObserver(&r);
    comps[2]->AttachObserver(&r);
    comps[2]->MakeActive();
    movie.RemoveChild(comps[0].release()->Release() == 1 ? movie.GetChildAt(0) : nullptr);
    EXPECT_EQ(r.take(), "c7 m4(a) a1 m5(m) ");
    // The active index stayed and names the next child. When that one goes, none is active.
    EXPECT_TRUE(comps[3]->IsActive());
    EXPECT_EQ(movie.GetImageFrames(), 4u);
    EXPECT_TRUE(movie.RemoveComponent(comps[3].get()));
    EXPECT_EQ(movie.GetActiveComp(), nullptr);
    EXPECT_FALSE(movie.RemoveComponent(comps[3].get()) || comps[3]->GetParent());
    EXPECT_TRUE(movie.RemoveComponent(static_cast<unsigned char>(0)));
    EXPECT_FALSE(movie.RemoveComponent(static_cast<unsigned char>(1)));
    EXPECT_EQ(movie.GetChildAt(0), comps[2].get());
    movie.AddChild(comps[1].get());
    comps[1]->MakeActive();
    movie.RemoveChild(comps[2].get());
    EXPECT_TRUE(comps[1]->IsActive());
    // The observers of a dying child see a movie that is empty, not half so.
    int seen = -1;
    r.onEvent = [&](int event) {
        seen = event == EventDestroyed && seen < 0 ? movie.GetNumbChildren() : seen;
    };
    comps[1]->AttachObserver(&r);
    comps[1].reset();
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
