// The call record: what is found by which tag, and who owns which block. The
// memory checker sees what is released twice or not at all.
#include "pzel/plugin/call_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <utility>

#include "pzel/component/movie.h"

namespace {

/// A copy in a block of its own, as owned data must be.
template <class T>
T* owned(const T& value) {
    return static_cast<T*>(std::memcpy(::operator new(sizeof value), &value, sizeof value));
}

void add(Interface* record, int tag, int flags, void* data) {
    *MoreExData(record) = {static_cast<std::uint16_t>(tag), static_cast<std::uint16_t>(flags), 0, data};
}

std::pair<int, int> range(Interface* record) {
    std::pair<int, int> both;
    GetMovieRange(record, both.first, both.second);
    return both;
}

TEST(CallRecord, ReleasesWhatItOwnsAndNothingElse) {
    Interface record;
    InterfaceInit(&record);
    Movie* const movie = record.movie;
    EXPECT_EQ(movie->Hold(), 2);
    SRect rect = {1, 2, 3, 4};
    EXPECT_EQ(range(&record), std::pair(-1, -1));
    for (const bool own : {true, false, true}) {
        add(&record, ExDataRectangle, own ? ExDataOwned : ~ExDataOwned, own ? owned(rect) : &rect);
        add(&record, ExDataInterval, ExDataOwned, own ? owned(YInterval{1, 2}) : nullptr);
        add(&record, ExDataUserRequest, 0xFFFF, owned("sharpen"));
        add(&record, ExDataUserData, 0xFFFF, &rect);
        add(&record, ExDataIteration, 0xFFFF, &rect);
    }
    EXPECT_STREQ(FindUserRequest(&record), "sharpen");
    EXPECT_EQ(range(&record), std::pair(1, 1)) << "end - start";
    InterfaceCleanup(&record);
    EXPECT_TRUE(record.movie == nullptr && record.exData == nullptr && rect.bottom == 4);
    EXPECT_EQ(std::pair(record.state, record.numbExData), std::pair(0u, 15u));
    EXPECT_EQ(movie->Release(), 0);
    InterfaceCleanup(&record);  // nothing is left to release
}

}  // namespace
