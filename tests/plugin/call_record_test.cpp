// Identities of plug-ins, and the call record: what is found by which tag, and who owns which block. The
// memory checker sees what is released twice or not at all.
#include "pzel/plugin/call_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <utility>

#include "pzel/component/movie.h"
#include "pzel/plugin/plugin_id.h"

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

TEST(CallRecord, FindsTheFirstOfEachKind) {
    Interface record;
    std::memset(static_cast<void*>(&record), 0xAB, sizeof record);
    InterfaceInit(&record);
    SetIterationNumber(&record, 3);
    EXPECT_FALSE(GetRectangle(&record) || FindUserRequest(&record) || GetUserData(&record) || record.exData);
    EXPECT_EQ(range(&record), std::pair(-1, -1));
    EXPECT_EQ(range(nullptr), std::pair(-1, -1));
    EXPECT_EQ(record.state + record.word3 + record.word4 + record.numbExData + record.word7, 1u);
    SRect rects[2];
    YInterval intervals[2] = {{10, 25}, {0, 1}};
    char requests[2][4] = {"one", "two"};
    for (int i = 0; i < 2; ++i) {
        add(&record, ExDataIteration, 0, nullptr);
        AddUserData(&record, &record + i);
        EXPECT_EQ(GetInterval(&record), i == 0 ? nullptr : &intervals[0]);
        add(&record, ExDataUserRequest, 0, requests[i]);
        add(&record, ExDataInterval, 0, &intervals[i]);
        add(&record, ExDataRectangle, 0, &rects[i]);
    }
    EXPECT_EQ(GetRectangle(&record), &rects[0]);
    EXPECT_EQ(FindUserRequest(&record), requests[0]);
    EXPECT_EQ(GetUserData(&record), &record);
    EXPECT_EQ(range(&record), std::pair(10, 15));
    SetIterationNumber(&record, -7);
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(record.exData[0].data), -7);
    EXPECT_EQ(record.exData[5].data, nullptr);
    InterfaceCleanup(&record);
}

TEST(CallRecord, ReleasesWhatItOwnsAndNothingElse) {
    Interface record;
    InterfaceInit(&record);
    Movie* const movie = record.movie;
    EXPECT_EQ(movie->Hold(), 2);
    SRect rect = {1, 2, 3, 4};
    for (const bool own : {true, false, true}) {
        add(&record, ExDataRectangle, own ? ExDataOwned : ~ExDataOwned, own ? owned(rect) : &rect);
        add(&record, ExDataInterval, ExDataOwned, own ? owned(YInterval{1, 2}) : nullptr);
        add(&record, ExDataUserRequest, 0xFFFF, owned("sharpen"));
        add(&record, ExDataUserData, 0xFFFF, &rect);
        add(&record, ExDataIteration, 0xFFFF, &rect);
    }
    EXPECT_STREQ(FindUserRequest(&record), "sharpen");
    InterfaceCleanup(&record);
    EXPECT_TRUE(record.movie == nullptr && record.exData == nullptr && rect.bottom == 4);
    EXPECT_EQ(std::pair(record.state, record.numbExData), std::pair(0u, 15u));
    EXPECT_EQ(movie->Release(), 0);
    InterfaceCleanup(&record);  // nothing is left to release
}

}  // namespace
