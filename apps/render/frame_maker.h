// From a file's frame to the image that is shown: channel, conversions for the display, levels.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/picture.h"
#include "levels.h"
#include "options.h"

class FrameMaker {
  public:
    /// Both must live as long as this.
    /// @throws pzel_io::FileError for options that do not fit the picture
    FrameMaker(const Options& options, pzel_io::PictureSource& source);

    /// Reads a frame and prepares it. The first one made fixes the levels of the others, unless each chooses
    /// its own.
    pzel_io::OwnedImage Make(std::uint32_t frame);

    /// Every conversion up to now: the file's on import, then those for the display.
    std::vector<std::string> Conversions() const;
    /// The levels of an image that was made here, in the picture's values.
    std::string LevelsOf(Image& image) const;

  private:
    pzel_io::OwnedImage ForDisplay(pzel_io::OwnedImage image);
    void ApplyLevels(pzel_io::OwnedImage& image);
    void Note(const std::string& line);

    const Options& options;
    pzel_io::PictureSource& source;
    std::vector<std::string> notes;
    std::optional<Levels> shared;
    int offset = 0;  // added to the picture's values
};
