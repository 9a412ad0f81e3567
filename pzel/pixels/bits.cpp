// Copying runs of bits, eight at a time.
#include "pzel/pixels/bits.h"

#include <cstring>

namespace {

/// Replaces the masked bits of a byte.
void Merge(unsigned char& byte, unsigned bits, unsigned mask) {
    byte = static_cast<unsigned char>((byte & ~mask) | (bits & mask));
}

/// The byte whose first bit is bit `shift` (0-7) of p[0]; p[1] is read only where `needed` bits reach into
/// it.
unsigned ByteAt(const unsigned char* p, unsigned shift, unsigned needed) {
    unsigned value = unsigned(p[0]) << shift;
    if (shift + needed > 8) value |= unsigned(p[1]) >> (8 - shift);
    return value;
}

}  // namespace

void CopyBits(unsigned char* destination, const unsigned char* source, unsigned short bits,
              unsigned char destinationStart, unsigned char sourceStart) {
    unsigned left = bits;
    if (left == 0) return;
    destination += destinationStart / 8;
    source += sourceStart / 8;
    unsigned sourceBit = sourceStart % 8;
    if (const unsigned bit = destinationStart % 8) {
        // Fill up the first byte, so that the rest is written in whole bytes.
        const unsigned n = left < 8 - bit ? left : 8 - bit;
        const unsigned mask = (0xFFu >> bit) & (0xFF00u >> (bit + n));
        Merge(*destination++, ByteAt(source, sourceBit, n) >> bit, mask);
        left -= n;
        source += (sourceBit + n) / 8;
        sourceBit = (sourceBit + n) % 8;
    }
    const unsigned bytes = left / 8;
    if (sourceBit == 0) {
        std::memcpy(destination, source, bytes);
    } else {
        for (unsigned i = 0; i < bytes; ++i)
            destination[i] =
                static_cast<unsigned char>(source[i] << sourceBit | source[i + 1] >> (8 - sourceBit));
    }
    if (const unsigned n = left % 8)
        Merge(destination[bytes], ByteAt(source + bytes, sourceBit, n), (0xFF00u >> n) & 0xFFu);
}
