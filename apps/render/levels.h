// Display levels: what the command line asks for, and the values that this gives for a picture.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/io/picture.h"
#include "pzel/bounds/histogram.h"
#include "pzel/component/comp.h"

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

/// The text that gives these.
std::string LevelsText(const std::vector<LevelSpec>& specs);

/// Levels for each channel in the order in which a user names them.
using Levels = std::vector<pzel_io::Window>;

/// How the values of an image that is shown relate to the picture's, and what they can be.
struct ValueScale {
    double offset = 0;                      ///< added to the picture's values
    Levels full;                            ///< everything that the channels can hold; empty: unknown
    std::optional<pzel_io::Window> window;  ///< the range that the file asks to be shown
    bool differencesFull = false;  ///< colour differences have their full range unless they are given
};

/// The range of all values of an element type, of one channel of a colour model.
pzel_io::Window FullRange(ImageSubType model, ImageDataType type, int channel);
/// The range of the finite values of a stored channel, or of all (AllChannels), or of a part of them. One
/// value alone gets some room.
pzel_io::Window ValueRange(const Image& image, int stored);
pzel_io::Window ValueRange(const Image& image, const ImagePart& part);
/// The same without a percentage of the values at each end.
pzel_io::Window PercentRange(const Image& image, const ImagePart& part, double percent);
/// A range of one value moved apart: by one, or by what a float of that size can tell.
pzel_io::Window Widened(double low, double high);

/// Chooses the levels of an image, in the picture's values. Without a spec: the file's own window, else the
/// computed bound. One spec serves all channels together (of a luminance picture: the luminance), several
/// serve one each.
/// @throws pzel_io::FileError for specs that do not fit the picture
Levels ChooseLevels(const std::vector<LevelSpec>& specs, const std::filesystem::path& file, Image& image,
                    const ValueScale& scale);
/// The same for the joint display of intensity, saturation and hue: Full for all, or Full or Given for each.
/// Without a spec the intensity has the range of the data, the others everything. They are as they are
/// stored.
Levels ChooseJointLevels(const std::vector<LevelSpec>& specs, const std::filesystem::path& file,
                         Image& image);

/// True where integers of the image's type cannot stand for the levels.
bool NeedsFloat(const Levels& levels, const Image& image, double offset);
/// The levels as channels of the image can hold them, offset included: rounded for integers.
Levels StoredLevels(const Levels& levels, const Image& image, double offset);
/// The same of intensity, saturation and hue, which end where their scales do.
Levels StoredJointLevels(const Levels& levels, Image& image);

/// The component's channel for a user's: behind the image's own where it shows intensity, saturation and hue.
int ComponentChannel(Comp& comp, int channel);
/// The component's levels, as they are stored.
Levels GetLevels(Comp& comp);
/// Stored levels as "LOW:HIGH", for each channel where they differ; "none" where there are none.
std::string LevelsText(const Levels& stored, double offset);
