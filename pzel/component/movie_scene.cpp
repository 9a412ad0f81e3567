// The life of a scene as a value: copies of strings and ranges that share nothing. Who keeps scenes, and who
// hears of them, is the component's business.
#include "pzel/component/movie_scene.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <memory>
#include <utility>

namespace {

std::unique_ptr<char[]> copyText(const char* text) {
    const std::size_t bytes = text == nullptr ? 1 : std::strlen(text) + 1;
    auto copy = std::make_unique<char[]>(bytes);
    if (text != nullptr) std::memcpy(copy.get(), text, bytes);
    return copy;
}

}  // namespace

MovieScene::MovieScene(const char* sceneName, const char* sceneDescription, std::uint32_t count,
                       const Range* from)
    : numbRanges(count) {
    assert(count == 0 || from != nullptr);
    auto nameCopy = copyText(sceneName);
    auto descriptionCopy = copyText(sceneDescription);
    if (count > 0) {
        ranges = new Range[count];
        std::copy_n(from, count, ranges);
    }
    name = nameCopy.release();
    description = descriptionCopy.release();
}

MovieScene::MovieScene(const MovieScene& other)
    : MovieScene(other.name, other.description, other.numbRanges, other.ranges) {}

MovieScene::MovieScene(MovieScene&& other) noexcept
    : name(std::exchange(other.name, nullptr)),
      description(std::exchange(other.description, nullptr)),
      numbRanges(std::exchange(other.numbRanges, 0)),
      ranges(std::exchange(other.ranges, nullptr)) {}

// `other` is a value of its own: it leaves with what this scene held.
MovieScene& MovieScene::operator=(MovieScene other) noexcept {
    std::swap(name, other.name);
    std::swap(description, other.description);
    std::swap(numbRanges, other.numbRanges);
    std::swap(ranges, other.ranges);
    return *this;
}

MovieScene::~MovieScene() {
    delete[] name;
    delete[] description;
    delete[] ranges;
}

void MovieScene::AddRange(unsigned long first, unsigned long last) {
    const Range added{static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last)};
    Range* const end = ranges + numbRanges;
    Range* const at = std::find_if(ranges, end, [&](const Range& r) { return r.first >= added.first; });
    auto* const grown = new Range[numbRanges + std::size_t{1}];
    Range* const place = std::copy(ranges, at, grown);
    *place = added;
    std::copy(at, end, place + 1);
    delete[] ranges;
    ranges = grown;
    ++numbRanges;
}

void MovieScene::RemoveRange(unsigned long first, unsigned long last) {
    const Range removed{static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last)};
    Range* const end = ranges + numbRanges;
    Range* const found = std::find(ranges, end, removed);
    if (found == end) return;
    std::copy(found + 1, end, found);
    --numbRanges;
}
