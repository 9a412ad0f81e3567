// Colour maps: what a picture of greys is shown in instead.
#pragma once

#include "apps/io/picture.h"
#include "pzel/component/shown_bitmap.h"

/// Hot, Viridis and Inferno rise from dark to light; Cubehelix does too, through all hues; Hue goes once
/// round them, for angles.
enum class ColourMap { Hot, Cubehelix, Viridis, Inferno, Hue };

/// A shown bitmap of 8 bits through a map, as an image of interleaved 8-bit colour.
pzel_io::OwnedImage InColours(const ShownBitmap& greys, ColourMap map);
