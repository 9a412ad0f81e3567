// The picture of a whole movie: all its visible components in one bitmap.
#pragma once

#include "pzel/display/overlay.h"
#include "pzel/image/image.h"

class Movie;

/// Draws the visible components of a movie into a bitmap of `bitsPerPixel` bits (1, 8 or 24; others draw
/// nothing), from the first to the last: each at its place and with its opacity. Pixel (0, 0) of the
/// destination shows the movie's (area.left, area.top); what lies outside `area` or the destination is left
/// out, and what no component covers is left as it was. `zoom` is that of both axes: n >= 2 enlarges n times,
/// n <= -2 shows every -n-th pixel of the area, else one to one.
///
/// Pictures of 8 and 24 bits are shown as they are, pictures of bits as black and white; components deeper
/// than the destination are left out. Boundaries, vector fields and bits whose `overlayColour` is not 255 are
/// drawn in a colour of their own: entry `overlayColour` of `overlayColours` (256 entries; null: 1 red,
/// 2 green, 3 blue, 4 yellow, 5 cyan, 6 magenta, others white); in 8 bits in the colour's luminance, in 1 bit
/// by setting bits. Outlines of masks (MaskToBoundary) that are shown whole are closed where the mask touches
/// the right or the lower border of its picture: in its last column and row of destination pixels.
///
/// A component whose bitmap is missing or out of date is computed first; one that has none, or stands outside
/// the area, is skipped, and so is whatever an opaque picture over all of the area hides. Where memory is
/// refused it throws, and what was drawn stays.
PZEL_API void ComposeMovie(Movie* movie, const BitmapDestination& destination, const SRect& area,
                           signed char zoom, const BgrColour* overlayColours, int bitsPerPixel = 24);
