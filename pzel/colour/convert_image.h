// Baking a remapper into the data of an image: what the display shows becomes what the image holds.
#pragma once

#include "pzel/colour/remapper.h"
#include "pzel/image/image.h"

/// Remaps the channels of an image in place. Each value goes from the data bound of its channel through the
/// remapper's channel (0, 1, 2; not at all where IsIdentity says so) into the spatial bound; values outside
/// the data bound become its ends. For sub types 0 and 1 with three channels and sub type 3, of 8 bits, 16
/// bits and float; others are left unchanged. An unset data bound gets its defaults first. The remapper must
/// not be null.
PZEL_API void ConvertImage(Image* image, Zel::Remapper* remapper);

/// Remaps the first three channels of an image in place as hue, saturation and intensity: each is windowed by
/// the HSI bound and goes through the remapper's channel (5, 4, 3; not at all where IsIdentity says so); the
/// result is colour within the spatial bound. Channels 0, 1 and 2 count as red, green and blue here
/// (deliberate). An HSI bound that was never set counts as the full one. For 8 bits, 16 bits and float, 3 or
/// more channels; others are left unchanged. The remapper must not be null.
PZEL_API void ConvertAllDataToRGB(Image* image, Zel::Remapper* remapper);
