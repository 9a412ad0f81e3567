// Parameter lists: records that copies of a list share, and how their values change.
#include "pzel/plugin/plugin_param.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int growth = 4;
constexpr int most = std::numeric_limits<short>::max();

AnyType ofInt(int number) {
    AnyType value;
    value.int32 = number;
    return value;
}

AnyType ofFloat(float number) {
    AnyType value;
    value.float32 = number;
    return value;
}

bool isList(int type) {
    return type == ParamStrList || type == ParamIntList;
}

/// What comes neither below nor above: also brings not-a-number to the lower limit.
template <class T>
T clamped(T value, T low, T high) {
    if (!(low < high)) return value;
    return value >= low ? std::min(value, high) : low;
}

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

int saturated(long number) {
    constexpr std::numeric_limits<int> range;
    return static_cast<int>(std::clamp<long>(number, range.min(), range.max()));
}

}  // namespace

// Copies share the entries, which never change, so that the pointers to them hold in all copies.
struct PluginParam::Parameter {
    std::string name;
    ParameterType type{};
    AnyType value = ofInt(0);
    AnyType minimum = ofInt(0);
    AnyType maximum = ofInt(0);
    std::string text{};
    std::shared_ptr<const std::vector<std::string>> entries{};
    std::vector<const char*> strings{};  // into `entries`
    std::vector<int> ints{};

    int length() const { return static_cast<int>(type == ParamStrList ? strings.size() : ints.size()); }

    bool isEntry(int index, const char* key) const {
        const auto i = static_cast<std::size_t>(index);
        return type == ParamStrList ? (*entries)[i] == key : std::to_string(ints[i]) == key;
    }

    /// The index that a text chooses, or -1.
    int indexOf(const char* key) const {
        for (int i = 0; i < length(); ++i) {
            if (isEntry(i, key)) return i;
        }
        char* end;
        const long index = std::strtol(key, &end, 10);
        return end == key || *end != '\0' ? -1 : saturated(index);
    }
};

// Growing in place leaves a deque's records where they are, and with them the texts that were handed out.
struct PluginParam::Records {
    std::deque<Parameter> list;
    int used = 0;  // records that some list counts or counted
};

PluginParam::PluginParam(short room)
    : count(0), capacity(std::max<short>(room, 1)), records(std::make_shared<Records>()) {
    records->list.resize(static_cast<std::size_t>(capacity));
}

PluginParam::PluginParam(const PluginParam&) = default;
PluginParam& PluginParam::operator=(const PluginParam&) = default;
PluginParam::~PluginParam() = default;

PluginParam::Parameter& PluginParam::At(int i) const {
    return records->list[static_cast<std::size_t>(i)];
}

/// Makes the record after the last one this list's to write.
void PluginParam::MakeRoom() {
    const bool full = count >= capacity;
    const bool shared = records.use_count() > 1;
    std::shared_ptr<Records> room = records;
    if (shared && (full || count < records->used)) {
        room = std::make_shared<Records>();
        room->list.assign(records->list.begin(), records->list.begin() + count);
    }
    const int wanted = full ? std::min(capacity + growth, most) : capacity;
    room->list.resize(static_cast<std::size_t>(wanted));
    records = std::move(room);
    capacity = static_cast<short>(wanted);
}

// The record is complete before the array is touched: its texts may come from there.
void PluginParam::Append(Parameter record, AnyType value, AnyType minimum, AnyType maximum) {
    if (count == most) return;
    SetValue(&record, value, minimum, maximum);
    MakeRoom();
    At(count++) = std::move(record);
    records->used = std::max<int>(records->used, count);
}

void PluginParam::AddParameter(const char* key, ParameterType type, AnyType value, AnyType minimum,
                               AnyType maximum) {
    Append({orEmpty(key), type}, value, minimum, maximum);
}

void PluginParam::AddBoolParam(const char* key, bool value) {
    AddIntParam(key, value, 0, 1);
}

void PluginParam::AddIntParam(const char* key, int value, int minimum, int maximum) {
    AddParameter(key, ParamInt, ofInt(value), ofInt(minimum), ofInt(maximum));
}

void PluginParam::AddFloatParam(const char* key, float value, float minimum, float maximum) {
    AddParameter(key, ParamFloat, ofFloat(value), ofFloat(minimum), ofFloat(maximum));
}

void PluginParam::AddStringParam(const char* key, const char* value) {
    Parameter record{orEmpty(key), ParamString};
    record.text = orEmpty(value);
    Append(std::move(record), ofInt(0), ofInt(0), ofInt(0));
}

