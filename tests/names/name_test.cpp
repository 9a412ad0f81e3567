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

}  // namespace
