// Hunts off-by-one steps of iterators and wrong places of ranges and frames.
#include <gtest/gtest.h>

#include <algorithm>

#include "pzel/component/frame_info.h"
#include "pzel/component/frame_iterator.h"
#include "pzel/component/movie_scene.h"
#include "tests/component/component_helpers.h"
#include "tests/support/images.h"

namespace {

TEST(FrameIterator, VisitsEveryFrameOfEveryRangeInOrder) {
    test::Random random(11);
    for (int n = 0; n < 300; ++n) {
        const Ref<Movie> movie(new Movie);
        std::vector<long> expected;
        for (int k = random(0, 4); k > 0; --k) {
            const int first = random(-3, 20), last = first + random(0, 5);
            movie->AddFrameRange({first, last});
            for (int f = first; f <= last; ++f) expected.push_back(f);
        }
        FrameIterator frame = movie->GetFrameIterator();
        for (int pass = 0; pass < 2; ++pass, frame.Reset()) {
            std::vector<long> visited;
            for (; !frame.Done(); ++frame) visited.push_back(*frame);
            ASSERT_EQ(visited, expected);
        }
        if (expected.empty()) {
            ASSERT_EQ(*frame, 0);
        }
    }
}

TEST(MovieScene, KeepsRangesSortedAndRemovesExactOnes) {
    test::Random random(12);
    MovieScene scene("a", "b", 0, nullptr);
    std::vector<MovieScene::Range> model;
    for (int n = 0; n < 500; ++n) {
        const MovieScene::Range range(random(0, 7), random(0, 7));
        if (random(0, 2)) {
            scene.AddRange(range.first, range.second);
            const auto at = std::find_if(model.begin(), model.end(),
                                         [&](const auto& r) { return r.first >= range.first; });
            model.insert(at, range);
        } else {
            scene.RemoveRange(range.first, range.second);
            const auto at = std::find(model.begin(), model.end(), range);
            if (at != model.end()) model.erase(at);
        }
        const MovieScene copy(scene);
        ASSERT_EQ(std::vector(copy.ranges, copy.ranges + copy.numbRanges), model);
    }
}

}  // namespace
