// How components and movies are named: the name tag, else the file name, else a numbered default name that is
// made once and kept where the name tag would stand. Internal.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace pzel {

/// A family of default names: a text and the number of the next one. One for the whole library each.
class NumberedName {
  public:
    explicit NumberedName(const char* prefix) : text(prefix) {}

    std::string next() {
        const std::lock_guard guard(lock);
        std::string name = text + std::to_string(number);
        ++number;
        return name;
    }

  private:
    const char* text;
    std::uint32_t number = 1;
    std::mutex lock;  // names are asked for by objects of several threads
};

/// Stores a name in an owned, possibly empty slot.
inline void storeName(std::string*& slot, bool& isSet, std::string name) {
    if (slot == nullptr) {
        slot = new std::string(std::move(name));
    } else {
        *slot = std::move(name);
    }
    isSet = true;
}

inline const char* textOf(const std::string* slot) {
    return slot == nullptr ? "" : slot->c_str();
}

/// The fields of an object that hold its names.
struct NameFields {
    const std::string* filename;
    bool filenameSet;
    std::string*& nametag;
    bool nametagSet;
};

/// The name to show. Owned by the fields.
inline const char* shownName(const NameFields& fields, NumberedName& defaults) {
    if (fields.nametagSet) return textOf(fields.nametag);
    if (fields.filenameSet) return textOf(fields.filename);
    if (fields.nametag == nullptr) {
        auto slot = std::make_unique<std::string>();
        *slot = defaults.next();
        fields.nametag = slot.release();
    }
    return fields.nametag->c_str();
}

/// What follows the last backslash.
inline const char* shortName(const char* name) {
    const char* const backslash = std::strrchr(name, '\\');
    return backslash == nullptr ? name : backslash + 1;
}

}  // namespace pzel
