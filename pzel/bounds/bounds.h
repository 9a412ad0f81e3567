// Bounds: for each channel of an image a pair (minimum, maximum) in the image's own element type, which says
// what range of the data is shown from black to white. The array that holds them, its sections and its
// defaults are the record's own (pzel/image/bound_array.h); here they are computed, read, derived and
// converted.
#pragma once

#include "pzel/image/bound_array.h"
#include "pzel/image/image.h"

/// Which section a bound type names.
enum BoundType : unsigned char {
    BoundData = 0x00,
    BoundSpatial = 0x10,
    BoundHsi = 0x20,
};

/// The HSI bound where it is selected and there are 3 or more channels, else the data bound; never the
/// spatial one.
PZEL_API unsigned char* GetSelectedBound(Image* image);
/// The section that `type` (BoundType) names; the data bound for fewer than 3 channels and for other values.
PZEL_API unsigned char* GetBound(Image* image, unsigned char type);

/// Computes the data bound from the pixels and marks it as set. 8-bit data always get their full range; other
/// types get one range over all channels; sub type 1 gets the range of its luminance and symmetric ranges for
/// the colour differences. Bit data have nothing to compute and are only marked.
PZEL_API void ComputeBound(Image* image);
/// Computes the data bound of an image whose channels are the components of vectors: (0, largest magnitude of
/// a component), the same for every channel. Nothing for bit data.
PZEL_API void ComputeVctBound(Image* image);
/// Computes an unset data bound; otherwise replaces every pair whose maximum is not above its minimum. Signed
/// 16-bit pairs of the first channel of a sub type with bit 0 compare as unsigned and become (0, 65535), also
/// in an image of that channel alone, SubGrey included (deliberate): -100 … 100 is no range there. Hosts that
/// show signed greys do without this check; what ComputeBound gives needs none.
PZEL_API void CheckBound(Image* image);
/// Writes one pair of the data bound (the members of the image's element type) and marks it as set. The
/// channel must exist, else an entry of another section is written, or none behind the last; `min` may be
/// above `max`.
PZEL_API void SetBound(Image* image, AnyType min, AnyType max, int channel);
/// Writes the same pair for every channel.
PZEL_API void SetBound(Image* image, AnyType min, AnyType max);
/// Reads one pair of the data bound as floats, setting defaults first where it is unset. The colour
/// differences of a sub type with bit 0 are read as signed, its first channel as unsigned. Bits, and entries
/// behind the last: (0, 1).
PZEL_API void GetBound(Image* image, float* min, float* max, int channel);
/// Maximum minus minimum of one channel, as the float GetBound reads them.
PZEL_API float GetScale(Image* image, int channel);
/// Largest maximum minus smallest minimum over all channels.
PZEL_API float GetScale(Image* image);

/// The selected bound: BoundData or BoundHsi.
PZEL_API unsigned char GetBoundType(Image* image);
/// Selects a bound. BoundSpatial sets a mark of its own beside a cleared BoundHsi; unknown values are
/// ignored.
PZEL_API void SetBoundType(Image* image, unsigned char type);
/// Derives the data bound from the HSI bound or the other way round and selects the result. Only for 3 or
/// more channels; types other than BoundData and BoundHsi stand for the selected one; equal types do nothing.
PZEL_API void SwitchBoundType(Image* image, unsigned char from, unsigned char to);
/// The full scale of saturation and hue: 65535 for 16-bit types, 1 for float, 255 for every other.
PZEL_API float GetHSIFullScale(unsigned char dataType);

/// 1 when the data bounds of two images are equal in value, channel by channel, whatever their element types;
/// 1 also when neither has a bound array. 0 for different channel counts, where only one has a bound array,
/// and for 32-bit integers. Creates no bound array.
PZEL_API int CompareBounds(Image* a, Image* b);

/// Copies the bound array of `src` to `dst`. Equal element types copy all sections, entry behind entry, as
/// far as both arrays go (what the source lacks becomes 0); different ones convert the data bound, repeat it
/// as the spatial bound and derive the HSI bound of a 3-channel colour image. Different sub types give `dst`
/// its default bound instead; a `dst` of sub type SubNotSet takes the sub type of `src`. Nothing for bit
/// destinations.
PZEL_API void CopyBound(Image* dst, Image* src);
