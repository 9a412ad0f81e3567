// One of everything that the library's operations work on, and all of it as text.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pzel/pzel.h"
#include "tests/component/component_helpers.h"
#include "tests/support/images.h"

namespace test {

struct DeleteRecord {
    void operator()(Image* image) const { DeleteImage(image); }
};
using OwnedRecord = std::unique_ptr<Image, DeleteRecord>;

/// Hears everything, and asks for nothing.
struct Listener final : Observer {
    void Update(IComponent*, int, std::intptr_t) override { ++heard; }
    int heard = 0;
};

OwnedRecord newImage(const Shape& shape);
Ref<Comp> newComp(const Shape& shape);

struct Scene {
    Scene();
    Scene(const Scene&) = delete;
    /// All that can be seen of it. A bound that nobody asked for yet counts as the one that would be made.
    std::string text() const;
    /// Takes what a call returns.
    void keep(Image* image) { kept.emplace_back(image); }

    Listener listener, other;
    OwnedRecord grey, colour, wide, yuv, mask, fresh;
    Ref<Comp> comp;     // colour: everything set that a component can own, and observed
    Ref<Comp> plain;    // grey, with nothing else
    Ref<Comp> outline;  // a boundary
    Ref<Comp> field;    // vectors
    Ref<Comp> spare;    // for what a call makes of a component
    Ref<Movie> movie;   // comp and outline, observed
    Ref<Movie> second;  // of plain components
    MovieScene ranges;
    FrameInfo frames;
    PluginParam params, sharing;
    Interface record;
    Zel::Name name, otherName;
    Bytes canvas;  // 24 columns and rows of 24 bits
    std::vector<OwnedRecord> kept;
    std::optional<Comp> copy;
    std::optional<Movie> movieCopy;

    ~Scene();
};

}  // namespace test
