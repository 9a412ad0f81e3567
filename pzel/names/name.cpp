// File names, the library's table of folders and its temporary names.
#include "pzel/names/name.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

constexpr char separator = '\\';

/// What all names share, for as long as the library is loaded.
struct Shared {
    std::vector<std::string> folders{""};  // a folder's number is its index
    std::int32_t workingFolder = 0;
    std::vector<std::string> temporaryNames;
    std::int32_t nextUntitled = 0;
    std::mutex lock;  // of all of these; taken by the functions of Name
};

Shared& shared() {
    static Shared state;
    return state;
}

// Of those that hold the lock:

/// The number of a folder, or of the next one to enter.
std::size_t numberOf(const std::string& path) {
    const auto& folders = shared().folders;
    return static_cast<std::size_t>(std::find(folders.begin(), folders.end(), path) - folders.begin());
}

std::string folderOf(long number) {
    const auto& folders = shared().folders;
    const auto index = static_cast<std::size_t>(number);  // beyond the end for negative numbers
    return index < folders.size() ? folders[index] : "";
}

/// Holds the table for as long as it lives.
std::lock_guard<std::mutex> locked() {
    return std::lock_guard<std::mutex>(shared().lock);
}

std::string nextUntitled() {
    const auto guard = locked();
    const std::int32_t number = shared().nextUntitled;
    std::string name = number == 0 ? "Untitled" : "Untitled_" + std::to_string(number);
    ++shared().nextUntitled;
    return name;
}

}  // namespace

namespace Zel {

Name::Name() = default;

Name::Name(const std::string& path) {
    SetName(path);
}

Name::Name(const char* path) : Name(std::string(path == nullptr ? "" : path)) {}

Name::Name(const Name&) = default;

Name& Name::operator=(const Name& other) {
    Name copy(other);
    std::swap(name, copy.name);
    std::swap(id, copy.id);
    std::swap(logicalName, copy.logicalName);
    std::swap(untitledName, copy.untitledName);
    return *this;
}

Name::~Name() = default;

void Name::Clear() {
    *this = Name();
}

void Name::SetName(std::string path) {
    const std::size_t end = path.rfind(separator);
    if (end == std::string::npos) {
        name = std::move(path);
        return;
    }
    std::string own = path.substr(end + 1);
    SetID(AddToFolderList(path.substr(0, end)));
    name = std::move(own);
}

std::string Name::GetName() const {
    return name;
}

std::string Name::GetFullPath() const {
    std::string path = GetPathFromID(id);
    if (!path.empty()) path += separator;
    return path + name;
}

void Name::SetLogicalName(const std::string& logical) {
    logicalName = logical;
}

std::string Name::GetLogicalName() {
    if (!logicalName.empty()) return logicalName;
    if (!name.empty()) return GetStemName();
    if (untitledName.empty()) untitledName = nextUntitled();
    return untitledName;
}

/// Where the extension's dot stands; the length of the name when there is none.
std::size_t Name::ExtensionStart() const {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name.size() : dot;
}

void Name::SetStemName(std::string stem) {
    name = std::move(stem) + name.substr(ExtensionStart());
}

std::string Name::GetStemName() const {
    return name.substr(0, ExtensionStart());
}

void Name::SetExtension(std::string extension) {
    if (name.empty()) return;
    if (extension.starts_with('.')) extension.erase(0, 1);
    std::string changed = GetStemName();
    if (!extension.empty()) changed += '.' + extension;
    name = std::move(changed);
}

std::string Name::GetExtension() const {
    const std::size_t dot = ExtensionStart();
    return dot == name.size() ? "" : name.substr(dot + 1);
}

long Name::GetID() const {
    return id;
}

void Name::SetID(long number) {
    id = static_cast<std::int32_t>(number);
}

bool Name::operator!() const {
    return name.empty();
}

Name::operator const void*() const {
    return name.empty() ? nullptr : this;
}

bool Name::operator==(const Name& other) const {
    return id == other.id && name == other.name;
}

long Name::AddToFolderList(std::string path) {
    const auto guard = locked();
    const std::size_t number = numberOf(path);
    if (number == shared().folders.size()) shared().folders.push_back(std::move(path));
    return static_cast<long>(number);
}

long Name::GetIDFromPath(std::string path) {
    const auto guard = locked();
    const std::size_t number = numberOf(path);
    return number == shared().folders.size() ? 0 : static_cast<long>(number);
}

std::string Name::GetPathFromID(long number) {
    const auto guard = locked();
    return folderOf(number);
}

void Name::SetWorkingFolder(std::string path) {
    if (path.ends_with(separator)) path.pop_back();
    const auto number = static_cast<std::int32_t>(AddToFolderList(std::move(path)));
    const auto guard = locked();
    shared().workingFolder = number;
}

std::string Name::GenerateTemporaryFilename() {
    const auto guard = locked();
    auto& names = shared().temporaryNames;
    std::string folder = folderOf(shared().workingFolder);
    while (folder.ends_with(separator)) folder.pop_back();
    std::string name = folder + "\\~ZLQ" + std::to_string(names.size() + 1) + ".tmp";
    names.push_back(name);
    return name;
}

const std::vector<std::string>& Name::GetTemporaryFilenames() {
    return shared().temporaryNames;
}

}  // namespace Zel
