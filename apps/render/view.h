// What a window is to an interactive host: it watches a movie and its component and has the picture that the
// component drew last. Levels and tone curve are set through the component, which redraws and says so.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "apps/io/file_movie.h"
#include "frame_maker.h"
#include "options.h"

class View final : public Observer {
  public:
    /// All must live as long as this; `maker` makes the movie's frames.
    View(pzel_io::FileMovie& movie, const FrameMaker& maker, const pzel_io::PictureInfo& info,
         const Options& options);
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    /// Goes to a frame and has it drawn.
    /// @throws pzel_io::FileError for a frame that cannot be read or shown
    void Show(std::uint32_t frame);

    /// The picture that was drawn last; it is the component's.
    const ShownBitmap& Bitmap() const { return drawn; }
    /// What the mapping of that picture took.
    double Milliseconds() const { return spent.count(); }
    /// Its levels, in the picture's values.
    std::string Levels() const;
    /// The values of a pixel of the image that is shown, before mapping.
    std::string PixelText(int x, int y) const;

    /// Notes that a frame has come, and takes the picture when the component has drawn itself.
    void Update(IComponent* source, int event, std::intptr_t param) override;

  private:
    using Clock = std::chrono::steady_clock;

    void SetUp();
    void CheckBitmap();
    void ShowArrived();
    void SetLevels();
    void Bake();
    void Change(const std::function<void()>& step);
    void TakePicture();
    bool IsJoint() const { return options.channel == Channel::Hsi; }

    pzel_io::FileMovie& movie;
    const FrameMaker& maker;
    const pzel_io::PictureInfo& info;
    const Options& options;
    Comp& comp;
    bool isSetUp = false;
    bool frameArrived = false;
    ShownBitmap drawn{};
    Clock::time_point start;
    std::chrono::duration<double, std::milli> spent{};
};
