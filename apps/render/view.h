// What a window is to an interactive host, for one layer: it watches the layer's component and has the
// picture that this drew last. Levels and tone curve are set through the component, which redraws and says
// so.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "apps/io/file_movie.h"
#include "frame_maker.h"
#include "layer.h"

class View final : public Observer {
  public:
    /// All must live as long as this; `frameMaker` makes the frames of layer `index` of the movie, which will
    /// be shown at `zoom`.
    View(pzel_io::FileMovie& frames, std::size_t index, const FrameMaker& frameMaker,
         const pzel_io::PictureInfo& picture, const Layer& wishes, int zoom);
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    /// Has the movie's current frame drawn, unless it is the one that was drawn last.
    /// @throws pzel_io::FileError for a frame that cannot be shown
    void Show();

    /// The picture that was drawn last; it is the component's.
    const ShownBitmap& Bitmap() const { return drawn; }
    /// What the mapping of the movie's current frame took.
    double Milliseconds() const { return spent.count(); }
    /// What is shown of the file's values: levels in the picture's values, or what they are shown as.
    std::string Text() const;

    /// Takes the picture when the component has drawn itself.
    void Update(IComponent* source, int event, std::intptr_t param) override;

  private:
    using Clock = std::chrono::steady_clock;

    void SetUp();
    void PlaceStandIn();
    void DrawStandIn();
    pzel_io::OwnedImage Drawing() const;
    void CheckBitmap();
    void ShowPicture();
    void ShowOverlay();
    void SetLevels();
    void Bake();
    void Change(const std::function<void()>& step);
    void TakePicture();
    bool IsJoint() const { return layer.look.channel == Channel::Hsi; }

    pzel_io::FileMovie& movie;
    std::size_t place;  // in the movie
    const FrameMaker& maker;
    const pzel_io::PictureInfo& info;
    const Layer& layer;
    Comp& comp;  // the file's
    // Stands for the file's in the movie, where that is shown as lines, or in other colours.
    std::unique_ptr<Comp, pzel_io::Releaser> standIn;
    bool hasStandIn;
    bool isSetUp = false;
    ShownBitmap drawn{};
    Clock::time_point start;
    std::chrono::duration<double, std::milli> spent{};
};
