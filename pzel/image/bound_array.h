// The bound array of a record: a pair (minimum, maximum) for each channel, in the image's own element type.
//
// The bound array has three sections of one pair per channel: the data bound (section 0, what is shown now),
// the spatial bound (section 1, the full scale that the others refer to) and the HSI bound (section 2,
// intensity, saturation and hue of an image of 3 or more channels). It is created by the first function that
// asks for it and released with its image. Images of bits have none: every getter answers null for them.
//
// The data bound is unset while StateBoundSet and StateBoundDefault are both clear; its contents are then
// zero.
//
// A host may bring an array of its own, made by `operator new`: three sections are enough, as no function
// reaches beyond 3 * GetBoundBytes.
#pragma once

#include "pzel/image/image.h"

/// Bytes of one section: element bytes * channels * 2; 0 for bits.
PZEL_API int GetBoundBytes(Image* image);
/// Creates the bound array where there is none. Images of major type 0 start with the default spatial bound.
PZEL_API void CheckBoundArray(Image* image);

/// The data bound. All getters create the array where there is none; the image owns it.
PZEL_API unsigned char* GetBound(Image* image);
/// The spatial bound.
PZEL_API unsigned char* GetSpatialBound(Image* image);
/// The HSI bound; the data bound for fewer than 3 channels.
PZEL_API unsigned char* GetHSIBound(Image* image);
/// Writes the default pairs of a sub type and element type: three for sub types 0 and 1 (make room for three,
/// whatever the number of channels), one for sub type 3, none for other sub types and for bits and 32 bits.
PZEL_API void SetBoundDefault(unsigned char* entries, unsigned short subType, unsigned char dataType);
/// Defaults into the data bound and the spatial bound; marks the bound as set and default.
PZEL_API void SetDefaultBound(Image* image);
/// Defaults into the spatial bound.
PZEL_API void SetDefaultSpatialBounds(Image* image);
/// Copies the data bound over the spatial bound.
PZEL_API void CopyBoundToSpatialBound(Image* image);
