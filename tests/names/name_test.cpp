// Names of files: the table of folders, stems and extensions, logical and temporary names.
#include "pzel/names/name.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

using Zel::Name;

namespace {

/// What a program sees that has just loaded the library: made before any test runs.
const struct Fresh {
    long unknown = Name::GetIDFromPath("C:\\a");
    Name first{"C:\\a\\b.txt"};
    std::string temporary = Name::GenerateTemporaryFilename();
    std::string untitled = Name().GetLogicalName();
    std::string untitled1 = Name().GetLogicalName();
} fresh;

TEST(Name, KeepsFoldersApart) {
    std::mt19937 random(2);
    static std::map<std::string, long> numbers;  // the table outlives the test
    Name name;
    for (int i = 0; i < 2000; ++i) {
        const std::string folder = "D:\\" + std::to_string(random() % 60) + (random() % 2 ? "\\x" : "\\X");
        ASSERT_EQ(Name::GetIDFromPath(folder), numbers.count(folder) ? numbers[folder] : 0);
        name.SetName(folder + "\\file");
        static const long first = name.GetID();
        if (numbers.emplace(folder, name.GetID()).second) {
            ASSERT_EQ(name.GetID() - first + 1, static_cast<long>(numbers.size()));
        }
        ASSERT_EQ(name.GetFullPath(), folder + "\\file");
        ASSERT_EQ(name.GetID(), numbers[folder]);
    }
    for (const long unknown : {-1L, 100000L}) {
        name.SetID(unknown);
        EXPECT_EQ(name.GetFullPath(), name.GetName());
    }
}

TEST(Name, SplitsStemAndExtension) {
    const char* const cases[][3] = {{"a.tar.gz", "a.tar", "gz"},
                                    {".profile", ".profile", ""},
                                    {"bare", "bare", ""},
                                    {".hidden.txt", ".hidden", "txt"},
                                    {"end.", "end", ""}};
    for (const auto& [text, stem, extension] : cases) {
        Name name(std::string("G:\\dot.ted\\") + text);
        EXPECT_EQ(name.GetStemName() + "|" + name.GetExtension(), std::string(stem) + "|" + extension);
        name.SetStemName(name.GetStemName());
        EXPECT_EQ(name.GetName(), text);
        for (const char* given : {"e", ".e"}) {
            name.SetExtension(given);
            EXPECT_EQ(name.GetName(), std::string(stem) + ".e");
        }
        name.SetStemName("new");
        EXPECT_EQ(name.GetName(), "new.e");
        name.SetExtension("");
        EXPECT_EQ(name.GetFullPath(), "G:\\dot.ted\\new");
    }
}

TEST(Name, ShowsALogicalName) {
    Name name;
    const std::string untitled = name.GetLogicalName();
    EXPECT_NE(untitled, Name().GetLogicalName());
    name.SetName("H:\\cells.tif");
    EXPECT_EQ(name.GetLogicalName(), "cells");
    name.SetLogicalName("Cells, day 2");
    name.SetName("");
    EXPECT_EQ(name.GetLogicalName(), "Cells, day 2");
    name.SetLogicalName("");
    EXPECT_EQ(name.GetLogicalName(), untitled);
}

TEST(Name, CountsFromTheStart) {
    EXPECT_EQ(fresh.unknown, 0);
    EXPECT_EQ(fresh.first.GetID(), 1);
    EXPECT_EQ(fresh.untitled + fresh.untitled1, "UntitledUntitled_1");
    const auto& files = Name::GetTemporaryFilenames();
    EXPECT_EQ(fresh.temporary + files.front(), "\\~ZLQ1.tmp\\~ZLQ1.tmp");
    for (const char* folder : {"C:\\work", "C:\\work\\", "C:\\work\\\\\\"}) {
        Name::SetWorkingFolder(folder);
        const std::string expected = "C:\\work\\~ZLQ" + std::to_string(files.size() + 1) + ".tmp";
        EXPECT_EQ(Name::GenerateTemporaryFilename(), expected);
        EXPECT_EQ(files.back(), expected);
        EXPECT_EQ(Name::GetIDFromPath("C:\\work\\"), 0);
    }
}

}  // namespace
