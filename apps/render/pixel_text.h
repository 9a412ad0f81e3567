// The values of pixels as text: which ones, and how they are told.
#pragma once

#include <ostream>
#include <string>

#include "layer.h"

/// X,Y, either of which may be a range A-B.
/// @throws std::invalid_argument for anything else
Area ParsePixels(const std::string& text);

/// Tells the values of an area inside the image: of one pixel on one line behind `name`; of several a line
/// that names the area, then a line for each row, the pixels separated by blanks, their channels by commas.
void PrintPixels(std::ostream& out, const std::string& name, const Image& image, const Area& area);
