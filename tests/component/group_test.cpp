// Groups of children: events out of order or sent for nothing, references that leak, half a group added, a
// replaced child in the wrong place.
#include "pzel/component/group.h"

#include <gtest/gtest.h>

#include "component_helpers.h"

namespace {

struct GroupTest : testing::Test {
    GroupTest() {
        r.name('m', &movie);
        for (int i = 0; i < 4; ++i) r.name(static_cast<char>('a' + i), comps[i].get());
        comps[3]->frameCount = 2;
        movie.AttachObserver(&r);
    }
    std::string children() {
        std::string names;
        for (int i = 0; i < movie.GetNumbChildren(); ++i)
            names += r.nameOf(reinterpret_cast<std::intptr_t>(movie.GetChildAt(i)));
        return names;
    }

    Recorder r;
    Ref<Comp> comps[4] = {newComp(), newComp(), newComp(), newComp()};
    Comp* group[4] = {comps[0].get(), comps[1].get(), comps[2].get(), comps[3].get()};
    Movie movie;
};

TEST_F(GroupTest, ComesAllOrNotAtAll) {
    Comp* gap[] = {group[0], nullptr};
    EXPECT_TRUE(AddComponentGroup(&movie, gap, 2) == -1 && AddComponentGroup(&movie, group, 0) == -1 &&
                AppendComponent(&movie, nullptr) == -1);
    EXPECT_EQ(r.take() + children(), "");
    EXPECT_EQ(AddComponentGroup(&movie, group, 2), 0);
    EXPECT_EQ(r.take(), "m3 m3(a) m3(b) m15 ");
    EXPECT_EQ(AddComponentGroup(&movie, group + 2, 2), 2);
    EXPECT_EQ(r.take(), "m3(c) m3(d) m15 ");
    EXPECT_EQ(AppendComponent(&movie, group[0]), 4);
    EXPECT_EQ(r.take() + children(), "m3(a) abcda");
    EXPECT_TRUE(group[0]->refCount == 3 && group[3]->refCount == 2 && group[3]->GetParent() == &movie);
    while (movie.GetNumbChildren() < 253) AppendComponent(&movie, group[1]);
    r.take();
    EXPECT_TRUE(AddComponentGroup(&movie, group, 3) == -1 && movie.AddComponents(3) == -1);
    EXPECT_EQ(r.take(), "");
    EXPECT_TRUE(movie.GetNumbChildren() == 253 && group[2]->refCount == 2);
    EXPECT_EQ(AddComponentGroup(&movie, group, 2), 253);
}

TEST_F(GroupTest, ReplacedChildrenKeepTheirPlace) {
    EXPECT_FALSE(SetComponent(&movie, 0, group[0]));
    AppendComponent(&movie, group[0]);
    r.take();
    std::string between;
    r.onEvent = [&](int event) {
        if (event == EventChildRemoved || event == EventChildAdded) between += children() + " ";
    };
    EXPECT_TRUE(SetComponent(&movie, 0, group[1]));
    EXPECT_EQ(r.take(), "m4(a) m5(m) m3 m3(b) ");
    EXPECT_EQ(between, " b b ");
    EXPECT_TRUE(group[0]->refCount == 1 && !group[0]->GetParent() && group[1]->refCount == 2);
    AddComponentGroup(&movie, group, 1);
    AddComponentGroup(&movie, group + 2, 1);
    group[0]->MakeActive();
    r.take(), between.clear();
    // The last reference on the old child is the movie's: it dies between the two events.
    group[0]->AttachObserver(&r);
    comps[0].release()->Release();
    EXPECT_TRUE(SetComponent(&movie, 1, group[3]));
    EXPECT_EQ(r.take() + children(), "m4(a) a1 m5(m) m3(d) m15 bdc");
    EXPECT_EQ(between, "bc bdc ");
    EXPECT_TRUE(movie.IsChildActive(group[3]));
    EXPECT_TRUE(SetComponent(&movie, 0, group[1]));
    EXPECT_FALSE(SetComponent(&movie, 3, group[1]) || SetComponent(&movie, -1, group[1]) ||
                 SetComponent(&movie, 0, nullptr));
    EXPECT_EQ(r.take() + children(), "bdc");
    EXPECT_TRUE(group[1]->refCount == 2 && group[3]->refCount == 2);
    // Behind the active child and before it: it stays the active one. A full movie has room for it, too.
    while (movie.GetNumbChildren() < 255) AppendComponent(&movie, group[2]);
    EXPECT_TRUE(SetComponent(&movie, 0, group[2]) && SetComponent(&movie, 254, group[1]));
    EXPECT_TRUE(movie.IsChildActive(group[3]) && movie.GetChildAt(254) == group[1]);
}

}  // namespace
