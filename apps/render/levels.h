// Display levels: what the command line asks for, and the values that this gives for a picture.
#pragma once

#include <string>
#include <vector>

#include "apps/io/picture.h"

/// One setting of --levels.
struct LevelSpec {
    enum class Kind { Data, Full, File, Given, Percent };
    Kind kind = Kind::Data;
    double low = 0;  ///< Given
    double high = 0;
    double percent = 0;  ///< Percent: of the pixels at each end
};

/// "data|full|file|LOW:HIGH|PERCENT%", one or several separated by commas.
/// @throws std::invalid_argument saying what is wrong with which part
std::vector<LevelSpec> ParseLevels(const std::string& text);

/// Levels for each channel of a record in the order in which a user names them, in the picture's values.
using Levels = std::vector<pzel_io::Window>;

/// Chooses the levels of a picture. Without a spec: the file's own window, else the computed bound. One spec
/// serves all channels together (of a luminance picture: the luminance), several serve one each. `image` is
/// what will be shown, `offset` what was added to the picture's values in it.
/// @throws pzel_io::FileError for specs that do not fit the picture
Levels ChooseLevels(const std::vector<LevelSpec>& specs, const pzel_io::PictureInfo& info, Image& image,
                    int offset);

/// True where integers of the image's type cannot stand for the levels.
bool NeedsFloat(const Levels& levels, const Image& image, int offset);
/// Writes levels, rounded for integers, into the data bound.
void SetLevels(Image& image, const Levels& levels, int offset);
/// The data bound as "LOW:HIGH", for each channel where they differ.
std::string LevelsText(Image& image, int offset);
