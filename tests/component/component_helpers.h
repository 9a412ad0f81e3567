// What the tests of components share: an observer that writes a log, a remapper that is counted, references
// that release themselves, and components with pixels.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "pzel/component/comp.h"
#include "pzel/component/movie.h"
#include "pzel/component/movie_scene.h"
#include "pzel/image/lifecycle.h"
#include "tests/support/curve.h"

/// Logs "source event(param)", objects by the letters in `names`. Must outlive what it watches.
struct Recorder final : Observer {
    void Update(IComponent* source, int event, std::intptr_t param) override {
        log += nameOf(reinterpret_cast<std::intptr_t>(source)) + std::to_string(event);
        const SRect* const extent = event == EventLocation ? reinterpret_cast<const SRect*>(param) : nullptr;
        if (extent != nullptr) log += "@" + std::to_string(extent->right);
        if (extent == nullptr && param != 0) log += "(" + nameOf(param) + ")";
        log += " ";
        if (onEvent) onEvent(event);
    }
    void name(char letter, const IComponent* object) {
        names[reinterpret_cast<std::intptr_t>(object)] = letter;
    }
    std::string nameOf(std::intptr_t p) {
        return names.count(p) ? std::string(1, names[p]) : std::to_string(p);
    }
    std::string take() { return std::exchange(log, {}); }
    std::map<std::intptr_t, char> names;
    std::string log;
    std::function<void(int)> onEvent;
};

struct Tone final : test::Curve {
    explicit Tone(int number) : id(number) { ++alive; }
    ~Tone() override { --alive; }
    bool IsEqual(const Remapper& other) const override { return static_cast<const Tone&>(other).id == id; }
    Remapper* Clone() const override { return new Tone(id); }
    int id;
    static inline int alive = 0;
};

struct Releaser {
    void operator()(IComponent* component) const { component->Release(); }
};
template <class T>
using Ref = std::unique_ptr<T, Releaser>;

/// Planar images of zeroes, 4 wide and 3 high.
inline Ref<Comp> newComp(int frames = 1, int channels = 1, int type = DataUInt8, int typeWord = SubGrey) {
    Ref<Comp> comp(AllocComp(static_cast<unsigned long>(frames)));
    for (Image* image = comp->images; image != comp->images + frames; ++image) {
        image->imageType = static_cast<std::uint16_t>(typeWord);
        ConstructImages(image, 1, 4, 3, static_cast<std::uint8_t>(channels), static_cast<std::uint8_t>(type));
        ClearImage(image);
    }
    return comp;
}
