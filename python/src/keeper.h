// What Python keeps with a component or a movie: the owners of its pixels, where its frames come from, and
// the callbacks that observe it.
//
// A keeper is an observer like any other, attached when first needed, and always the last of the list: when
// the component announces its end everybody else has been told, and the keeper takes the borrowed pixels out
// of the records, lets go of what it keeps, and deletes itself. So a component may be released by anybody, in
// any order, with or without the interpreter's lock.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "pixels.h"
#include "pzel/component/comp.h"
#include "pzel/component/observer.h"

namespace pzel_python {

/// A callback at one component. It lives as long as the component, because a movie that is announcing calls
/// also those that were detached meanwhile; without a callback it does nothing and may be used again.
class CallbackObserver final : public Observer {
  public:
    py::object callback;       ///< null: free
    std::uint64_t number = 0;  ///< which observation this is; never used twice
    void Update(IComponent* source, int event, std::intptr_t param) override;
};

class Keeper final : public Observer {
  public:
    /// The keeper of a component or movie, made where there is none yet.
    static Keeper& Of(IComponent& component);
    static Keeper* Find(IComponent& component);
    ~Keeper();

    void Update(IComponent* source, int event, std::intptr_t param) override;

    /// Gives the component an image that shares the picture's pixels. `keepLevels`: those of the image
    /// before.
    enum class Levels { OfPicture, OfBefore };
    void Place(const Picture& picture, Levels levels);
    /// A picture that shares the pixels of the component's current image; none where there is none.
    std::optional<Picture> Current();

    /// Any sequence of arrays or images, one for each frame; None: the image stays as it is.
    void SetFrames(py::object sequence);
    /// The same frames and wishes as another component's, of which this one is a copy.
    void ShareFrames(const Keeper& other);
    const py::object& Frames() const { return frames; }
    /// The frame that is wanted: the movie's, or that of a component on its own.
    std::uint32_t WantedFrame() const;
    /// What the first frame is to be shown with, before it is there; null: what it brings along.
    py::object firstLevels;
    /// Of a component without a movie.
    std::uint32_t frameAlone = 0;
    /// Brings the wanted frame into the component's image. Reading may raise.
    void Feed();

    /// The number of the observation.
    std::uint64_t Observe(py::object callback);
    /// False where there is no such observation.
    bool Forget(std::uint64_t number);
    /// Calls `visit` with each Python object that is kept, as the collector of cycles wants it.
    int Traverse(visitproc visit, void* arg) const;
    /// Lets go of the objects that can be parts of cycles.
    void Clear();
    /// Points here as long as the keeper lives, then to null.
    const std::shared_ptr<Keeper*>& Self() const { return self; }

  private:
    explicit Keeper(IComponent& component) : kept(component) {}
    Comp& TheComp() const { return static_cast<Comp&>(kept); }
    void AdoptPixels();

    IComponent& kept;
    Pixels pixels;      // of the component's first record, where that has any
    py::object frames;  // null: none
    std::optional<std::uint32_t> loaded;
    std::vector<std::unique_ptr<CallbackObserver>> callbacks;
    std::shared_ptr<Keeper*> self = std::make_shared<Keeper*>(this);
};

/// Brings the wanted frames into a component, or into the components of a movie.
void Feed(IComponent& component);

}  // namespace pzel_python
