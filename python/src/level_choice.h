// Levels by what is asked for: of the data, of the type, by a percentage, or given.
#pragma once

#include <utility>

#include "pixels.h"

namespace pzel_python {

using LevelPair = std::pair<double, double>;

/// Writes a pair into the data bound, in the element type of the channel.
void SetPair(Image& image, int channel, const LevelPair& pair);
/// Levels that an image without any is shown with: the range of its data; of 8 bits all of it, of truths 0
/// to 1.
void NeedLevels(Image& image, bool truth);
/// (low, high) of each channel, colour red first; computed where there are none yet. Empty for bits.
py::list LevelsOf(Picture& picture);
/// Chooses and sets: "data", "full", "0.35%", a pair, or a list of pairs, colour red first.
/// @throws py::value_error
void ChooseLevels(Picture& picture, const py::object& levels);
/// The place in the record of a channel as a user counts: colour is stored blue first.
int StoredChannel(const Image& image, int channel);

}  // namespace pzel_python
