// Parameters, call records, names of files and the message box.
#include <cstring>

#include "tests/fuzz/rows.h"

namespace fuzz {

namespace {

PluginParam& list(World& w) {
    auto& one = w.lists[std::size_t(w.draw(0, World::kLists - 1))];
    w.touch(World::Lists);
    if (!one) one.emplace(short(w.draw(0, 3)));
    return *one;
}

/// Copies of a list share what one of them changes, so that both count as touched.
template <class F>
void appended(World& w, ParameterType type, F&& add) {
    PluginParam& p = list(w);
    const int before = p.NumbOfParameters();
    if (before > 40) return;
    add(p);
    HOLDS(p.NumbOfParameters() == before + 1 && p.type(before) == type);
    HOLDS((type == ParamString) == (p.text(before) != nullptr));
}

Interface& record(World& w) {
    w.touch(World::Call);
    if (!w.record) {
        w.record.emplace();
        InterfaceInit(&*w.record);
    }
    return *w.record;
}

ExData* block(World& w, Interface& r, int tag) {
    ExData* const made = CALL(MoreExData, &r);
    made->tag = u16(tag);
    return made;
}

Zel::Name& name(World& w) {
    w.touch(World::Names);
    return w.names[std::size_t(w.draw(0, World::kNames - 1))];
}

std::string stemOf(const std::string& file) {
    const auto dot = file.rfind('.');
    return dot == std::string::npos || dot == 0 ? file : file.substr(0, dot);
}

}  // namespace

void addPluginRows(Table& table) {
    // Parameters.
    table.basic("PluginParam", [](World& w) {
        auto& one = w.lists[std::size_t(w.draw(0, World::kLists - 1))];
        w.touch(World::Lists);
        one.emplace(CALL(PluginParam, short(w.draw(-1, 5))));
        HOLDS(one->NumbOfParameters() == 0);
    });
    table.basic("PluginParam, copied and assigned", [](World& w) {
        PluginParam& from = list(w);
        PluginParam copy = CALL(PluginParam, from);
        PluginParam& to = list(w);
        CALL_ON(&to, operator=, copy);
        HOLDS(to.NumbOfParameters() == copy.NumbOfParameters());
        for (int i = 0; i < to.NumbOfParameters(); ++i)
            HOLDS(!std::strcmp(CALL_ON(&to, name, i), CALL_ON(&copy, name, i)));
    });
    table.strong("AddParameter", [](World& w) {
        const int type = w.draw.pick<int>({ParamInt, ParamFloat, 3, ParamString, ParamIntList});
        const int element = type == ParamFloat ? int(DataFloat) : int(DataInt32);
        const AnyType value = w.element(element), low = w.element(element), high = w.element(element);
        appended(w, ParameterType(type), [&](PluginParam& p) {
            CALL_ON(&p, AddParameter, w.text(), ParameterType(type), value, low, high);
            const int i = CALL_ON(&p, NumbOfParameters) - 1;
            if (type == ParamInt && low.int32 < high.int32)
                HOLDS(CALL_ON(&p, value, i).int32 == std::clamp(value.int32, low.int32, high.int32));
            if (type == ParamFloat && low.float32 < high.float32)
                HOLDS(p.value(i).float32 >= low.float32 && p.value(i).float32 <= high.float32);
        });
    });
    table.strong("AddBoolParam, AddIntParam, AddFloatParam", [](World& w) {
        const int kind = w.draw(0, 2), value = w.draw(-9, 9);
        appended(w, kind == 2 ? ParamFloat : ParamInt, [&](PluginParam& p) {
            if (kind == 0) CALL_ON(&p, AddBoolParam, w.text(), value > 0);
            if (kind == 1) CALL_ON(&p, AddIntParam, w.text(), value, -5, 5);
            if (kind == 2) CALL_ON(&p, AddFloatParam, w.text(), float(value), -5.f, 5.f);
            const int i = p.NumbOfParameters() - 1, wanted = std::clamp(value, -5, 5);
            if (kind == 0)
                HOLDS(p.value(i).int32 == (value > 0) && CALL_ON(&p, minimum, i).int32 == 0 &&
                      CALL_ON(&p, maximum, i).int32 == 1);
            if (kind == 1) HOLDS(p.value(i).int32 == wanted);
            if (kind == 2) HOLDS(p.value(i).float32 == float(wanted));
        });
    });
    table.strong("AddStringParam", [](World& w) {
        const char* const value = w.draw.oneIn(9) ? nullptr : w.text();
        appended(w, ParamString, [&](PluginParam& p) {
            CALL_ON(&p, AddStringParam, w.text(), value);
            HOLDS(!std::strcmp(CALL_ON(&p, text, p.NumbOfParameters() - 1), value ? value : ""));
        });
    });
    table.strong("AddStrListParam", [](World& w) {
        const char* entries[] = {w.text(), w.text(), w.draw.oneIn(5) ? nullptr : w.text()};
        const int length = w.draw(-1, 3), index = w.draw(-2, 4);
        appended(w, ParamStrList, [&](PluginParam& p) {
            CALL_ON(&p, AddStrListParam, w.text(), entries, length, index);
            const int i = p.NumbOfParameters() - 1;
            const char* const* const strings = CALL_ON(&p, strings, i);
            HOLDS((strings == nullptr) == (length < 1));
            if (length > 0)
                HOLDS(p.value(i).int32 == std::clamp(index, 0, length - 1) &&
                      !std::strcmp(strings[0], entries[0] ? entries[0] : ""));
        });
    });
    table.strong("AddIntListParam", [](World& w) {
        const int entries[] = {3, -1, 7}, length = w.draw(-1, 3), index = w.draw(-2, 4);
        appended(w, ParamIntList, [&](PluginParam& p) {
            CALL_ON(&p, AddIntListParam, w.text(), entries, length, index);
            const int i = p.NumbOfParameters() - 1;
            const int* const ints = CALL_ON(&p, ints, i);
            HOLDS((ints == nullptr) == (length < 1) && (length < 1 || ints[0] == 3));
            if (length > 0) HOLDS(p.value(i).int32 == std::clamp(index, 0, length - 1));
        });
    });
    table.strong("ChangeParameter by value", [](World& w) {
        PluginParam& p = list(w);
        const int type = w.draw.pick<int>({ParamInt, ParamFloat, ParamString, ParamStrList, ParamIntList, 2});
        const int number = w.draw(-9, 9);
        const float real = w.real();
        const void* data = type == ParamString  ? static_cast<const void*>(w.text())
                           : type == ParamFloat ? static_cast<const void*>(&real)
                                                : &number;
        if (w.draw.oneIn(9)) data = nullptr;
        const int before = p.NumbOfParameters();
        CALL_ON(&p, ChangeParameter, w.text(), char(type), data);
        HOLDS(p.NumbOfParameters() == before);
    });
    table.strong("ChangeParameter by text", [](World& w) {
        PluginParam& p = list(w);
        const char* const value = w.draw.oneIn(9) ? nullptr : w.text();
        const int before = p.NumbOfParameters();
        CALL_ON(&p, ChangeParameter, w.text(), char(w.draw(5, 12)), value);
        HOLDS(p.NumbOfParameters() == before);
    });
    table.never("SetCurrentParamNumber, type, value", [](World& w) {
        PluginParam& p = list(w);
        const int n = w.draw(0, p.NumbOfParameters());
        CALL_ON(&p, SetCurrentParamNumber, n);
        HOLDS(CALL_ON(&p, NumbOfParameters) == n);
        if (n > 0) w.see(u64(CALL_ON(&p, type, n - 1)));
    });
    // Call records.
    table.never("InterfaceInit, InterfaceCleanup", [](World& w) {
        Interface& r = record(w);
        const u32 blocks = r.numbExData;
        CALL(InterfaceCleanup, &r);
        HOLDS(!r.movie && !r.exData && r.numbExData == blocks);
        CALL(InterfaceInit, &r);
        HOLDS(r.numbExData == 0 && r.state == InterfaceReady);
    });
    table.basic("MoreExData, GetRectangle, GetInterval, FindUserRequest", [](World& w) {
        Interface& r = record(w);
        if (r.numbExData > 12) return;
        const int tag =
            w.draw.pick<int>({ExDataRectangle, ExDataInterval, ExDataIteration, ExDataUserRequest});
        static SRect rectangle{1, 2, 3, 4};
        static YInterval interval{3, 9};
        static char request[] = "please";
        bool first = true;
        for (u32 i = 0; i < r.numbExData; ++i) first = first && r.exData[i].tag != tag;
        ExData* const made = block(w, r, tag);
        HOLDS(made->data == nullptr && made->flags == 0 && r.numbExData > 0 &&
              made == r.exData + r.numbExData - 1);
        const bool owned = w.draw.coin();
        const auto put = [&]<class T>(T& value, std::size_t bytes) {
            made->data =
                owned ? std::memcpy(::operator new(bytes), &value, bytes) : static_cast<void*>(&value);
            made->flags = owned ? u16(ExDataOwned) : u16(0);
        };
        if (tag == ExDataRectangle)
            put(rectangle, sizeof rectangle), HOLDS(!first || CALL(GetRectangle, &r) == made->data);
        if (tag == ExDataInterval)
            put(interval, sizeof interval), HOLDS(!first || CALL(GetInterval, &r) == made->data);
        if (tag == ExDataUserRequest)
            put(request, sizeof request), HOLDS(!first || CALL(FindUserRequest, &r) == made->data);
    });
    table.never("DeleteExData", [](World& w) {
        Interface& r = record(w);
        const auto count = int(std::exchange(r.numbExData, 0u));
        CALL(DeleteExData, std::exchange(r.exData, nullptr), count);
    });
    table.basic("AddUserData, GetUserData", [](World& w) {
        Interface& r = record(w);
        if (r.numbExData > 12) return;
        void* const before = CALL(GetUserData, &r);
        CALL(AddUserData, &r, &w);
        HOLDS(CALL(GetUserData, &r) == &w || before == &w);
    });
    table.never("SetIterationNumber", [](World& w) {
        Interface& r = record(w);
        const u32 before = r.numbExData;
        CALL(SetIterationNumber, &r, w.draw(0, 99));
        HOLDS(r.numbExData == before);
    });
    table.never("GetMovieRange", [](World& w) {
        Interface& r = record(w);
        int start = 7, length = 7;
        const YInterval* const interval = GetInterval(&r);
        if (r.exData && !interval) return;
        CALL(GetMovieRange, w.draw.oneIn(9) ? nullptr : &r, start, length);
        HOLDS((start == -1 && length == -1) ||
              (interval && start == interval->start && length == interval->end - interval->start));
    });
    // Names.
    table.basic("Name", [](World& w) {
        const std::string path = w.text();
        Zel::Name& to = name(w);
        to = Zel::Name();
        Zel::Name one = w.draw.coin() ? CALL(Zel::Name, path) : CALL(Zel::Name, path.c_str());
        const Zel::Name copy = CALL(Zel::Name, one);
        HOLDS(CALL_ON(&copy, operator==, one) && CALL_ON(&one, operator!) == one.GetName().empty());
        HOLDS((CALL_ON(&one, operator const void*) != nullptr) == !CALL_ON(&one, GetName).empty());
        CALL_ON(&to, operator=, one);
        HOLDS(to == one && !(Zel::Name() == one) == !(one.GetName().empty() && one.GetID() == 0));
    });
    table.strong("SetName, GetFullPath, GetIDFromPath, GetPathFromID", [](World& w) {
        Zel::Name& one = name(w);
        const std::string path = w.text();
        const auto bar = path.rfind('\\');
        const std::string file = bar == std::string::npos ? path : path.substr(bar + 1);
        const long before = one.GetID();
        CALL_ON(&one, SetName, path);
        HOLDS(one.GetName() == file);
        const std::string folder = CALL(Zel::Name::GetPathFromID, CALL_ON(&one, GetID));
        HOLDS(bar == std::string::npos ? one.GetID() == before : folder == path.substr(0, bar));
        HOLDS(CALL(Zel::Name::GetIDFromPath, folder) == one.GetID());
        HOLDS(CALL_ON(&one, GetFullPath) == (folder.empty() ? file : folder + '\\' + file));
    });
    table.strong("SetLogicalName, GetLogicalName", [](World& w) {
        Zel::Name& one = name(w);
        const std::string logical = w.text();
        CALL_ON(&one, SetLogicalName, logical);
        const std::string shown = CALL_ON(&one, GetLogicalName);
        HOLDS(!logical.empty() ? shown == logical
              : !one.GetName().empty() && !stemOf(one.GetName()).empty()
                  ? shown == stemOf(one.GetName())
                  : shown.rfind("Untitled", 0) == 0 || one.GetName().empty());
    });
    table.strong("SetStemName, GetStemName", [](World& w) {
        Zel::Name& one = name(w);
        const std::string before = one.GetName(), stem = CALL_ON(&one, GetStemName);
        const std::string rest = before.substr(stem.size());
        HOLDS(stem == stemOf(before) && CALL_ON(&one, GetExtension) == rest.substr(!rest.empty()));
        CALL_ON(&one, SetStemName, std::string("stem"));
        HOLDS(one.GetName() == "stem" + rest);
    });
    table.strong("SetExtension", [](World& w) {
        Zel::Name& one = name(w);
        const std::string extension = w.draw.pick({"", "tif", ".png"}), before = one.GetName(),
                          stem = one.GetStemName();
        CALL_ON(&one, SetExtension, extension);
        const std::string wanted = extension.substr(extension[0] == '.');
        HOLDS(one.GetName() == (before.empty() ? "" : wanted.empty() ? stem : stem + '.' + wanted));
    });
    table.never("Clear, SetID", [](World& w) {
        Zel::Name& one = name(w);
        const long id = w.draw(-1, 9);
        CALL_ON(&one, SetID, id);
        HOLDS(one.GetID() == id && (id > 0 || one.GetFullPath() == one.GetName()));
        CALL_ON(&one, Clear);
        HOLDS(!one && one.GetID() == 0 && one.GetFullPath().empty());
    });
    table.strong("SetWorkingFolder", [](World& w) {
        CALL(Zel::Name::SetWorkingFolder, std::string(w.text()));
        Zel::Name::SetWorkingFolder("");
    });
    table.strong("GenerateTemporaryFilename, GetTemporaryFilenames", [](World& w) {
        if (!w.draw.oneIn(64)) return;  // they are kept for good
        const long before = test::liveBlocks();
        const std::string made = CALL(Zel::Name::GenerateTemporaryFilename);
        HOLDS(CALL(Zel::Name::GetTemporaryFilenames).back() == made);
        w.keptBlocks += test::liveBlocks() - before - (made.capacity() > 15);
    });
    table.never("SetMessageBox", [](World& w) {
        const Zel::MessageBoxHandler mine = [](const char*) {};
        const Zel::MessageBoxHandler before = CALL(Zel::SetMessageBox, mine);
        HOLDS(CALL(Zel::SetMessageBox, before) == mine);
    });
    table.never("SetRunner", [](World& w) {
        const Zel::Runner mine = [](int count, Zel::Task task, void* work) {
            while (count > 0) task(work, --count);
        };
        const Zel::Runner before = CALL(Zel::SetRunner, mine);
        HOLDS(CALL(Zel::SetRunner, before) == mine);
    });
}

}  // namespace fuzz