void PluginParam::AddStrListParam(const char* key, const char* const* list, int length, int index) {
    Parameter record{orEmpty(key), ParamStrList};
    std::vector<std::string> entries;
    for (int i = 0; list != nullptr && i < length; ++i) entries.emplace_back(orEmpty(list[i]));
    record.entries = std::make_shared<const std::vector<std::string>>(std::move(entries));
    for (const std::string& entry : *record.entries) record.strings.push_back(entry.c_str());
    Append(std::move(record), ofInt(index), ofInt(length), ofInt(index));
}

void PluginParam::AddIntListParam(const char* key, const int* list, int length, int index) {
    Parameter record{orEmpty(key), ParamIntList};
    if (list != nullptr && length > 0) record.ints.assign(list, list + length);
    Append(std::move(record), ofInt(index), ofInt(length), ofInt(index));
}

/// 0 when a key names the parameter, else 1.
int PluginParam::Compare(const char* parameter, const char* key) {
    for (;; ++parameter, ++key) {
        if (*parameter == *key) {
            if (*key == '\0') return 0;
        } else if (*parameter != '_' || *key != ' ') {
            return *parameter == '\0' && *key == ':' ? 0 : 1;
        }
    }
}

PluginParam::Parameter* PluginParam::Find(const char* key) const {
    if (key == nullptr) return nullptr;
    for (int i = 0; i < count; ++i) {
        if (Compare(At(i).name.c_str(), key) == 0) return &At(i);
    }
    return nullptr;
}

void PluginParam::SetValue(Parameter* record, AnyType value, AnyType minimum, AnyType maximum) {
    if (record->type == ParamInt) {
        value.int32 = clamped(value.int32, minimum.int32, maximum.int32);
    } else if (record->type == ParamFloat) {
        value.float32 = clamped(value.float32, minimum.float32, maximum.float32);
    } else if (isList(record->type)) {
        minimum.int32 = record->length();
        maximum.int32 = value.int32 = std::clamp(value.int32, 0, std::max(minimum.int32 - 1, 0));
    } else if (record->type == ParamString) {
        value = minimum = maximum = ofInt(0);
    }
    record->value = value;
    record->minimum = minimum;
    record->maximum = maximum;
}

void PluginParam::SetValue(Parameter* record, char type, AnyType value) {
    if (record->type != type) return;
    const bool outside = value.int32 < 0 || value.int32 >= record->length();
    if (isList(type) && outside) return;
    SetValue(record, value, record->minimum, record->maximum);
}

void PluginParam::ChangeParameter(const char* key, char type, const void* data) {
    if (type == ParamString) return ChangeParameter(key, type, static_cast<const char*>(data));
    Parameter* const record = Find(key);
    const bool isNumber = type == ParamInt || type == ParamFloat;
    if (record == nullptr || data == nullptr || !(isNumber || isList(type))) return;
    AnyType value;
    std::memcpy(&value, data, sizeof value);
    SetValue(record, type, value);
}

void PluginParam::ChangeParameter(const char* key, char type, const char* newText) {
    Parameter* const record = Find(key);
    if (record == nullptr || newText == nullptr) return;
    if (type == ParamInt) {
        SetValue(record, type, ofInt(saturated(std::strtol(newText, nullptr, 10))));
    } else if (type == ParamFloat) {
        SetValue(record, type, ofFloat(std::strtof(newText, nullptr)));
    } else if (isList(type)) {
        SetValue(record, type, ofInt(record->indexOf(newText)));
    } else if (type == ParamString && record->type == type) {
        record->text = std::string(newText);  // a copy first: the new text may be part of the old
    }
}

int PluginParam::NumbOfParameters() const {
    return count;
}

void PluginParam::SetCurrentParamNumber(int n) {
    assert(n >= 0 && n <= capacity);
    count = static_cast<short>(n);
    records->used = std::max(records->used, n);
}

ParameterType PluginParam::type(int i) const {
    return At(i).type;
}

char* PluginParam::name(int i) const {
    return At(i).name.data();
}

AnyType PluginParam::value(int i) const {
    return At(i).value;
}

AnyType PluginParam::minimum(int i) const {
    return At(i).minimum;
}

AnyType PluginParam::maximum(int i) const {
    return At(i).maximum;
}

const char* PluginParam::text(int i) const {
    return At(i).type == ParamString ? At(i).text.c_str() : nullptr;
}

const char* const* PluginParam::strings(int i) const {
    return At(i).strings.empty() ? nullptr : At(i).strings.data();
}

const int* PluginParam::ints(int i) const {
    return At(i).ints.empty() ? nullptr : At(i).ints.data();
}
