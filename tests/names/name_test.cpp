// Numbers of folders and temporary names, which last as long as the library is loaded: nothing else in this
// program sets the working folder. What single names do is held by sequences of calls (tests/fuzz).
#include "pzel/names/name.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Zel::Name;

TEST(Name, FoldersAreNumberedInTurn) {
    const Name one(R"(C:\a\b.txt)"), same(R"(C:\a\c.txt)"), other(R"(C:\b\b.txt)"), bare("b.txt");
    EXPECT_GT(one.GetID(), 0);
    EXPECT_EQ(same.GetID(), one.GetID());
    EXPECT_EQ(other.GetID(), one.GetID() + 1);
    EXPECT_EQ(bare.GetID(), 0);
    EXPECT_EQ(Name::GetIDFromPath(""), 0);
    EXPECT_EQ(Name::GetIDFromPath("c:\\a"), 0);
}

TEST(Name, UntitledOnesKeepTheirNumber) {
    Name one, other;
    const std::string name = one.GetLogicalName();
    EXPECT_NE(other.GetLogicalName(), name);
    Name assigned;
    assigned = one;
    for (Name* same : {&one, &assigned}) EXPECT_EQ(same->GetLogicalName(), name);
    EXPECT_EQ(Name(one).GetLogicalName(), name);
}

TEST(Name, TemporaryOnesStandInTheWorkingFolder) {
    const Name elsewhere(R"(C:\a\b.txt)");
    std::vector<std::string> made;
    const auto expectNext = [&](const std::string& folder) {
        made.push_back(Name::GenerateTemporaryFilename());
        EXPECT_EQ(made.back(), folder + "\\~ZLQ" + std::to_string(made.size()) + ".tmp");
        EXPECT_EQ(Name::GetTemporaryFilenames(), made);
    };
    expectNext("");
    for (const char* const path : {"C:\\work", "C:\\work\\", "C:\\work\\\\\\"}) {
        Name::SetWorkingFolder(path);
        expectNext("C:\\work");
        expectNext("C:\\work");
    }
    Name::SetWorkingFolder("");
    expectNext("");
}

}  // namespace
