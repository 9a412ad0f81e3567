// Bytes that change places: three planes into pixels and back, and look-ups in small tables. The plain loops
// say what is done; where the instruction set moves many bytes at once, vectors do the same in fewer steps.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "pzel/image/instruction_set.h"

namespace pzel {

/// Sets that permute the bytes of a vector in one step.
template <InstructionSet set>
constexpr bool permutesBytes = PZEL_X86_SETS&& set >= InstructionSet::Avx2;
/// Sets that look up bytes in a vector of 64.
template <InstructionSet set>
constexpr bool looksUpBytes = PZEL_X86_SETS&& set >= InstructionSet::Avx512;

#if PZEL_X86_SETS
using Bytes32 = std::uint8_t __attribute__((vector_size(32)));
using Halves32 = long long __attribute__((vector_size(32)));
using Bytes64 = std::uint8_t __attribute__((vector_size(64)));

template <class Vector>
Vector loadVector(const void* from) {
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

/// Bytes of a, b and c picked by constant places: place p is byte p % 32 of vector p / 32.
template <int... places>
Bytes32 pick(Bytes32 a, Bytes32 b, Bytes32 c) {
    const Bytes32 ab = __builtin_shufflevector(a, b, (places < 64 ? places : 0)...);
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        return __builtin_shufflevector(ab, c, (places < 64 ? lanes : places - 32)...);
    }
    (std::make_integer_sequence<int, 32>());
}

/// The 16-byte halves `low` and `high` of a and b together, counted 0 to 3.
template <int low, int high>
Bytes32 pickHalves(Bytes32 a, Bytes32 b) {
    return Bytes32(
        __builtin_shufflevector(Halves32(a), Halves32(b), 2 * low, 2 * low + 1, 2 * high, 2 * high + 1));
}

/// Part `part` of 16 pixels that each half of the planes holds: bytes 16 * part to 16 * part + 15 of
/// their 48.
template <int part>
Bytes32 mergePart(Bytes32 a, Bytes32 b, Bytes32 c) {
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        return pick<((16 * part + lanes % 16) % 3 * 32 + (16 * part + lanes % 16) / 3 + lanes / 16 * 16)...>(
            a, b, c);
    }
    (std::make_integer_sequence<int, 32>());
}

/// Channel `channel` of the pixels whose three parts of 16 bytes the halves hold.
template <int channel>
Bytes32 splitChannel(Bytes32 part0, Bytes32 part1, Bytes32 part2) {
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        return pick<((3 * (lanes % 16) + channel) / 16 * 32 + (3 * (lanes % 16) + channel) % 16 +
                     lanes / 16 * 16)...>(part0, part1, part2);
    }
    (std::make_integer_sequence<int, 32>());
}
#endif

/// Three planes into pixels: out[3 i + c] = plane c at i.
template <InstructionSet set, class T>
void interleave(SetConstant<set>, const T* a, const T* b, const T* c, T* out, int count) {
    int i = 0;
#if PZEL_X86_SETS
    if constexpr (permutesBytes<set> && sizeof(T) == 1) {
        for (; i + 32 <= count; i += 32) {
            const auto x = loadVector<Bytes32>(a + i), y = loadVector<Bytes32>(b + i),
                       z = loadVector<Bytes32>(c + i);
            const Bytes32 part0 = mergePart<0>(x, y, z), part1 = mergePart<1>(x, y, z),
                          part2 = mergePart<2>(x, y, z);
            const Bytes32 pixels[] = {pickHalves<0, 2>(part0, part1), pickHalves<0, 3>(part2, part0),
                                      pickHalves<1, 3>(part1, part2)};
            std::memcpy(out + 3 * i, pixels, sizeof pixels);
        }
    }
#endif
    for (; i < count; ++i) {
        out[3 * i] = a[i];
        out[3 * i + 1] = b[i];
        out[3 * i + 2] = c[i];
    }
}

/// Pixels into three planes: plane c at i = in[3 i + c]. The planes may be of another type of the same size.
template <InstructionSet set, class T, class A, class B>
void deinterleave(SetConstant<set>, const T* in, A* a, B* b, B* c, int count) {
    static_assert(sizeof(T) == sizeof(A) && sizeof(T) == sizeof(B));
    int i = 0;
#if PZEL_X86_SETS
    if constexpr (permutesBytes<set> && sizeof(T) == 1) {
        for (; i + 32 <= count; i += 32) {
            const auto x = loadVector<Bytes32>(in + 3 * i), y = loadVector<Bytes32>(in + 3 * i + 32),
                       z = loadVector<Bytes32>(in + 3 * i + 64);
            const Bytes32 part0 = pickHalves<0, 3>(x, y), part1 = pickHalves<1, 2>(x, z),
                          part2 = pickHalves<0, 3>(y, z);
            const Bytes32 planes[] = {splitChannel<0>(part0, part1, part2),
                                      splitChannel<1>(part0, part1, part2),
                                      splitChannel<2>(part0, part1, part2)};
            std::memcpy(a + i, &planes[0], 32);
            std::memcpy(b + i, &planes[1], 32);
            std::memcpy(c + i, &planes[2], 32);
        }
    }
#endif
    for (; i < count; ++i) {
        a[i] = A(in[3 * i]);
        b[i] = B(in[3 * i + 1]);
        c[i] = B(in[3 * i + 2]);
    }
}

#if PZEL_X86_SETS
/// Bytes of a table of 256 that four vectors hold.
inline Bytes64 lookUp256(const Bytes64* table, Bytes64 index) {
    const Bytes64 low = __builtin_shuffle(table[0], table[1], index);
    const Bytes64 high = __builtin_shuffle(table[2], table[3], index);
    return index >= 128 ? high : low;
}
#endif

/// out[i] = table[index[i]] for tables of 256 entries (bytes as indices) or 512 (two bytes each).
template <InstructionSet set, class Index>
void lookUp(SetConstant<set>, const std::uint8_t* table, const Index* index, std::uint8_t* out, int count) {
    int i = 0;
#if PZEL_X86_SETS
    if constexpr (looksUpBytes<set>) {
        constexpr int vectors = sizeof(Index) == 1 ? 4 : 8;
        Bytes64 part[vectors];
        for (int k = 0; k < vectors; ++k) part[k] = loadVector<Bytes64>(table + 64 * k);
        for (; i + 64 <= count; i += 64) {
            Bytes64 found;
            if constexpr (sizeof(Index) == 1) {
                found = lookUp256(part, loadVector<Bytes64>(index + i));
            } else {
                std::uint8_t low[64], high[64];
                for (int k = 0; k < 64; ++k) low[k] = std::uint8_t(index[i + k]);
                for (int k = 0; k < 64; ++k) high[k] = std::uint8_t(index[i + k] >> 8);
                const auto place = loadVector<Bytes64>(low);
                found = loadVector<Bytes64>(high) != 0 ? lookUp256(part + 4, place) : lookUp256(part, place);
            }
            std::memcpy(out + i, &found, 64);
        }
    }
#endif
    // Eight results in a word: one store, and nothing that an alias could make the next look-up wait for.
    for (; i + 8 <= count; i += 8) {
        std::uint64_t word = 0;
        for (int k = 0; k < 8; ++k) {
            const int place = std::endian::native == std::endian::little ? k : 7 - k;
            word |= std::uint64_t(table[index[i + k]]) << 8 * place;
        }
        std::memcpy(out + i, &word, 8);
    }
    for (; i < count; ++i) out[i] = table[index[i]];
}

}  // namespace pzel
