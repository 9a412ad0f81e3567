// What a component announces: changes, once each.
#include <gtest/gtest.h>

#include <limits>

#include "component_helpers.h"

namespace {

TEST(Comp, AnnouncesRealChangesOnce) {
    Recorder r;
    auto comp = newComp();
    Movie movie;
    movie.AddChild(comp.get());
    r.name('c', comp.get());
    r.name('m', &movie);
    char name[] = "one";
    constexpr unsigned long above32Bits = ~0xFFFFFFFFul;  // lost on the way
    unsigned long ranges[] = {9, above32Bits + 3};
    for (int i = 0; i < 2; ++i) {
        comp->AttachObserver(&r);
        comp->SetVisible(false);
        comp->SetOpacity(0.5f);
        comp->SetRemapper(new Tone(1));  // the second equals the first and is deleted
        comp->SetStartFrame(above32Bits + 7);
        comp->SetLocation(-5, 9);
        comp->AddScene(name, nullptr, 1, ranges);
        name[0] = 'X';
    }
    EXPECT_EQ(r.take(), "c10 c9 c11 c16 c6@3 c17 c17 ");
    EXPECT_EQ(movie.GetMovieLength(), 8u);
    const MovieScene scene = comp->GetSceneList()->front();
    EXPECT_FALSE(comp->RemoveScene(2) || comp->RemoveScene(-1));
    EXPECT_TRUE(comp->RemoveScene(0));
    comp->SetSceneList(comp->GetSceneList());
    EXPECT_STREQ(comp->GetSceneList()->front().name, "Xne");
    EXPECT_STREQ(scene.name, "one");
    EXPECT_EQ(scene.ranges[0], (MovieScene::Range{9, 3}));
    comp->SetRemapper(nullptr);
    EXPECT_EQ(Tone::alive, 0);
    EXPECT_EQ(r.take(), "c18 c11 ");

    // The shown corner counts; a move to the origin of an empty movie announces the movie first.
    comp->dataArea = new SRect{1, 2, 1, 1};
    comp->flagsA |= CompExtentDataArea;
    movie.RemoveChild(comp.get());
    comp->SetParent(&movie);
    comp->SetLocation(-4, 10);
    EXPECT_TRUE(r.log.empty());
    comp->SetLocation(0, 0);
    EXPECT_EQ(r.take(), "c5(m) c6@-3 ");
    EXPECT_EQ(comp->x, -1);
    comp->SetLocation(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    EXPECT_TRUE(comp->x == -1 && comp->y == -2) << "narrowed, not clamped";
}

}  // namespace
