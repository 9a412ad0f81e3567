// A scene: a named list of frame ranges.
#pragma once

#include <cstdint>
#include <utility>

#include "pzel/export.h"

/// A name, a description and frame ranges (first, last), inclusive at both ends. A value: copies share
/// nothing.
class PZEL_API MovieScene {
  public:
    using Range = std::pair<std::uint32_t, std::uint32_t>;

    MovieScene() = default;
    /// Copies of both strings (null stands for "") and of `numbRanges` ranges, kept in their order.
    MovieScene(const char* name, const char* description, std::uint32_t numbRanges, const Range* ranges);
    MovieScene(const MovieScene& other);
    MovieScene(MovieScene&& other) noexcept;
    MovieScene& operator=(MovieScene other) noexcept;
    ~MovieScene();

    /// Inserts a range before the first one that does not start earlier; nothing is merged.
    void AddRange(unsigned long first, unsigned long last);
    /// Removes the first range that is exactly this one; nothing where there is none.
    void RemoveRange(unsigned long first, unsigned long last);

    char* name = nullptr;          ///< owned, from `new[]`
    char* description = nullptr;   ///< owned, from `new[]`
    std::uint32_t numbRanges = 0;  ///< entries of `ranges`
    Range* ranges = nullptr;       ///< owned, from `new[]`
};
