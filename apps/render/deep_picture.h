// Pictures of 16 bits: the values of a layer between its levels, over 0 … 65535.
#pragma once

#include <optional>
#include <vector>

#include "apps/io/file_picture.h"
#include "apps/io/picture.h"
#include "layer.h"
#include "levels.h"

/// Why a layer's pictures cannot have 16 bits; empty where they can.
const char* DeepObjection(const Layer& layer, const pzel_io::PictureInfo& info);

class DeepPicture {
  public:
    /// Of an image that is shown with `levels` (one pair for each channel, as a user names them). The library
    /// converts and bends them: its rules for typed copies and for baking say how values are rounded.
    /// @throws pzel_io::FileError where what the image became for display has no 16 bits
    DeepPicture(const Image& image, const Levels& levels, const Layer& layer,
                const pzel_io::PictureInfo& info);

    /// Its pixels are this object's.
    pzel_io::FilePicture AsFilePicture() const;

  private:
    struct Channel {
        int user;
        int stored;
        pzel_io::Window level;
        bool isCurved;
    };
    void ConvertTile(const Image& image, const Channel& channel, std::size_t place, const Area& tile);

    const Layer& layer;
    Tones tones;
    Area area;
    std::size_t channels;
    std::vector<std::uint16_t> samples;  // rows from the top, red first
};
