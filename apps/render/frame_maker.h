// From a file's frame to the image that a layer shows: colour model, channel, mask, conversions for the
// display; and the levels that it is to be shown with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/io/picture.h"
#include "layer.h"
#include "levels.h"

class FrameMaker {
  public:
    /// Both must live as long as this.
    /// @throws pzel_io::FileError where the layer asks for what the picture has not
    FrameMaker(const Layer& layer, pzel_io::PictureSource& source);

    /// Reads a frame and prepares it. The first one made fixes the levels of the others, unless each chooses
    /// its own.
    pzel_io::OwnedImage Make(std::uint32_t frame);

    /// What the last frame is to be shown with, as the levels are stored; empty for bits, masks
    /// and vectors.
    const Levels& WantedLevels() const { return stored; }
    /// What to take off from stored levels for those of the picture.
    double Offset() const { return scale.offset; }
    /// What the last frame, `made`, was before its conversion for the display; the frame itself where there
    /// was none.
    const Image& Values(const Image& made) const { return unconverted ? *unconverted : made; }
    /// That frame itself where a copy of it is shown; null otherwise.
    pzel_io::OwnedImage TakeValues() { return std::move(unconverted); }
    /// The range that the file asks to be shown, of the last frame.
    const std::optional<pzel_io::Window>& FileWindow() const { return scale.window; }
    /// Every conversion up to now: the file's on import, then those for the display.
    std::vector<std::string> Conversions() const;

  private:
    pzel_io::OwnedImage MakeInLayout(std::uint32_t frame);
    bool FollowsWindow();
    double CentreOf(const Image& image);
    pzel_io::OwnedImage AsOverlay(pzel_io::OwnedImage image);
    pzel_io::OwnedImage InModel(pzel_io::OwnedImage image);
    pzel_io::OwnedImage AsYuv(const Image& image);
    pzel_io::OwnedImage AsHsiPlane(const Image& image);
    pzel_io::OwnedImage ForDisplay(pzel_io::OwnedImage image);
    pzel_io::OwnedImage Instead(pzel_io::OwnedImage image, pzel_io::OwnedImage copy);
    void PrepareJoint(Image& image);
    const pzel_io::Window& ColourRange(const Image& image);
    void ChooseFor(pzel_io::OwnedImage& image);
    void NoteBaking();
    void Note(const std::string& line);

    const Layer& layer;
    pzel_io::PictureSource& source;
    pzel_io::Layout layout;  // which may be another than asked for, of long rows
    std::vector<std::string> notes;
    std::optional<pzel_io::Window> colourRange;  // what counts as no and as full red, green and blue
    std::optional<Levels> shared;
    std::optional<pzel_io::Window> sharedWindow;  // of the file, when these were chosen
    Levels stored;
    ValueScale scale;
    std::optional<double> centre;     // of 32-bit integers shown as floats
    pzel_io::OwnedImage unconverted;  // of the last frame, where a copy is shown
    bool isFirst = true;
};
