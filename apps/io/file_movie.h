// Files as the layers of a movie, one component for each. Only the current frames are in memory: going to a
// frame loads it into each component's first image record, with the levels that the component has.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/io/picture.h"
#include "pzel/component/comp.h"
#include "pzel/component/movie.h"
#include "pzel/component/observer.h"

namespace pzel_io {

/// Gives back a reference on a component or movie.
struct Releaser {
    void operator()(IComponent* component) const { component->Release(); }
};

class FileMovie final : public Observer {
  public:
    /// Delivers a frame as it is to be shown. One that comes with a bound keeps it; others take over that of
    /// the frame before.
    using FrameLoader = std::function<OwnedImage(std::uint32_t frame)>;

    struct Layer {
        std::string name;
        std::uint32_t frames;  ///< a single one is shown with every frame of the movie
        FrameLoader load;
    };

    /// A movie of these layers, the first one lowest. It is as long as the longest; no frame is loaded yet.
    /// @throws std::length_error for more than 255 layers
    explicit FileMovie(std::vector<Layer> files);
    ~FileMovie();
    FileMovie(const FileMovie&) = delete;
    FileMovie& operator=(const FileMovie&) = delete;

    Movie& GetMovie() { return *movie; }
    /// The component of a layer's file, also where another one has taken its place in the movie.
    Comp& Picture(std::size_t layer) { return *comps[layer]; }

    /// Goes to a frame and loads it, also where it is the current one. Components that were loaded have
    /// CompBitmapOutOfDate set. What the loader throws is thrown.
    void GoTo(std::uint32_t frame);

    /// Loads the frame that the movie went to.
    void Update(IComponent* source, int event, std::intptr_t param) override;

  private:
    void Load(std::uint32_t frame);
    void LoadLayer(const Layer& layer, Comp& comp, std::uint32_t frame);

    std::vector<Layer> layers;
    std::unique_ptr<Movie, Releaser> movie;
    std::vector<std::unique_ptr<Comp, Releaser>> comps;
    std::exception_ptr failure;  // of the last load: events must not throw through the library
};

}  // namespace pzel_io
