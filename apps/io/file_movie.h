// A file as a movie of one component. Only the current frame is in memory: going to a frame loads it into the
// component's first image record, with the levels that the component has.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>

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

    /// A movie of `frames` frames, none of them loaded yet.
    FileMovie(std::uint32_t frames, const std::string& name, FrameLoader loader);
    ~FileMovie();
    FileMovie(const FileMovie&) = delete;
    FileMovie& operator=(const FileMovie&) = delete;

    Movie& GetMovie() { return *movie; }
    Comp& Picture() { return *comp; }

    /// Goes to a frame and loads it, also where it is the current one. What the loader throws is thrown.
    void GoTo(std::uint32_t frame);

    /// Loads the frame that the movie went to.
    void Update(IComponent* source, int event, std::intptr_t param) override;

  private:
    void Load(std::uint32_t frame);

    FrameLoader loader;
    std::unique_ptr<Movie, Releaser> movie;
    std::unique_ptr<Comp, Releaser> comp;
    std::exception_ptr failure;  // of the last load: events must not throw through the library
};

}  // namespace pzel_io
