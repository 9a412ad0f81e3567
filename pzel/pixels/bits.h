// Copying runs of bits. Bits are counted from the most significant bit of each byte.
#pragma once

#include "pzel/export.h"

/// Copies `bits` bits from bit `sourceStart` of `source` on to bit `destinationStart` of `destination` on.
/// Only bytes that hold bits of the runs are read and written; the destination's other bits are kept. The
/// runs must not overlap.
PZEL_API void CopyBits(unsigned char* destination, const unsigned char* source, unsigned short bits,
                       unsigned char destinationStart, unsigned char sourceStart);
