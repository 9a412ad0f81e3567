// Parameter lists: growth and sharing against a model, the names that match, limits and refusals.
#include "pzel/plugin/plugin_param.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

const char* const texts[] = {"zero", "2", "a text that is too long to be kept in place"};
const int ints[] = {2, 0, -1};

/// One parameter as a line: its name, its number and what it owns.
std::string describe(const PluginParam& list, int i) {
    std::string line = std::string(list.name(i)) + '=' + std::to_string(list.value(i).int32);
    if (list.text(i) != nullptr) line += list.text(i);
    if (list.strings(i) != nullptr) line += list.strings(i)[list.value(i).int32];
    if (list.ints(i) != nullptr) line += std::to_string(list.ints(i)[list.value(i).int32]);
    return line;
}

void add(PluginParam& list, int kind, int number) {
    const std::string name = "of_kind_" + std::to_string(kind);
    if (kind == 0) list.AddIntParam(name.c_str(), number, 0, 0);
    if (kind == 1) list.AddStringParam(name.c_str(), texts[number]);
    if (kind == 2) list.AddStrListParam(name.c_str(), texts, 3, number);
    if (kind == 3) list.AddIntListParam(name.c_str(), ints, 3, number);
}

/// A list, and what it must hold: lines that copies share until one of them needs others.
struct Pair {
    PluginParam list{0};
    std::shared_ptr<std::vector<std::string>> lines = std::make_shared<std::vector<std::string>>();
    std::size_t count = 0, capacity = 1;

    void append(const std::string& line) {
        const bool full = count == capacity;
        if (full) capacity += 4;
        if (lines.use_count() > 1 && (full || lines->size() > count)) {
            lines = std::make_shared<std::vector<std::string>>(lines->begin(), lines->begin() + count);
        }
        lines->resize(std::max(lines->size(), count + 1));
        (*lines)[count++] = line;
    }
    void setCount(int n) {
        list.SetCurrentParamNumber(n);
        count = static_cast<std::size_t>(n);
        lines->resize(std::max(lines->size(), count), "=0");
    }
    void replace(const std::string& line) {
        const auto sameName = [&](const std::string& old) { return old.starts_with(line.substr(0, 10)); };
        const auto found = std::find_if(lines->begin(), lines->begin() + count, sameName);
        if (found != lines->begin() + count) *found = line;
    }
    std::vector<std::string> held() const {
        std::vector<std::string> all;
        for (int i = 0; i < list.NumbOfParameters(); ++i) all.push_back(describe(list, i));
        return all;
    }
};

TEST(PluginParam, GrowsAndSharesLikeItsModel) {
    std::mt19937 random(1);
    const auto below = [&](std::size_t n) { return static_cast<int>(random() % n); };
    std::vector<Pair> pairs(4);
    for (int step = 0; step < 20000; ++step) {
        Pair& pair = pairs[below(4)];
        const int action = below(8), kind = below(action < 5 ? 2 : 4), number = below(3);
        PluginParam single(1);
        add(single, kind, number);
        if (action == 0) pair = pairs[below(4)];
        if (action == 1) pair = step % 3 == 0 ? Pair{} : Pair(pairs[below(4)]);
        if (action == 2) pair.setCount(below(pair.capacity + 1));
        if (action == 3 || action == 4) {
            if (kind == 0) pair.list.ChangeParameter("of kind 0", ParamInt, &number);
            if (kind == 1) pair.list.ChangeParameter("of kind 1", ParamString, texts[number]);
            pair.replace(describe(single, 0));
        }
        if (action > 4) add(pair.list, kind, number);
        if (action > 4) pair.append(describe(single, 0));
        for (const Pair& p : pairs) {
            ASSERT_EQ(p.held(), std::vector(p.lines->begin(), p.lines->begin() + p.count)) << "step " << step;
        }
    }
}

TEST(PluginParam, FindsNamesByKeys) {
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"max_size", "max size", true}, {"max_size", "max_size", true}, {"max size", "max_size", false},
        {"gain", "gain:2", true},       {"gain:", "gain", false},       {"gain", "gains", false},
        {"gain_", "gain", false},       {"gain", "gain ", false},       {"", ":", true}};
    for (const auto& [name, key, matches] : cases) {
        PluginParam list(1);
        list.AddBoolParam(name, false);
        list.ChangeParameter(key, ParamInt, "1");
        EXPECT_EQ(list.value(0).int32, matches) << name << " by " << key;
    }
}

TEST(PluginParam, ChoosesEntriesAndRefusesTheRest) {
    PluginParam list(1);
    list.AddStrListParam("s", texts, 3, 99);
    list.AddIntListParam("i", ints, 3, -99);
    list.AddIntListParam("none", nullptr, 3, 1);
    list.AddStringParam("t", "text");
    list.AddParameter("byte", static_cast<ParameterType>(2), {200}, {0}, {100});
    const int here = 2, outside = 3;
    const auto choice = [&](int i, auto given) {
        list.ChangeParameter(list.name(i), i == 0 ? ParamStrList : ParamIntList, given);
        return list.maximum(i).int32 * 10 + list.value(i).int32;
    };
    EXPECT_EQ(list.value(0).int32 - list.value(1).int32, 2);
    EXPECT_EQ(list.minimum(0).int32 - list.minimum(2).int32, 3);
    EXPECT_EQ(choice(0, "zero"), 0);
    EXPECT_EQ(choice(0, &here), 22);
    EXPECT_EQ(choice(0, "2"), 11);  // the entry, not the index
    for (const char* bad : {"zer", "3", "-1", "", "0 or so", "4294967296"})
        EXPECT_EQ(choice(0, bad), 11) << bad;
    EXPECT_EQ(choice(0, &outside), 11);
    EXPECT_EQ(choice(1, "-1"), 22);
    EXPECT_EQ(choice(1, "1"), 11);  // the index: there is no such entry
    EXPECT_EQ(choice(2, "0"), 0);

    // A type that is not the parameter's, a name that is none's, and nothing at all.
    const unsigned char byte = 9;
    for (int i = 0; i < list.NumbOfParameters(); ++i) {
        const std::string before = describe(list, i);
        for (const char type : std::initializer_list<char>{ParamInt, ParamFloat})
            list.ChangeParameter(list.name(i), type, &here);
        list.ChangeParameter(list.name(i), 2, &byte);
        list.ChangeParameter(i == 3 ? "u" : list.name(i), ParamString, "new");
        for (const char type : std::initializer_list<char>{ParamStrList, ParamIntList, ParamString}) {
            list.ChangeParameter(list.name(i), type, static_cast<const void*>(nullptr));
            list.ChangeParameter(list.name(i), type, static_cast<const char*>(nullptr));
        }
        list.ChangeParameter(nullptr, ParamString, "new");
        EXPECT_EQ(describe(list, i), before);
    }
}

}  // namespace
