// Bounds by intensity, saturation and hue, derived from data bounds and back, and the element types that
// levels are read in. Internal.
#pragma once

#include "pzel/image/image.h"

namespace pzel {

/// The unsigned integer type of the same size; other types as they are.
inline int unsignedType(int type) {
    return type == DataInt8 || type == DataInt16 || type == DataInt32 ? type - 1 : type;
}

/// The element type that the levels of a channel are read in: in a component of type word 1 the luminance is
/// unsigned, the two colour differences are signed.
inline int levelType(unsigned short compType, int type, int channel) {
    if (compType != SubYuv || channel < 0 || channel > 2) return type;
    if (channel == 0) return unsignedType(type);
    return type == DataUInt8 || type == DataUInt16 || type == DataUInt32 ? type + 1 : type;
}

/// Ranges of intensity, saturation and hue of three data pairs against three spatial ones, all of an element
/// type; the result's integers are unsigned. False for other types than 8 bits, 16 bits and float.
bool deriveHsi(int type, unsigned char* data, unsigned char* spatial, unsigned char* hsi);

/// Writes the HSI section from the data section, or the data section from the HSI section, both against the
/// spatial section. Only for images of three or more channels; types other than 8 bits, 16 bits and float are
/// left alone.
void DeriveHsiBound(Image* image);
void DeriveDataBound(Image* image);

}  // namespace pzel
