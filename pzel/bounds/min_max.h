// Minimum and maximum of element data.
#pragma once

#include "pzel/image/image.h"

/// Minimum and maximum of `count` consecutive elements; `count` must be 1 or more.
PZEL_API void MinMaxUChar(unsigned char* data, int count, unsigned char* min, unsigned char* max);
PZEL_API void MinMaxChar(signed char* data, int count, signed char* min, signed char* max);
PZEL_API void MinMaxUShort(unsigned short* data, int count, unsigned short* min, unsigned short* max);
PZEL_API void MinMaxShort(short* data, int count, short* min, short* max);
/// Also used for unsigned 32-bit data, deliberately: values of 2^31 and above compare as negative.
PZEL_API void MinMaxInt(int* data, int count, int* min, int* max);

/// Minimum and maximum over all channels of the image's data, written as elements of its type to `min` and
/// `max`; where both are equal they are moved apart by one. Float data ignore NaN unless it comes first in
/// the image (or in each plane); an image without pixels counts as one of value 0. Nothing for bit data.
PZEL_API void MinMaxBound(Image* image, void* min, void* max);
