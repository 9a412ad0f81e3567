// Arithmetic on float images and planes, inversion and filling of images of any type, and the text of one
// pixel.
//
// Unless a comment says otherwise the functions take images of type DataFloat whose sizes agree; nothing is
// checked. n is the volume of the first image (channels * height * width), i runs over its elements. The two
// images may be the same.
#pragma once

#include "pzel/image/image.h"

/// a[i] = b[i] + a[i]
PZEL_API void AddImage(Image* a, Image* b);
/// a[i] = k * b[i] + a[i]
PZEL_API void AddImage(Image* a, Image* b, float k);
/// a[i] = a[i] - b[i]
PZEL_API void SubtractImage(Image* a, Image* b);
/// a[i] = b[i] * a[i]
PZEL_API void MultiplyImage(Image* a, Image* b);
/// a[i] = k * a[i] * b[i]
PZEL_API void MultiplyImage(Image* a, Image* b, float k);
/// a[i] = k * a[i]
PZEL_API void MultiplyConstant(Image* a, float k);
/// a[i] = k + a[i]
PZEL_API void PlusConst(Image* a, float k);
/// a[i] = c / (a[i] + k); the numerator comes first.
PZEL_API void DivideImage(float c, Image* a, float k);
/// a[i] = a[i] / (b[i] + k), or a[i] / (b[i] - k) where b[i] is below 0: `k` moves the divisor away from
/// zero.
PZEL_API void DivideByImage(Image* a, Image* b, float k);

/// Sum of a[i]². All sums are more exact than a sum in extended precision and are rounded once.
PZEL_API float SqureSum(Image* a);
/// Sum of a[i] * b[i].
PZEL_API float MultipSum(Image* a, Image* b);
/// Sum of (b[i] - a[i])².
PZEL_API float DifferenceSqureSum(Image* a, Image* b);
/// Sum of (a[i] - b[i]) * w[i]; the difference is not squared.
PZEL_API float WeightDifferenceSum(Image* a, Image* b, Image* w);
/// Mean of (a[i] - b[i])²; not a number for an empty image.
PZEL_API float ImageDiffEnergy(Image* a, Image* b);

/// b's channel cb = a's channel ca, for planar images of any 4-byte type. The next three write into their
/// first image; this one writes into its second (deliberate).
PZEL_API void CopyCh2Ch(Image* a, Image* b, int ca, int cb);
/// a's channel ca -= b's channel cb, planar.
PZEL_API void Ch2ChSubtract(Image* a, Image* b, int ca, int cb);
/// a's channel ca += b's channel cb, planar.
PZEL_API void Ch2ChAdd(Image* a, Image* b, int ca, int cb);
/// a's channel ca += k * b's channel cb, planar.
PZEL_API void Ch2ChAdd(Image* a, Image* b, int ca, int cb, float k);

/// Inverts an image of any type in place: bits and unsigned integers from the top of their range, signed
/// integers (wrapping) and floats by their sign.
PZEL_API void InvertImage(Image* image);
/// The next length that suits a transform: powers of two and the three-quarter steps between them; 3 stays 3.
/// The largest such int where the next one is none.
PZEL_API int Make2Power(int n);
/// Bytes that printData writes at most, the end of the text included: of three floats of any size, 144, and
/// a few for a decimal point of several bytes.
constexpr int kPixelTextBytes = 160;
/// Writes the value of pixel (x, y) as text into `out`, which must hold kPixelTextBytes bytes: up to three
/// channels, colour as red, green, blue; for an image of type 0x0501, whose data are a mapping record (eight
/// floats and a kind), the displacement of (x, y). Bits are counted from the least significant one here
/// (deliberate). Empty for unknown types and images without data.
PZEL_API void printData(Image* image, int x, int y, char* out);
/// Sets every element of channel c to values[c], for any type; bits all to whether values[0].uint8 is not 0.
/// For 3 channels values[0] and values[2] are exchanged first, in the caller's array, and stay exchanged
/// (deliberate).
PZEL_API void FillData(Image* image, AnyType* values);
