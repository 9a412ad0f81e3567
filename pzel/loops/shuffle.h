// Bytes that change places: three planes into pixels and back, and look-ups in small tables. The plain loops
// say what is done; where the instruction set moves many bytes at once, vectors do the same in fewer steps.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "pzel/loops/instruction_set.h"
#include "pzel/loops/vectors.h"

namespace pzel {

#if PZEL_X86_VECTORS
/// Picks the bytes of a vector: lane i takes byte place(i) of a, b and c one after another.
template <auto place, class Vector>
Vector pick(Vector a, Vector b, Vector c) {
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        constexpr int size = sizeof(Vector);
        const Vector ab = __builtin_shufflevector(a, b, (place(lanes) < 2 * size ? place(lanes) : lanes)...);
        return __builtin_shufflevector(ab, c, (place(lanes) < 2 * size ? lanes : place(lanes) - size)...);
    }
    (std::make_integer_sequence<int, sizeof(Vector)>());
}

/// Where byte `lane` of vector `part` of pixels stands in three planes, and of plane `channel` in pixels.
template <int part>
constexpr int mergedPlace(int lane) {
    const int i = 64 * part + lane;
    return i % 3 * 64 + i / 3;
}
template <int channel>
constexpr int splitPlace(int lane) {
    return 3 * lane + channel;
}

/// Three planes of as many pixels as a vector has bytes, into pixels; and back.
inline Three<V64::Bytes> merged(V64::Bytes a, V64::Bytes b, V64::Bytes c) {
    return {pick<mergedPlace<0>>(a, b, c), pick<mergedPlace<1>>(a, b, c), pick<mergedPlace<2>>(a, b, c)};
}
inline Three<V64::Bytes> split(V64::Bytes a, V64::Bytes b, V64::Bytes c) {
    return {pick<splitPlace<0>>(a, b, c), pick<splitPlace<1>>(a, b, c), pick<splitPlace<2>>(a, b, c)};
}

/// Lane i of a, b or c, whichever which(i) says: 0 to 2.
template <auto which, class Vector>
Vector choose(Vector a, Vector b, Vector c) {
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        constexpr int size = sizeof(Vector);
        const Vector ab = __builtin_shufflevector(a, b, (which(lanes) == 1 ? size + lanes : lanes)...);
        return __builtin_shufflevector(ab, c, (which(lanes) == 2 ? size + lanes : lanes)...);
    }
    (std::make_integer_sequence<int, sizeof(Vector)>());
}

/// Lane i takes byte place(i).
template <auto place, class Vector>
Vector arranged(Vector v) {
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>) {
        return __builtin_shufflevector(v, v, place(lanes)...);
    }
    (std::make_integer_sequence<int, sizeof(Vector)>());
}

// Where bytes do not cross 16 bytes of a vector, each such half holds 16 pixels of its own, and all bytes of
// a channel have different lanes within the three parts of the pixels: a channel is arranged once, and lanes
// are chosen.

/// Which channel a lane of a part holds.
template <int part>
constexpr int channelInPart(int lane) {
    return (16 * part + lane % 16) % 3;
}
/// Which part holds a channel's byte in a lane.
template <int channel>
constexpr int partOfChannel(int lane) {
    return (lane % 16 + 3 - channel) % 3 * 2 % 3;
}
/// The lane of a pixel's channel in its part, and which pixel's channel a lane holds: 3 · 11 is 1 again.
template <int channel>
constexpr int laneOfPixel(int pixel) {
    return (3 * (pixel % 16) + channel) % 16 + pixel / 16 * 16;
}
template <int channel>
constexpr int pixelOfLane(int lane) {
    return 11 * (lane % 16 + 16 - channel) % 16 + lane / 16 * 16;
}

/// The 16-byte halves `low` and `high` of a and b together, counted 0 to 3.
template <int low, int high>
V32::Bytes pickHalves(V32::Bytes a, V32::Bytes b) {
    return V32::Bytes(
        __builtin_shufflevector(V32::Longs(a), V32::Longs(b), 2 * low, 2 * low + 1, 2 * high, 2 * high + 1));
}

/// Parts of the pixels of each half, from one after the other and back.
inline Three<V16::Bytes> byParts(V16::Bytes a, V16::Bytes b, V16::Bytes c) {
    return {a, b, c};
}
inline Three<V16::Bytes> inTurn(V16::Bytes a, V16::Bytes b, V16::Bytes c) {
    return {a, b, c};
}
inline Three<V32::Bytes> byParts(V32::Bytes a, V32::Bytes b, V32::Bytes c) {
    return {pickHalves<0, 3>(a, b), pickHalves<1, 2>(a, c), pickHalves<0, 3>(b, c)};
}
inline Three<V32::Bytes> inTurn(V32::Bytes a, V32::Bytes b, V32::Bytes c) {
    return {pickHalves<0, 2>(a, b), pickHalves<0, 3>(c, a), pickHalves<1, 3>(b, c)};
}

template <class Bytes>
Three<Bytes> merged(Bytes a, Bytes b, Bytes c) {
    a = arranged<pixelOfLane<0>>(a), b = arranged<pixelOfLane<1>>(b), c = arranged<pixelOfLane<2>>(c);
    return inTurn(choose<channelInPart<0>>(a, b, c), choose<channelInPart<1>>(a, b, c),
                  choose<channelInPart<2>>(a, b, c));
}
template <class Bytes>
Three<Bytes> split(Bytes a, Bytes b, Bytes c) {
    const auto part = byParts(a, b, c);
    return {arranged<laneOfPixel<0>>(choose<partOfChannel<0>>(part.a, part.b, part.c)),
            arranged<laneOfPixel<1>>(choose<partOfChannel<1>>(part.a, part.b, part.c)),
            arranged<laneOfPixel<2>>(choose<partOfChannel<2>>(part.a, part.b, part.c))};
}

/// Pixels of three bytes to their channels, and back.
template <class Bytes>
Three<Bytes> loadSplit(const void* from) {
    const auto* pixels = static_cast<const std::uint8_t*>(from);
    return split(loadVector<Bytes>(pixels), loadVector<Bytes>(pixels + sizeof(Bytes)),
                 loadVector<Bytes>(pixels + 2 * sizeof(Bytes)));
}
template <class Bytes>
void storeMerged(const Three<Bytes>& planes, void* to) {
    auto* pixels = static_cast<std::uint8_t*>(to);
    const auto parts = merged(planes.a, planes.b, planes.c);
    storeVector(parts.a, pixels);
    storeVector(parts.b, pixels + sizeof(Bytes));
    storeVector(parts.c, pixels + 2 * sizeof(Bytes));
}
#endif

/// Three planes into pixels: out[3 i + c] = plane c at i.
template <InstructionSet set, class T>
void interleave(SetConstant<set>, const T* a, const T* b, const T* c, T* out, int count) {
    int i = 0;
#if PZEL_VECTORS
    if constexpr (hasVectors<set> && sizeof(T) == 1) {
        using Vector = typename ShuffledOf<set>::Bytes;
        constexpr int step = sizeof(Vector);
        for (; i + step <= count; i += step)
            storeMerged(Three<Vector>{loadVector<Vector>(a + i), loadVector<Vector>(b + i),
                                      loadVector<Vector>(c + i)},
                        out + 3 * i);
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
#if PZEL_VECTORS
    if constexpr (hasVectors<set> && sizeof(T) == 1) {
        using Vector = typename ShuffledOf<set>::Bytes;
        constexpr int step = sizeof(Vector);
        for (; i + step <= count; i += step) {
            const auto planes = loadSplit<Vector>(in + 3 * i);
            storeVector(planes.a, a + i);
            storeVector(planes.b, b + i);
            storeVector(planes.c, c + i);
        }
    }
#endif
    for (; i < count; ++i) {
        a[i] = A(in[3 * i]);
        b[i] = B(in[3 * i + 1]);
        c[i] = B(in[3 * i + 2]);
    }
}

#if PZEL_X86_VECTORS
/// Bytes of a table of 256 that four vectors hold.
inline V64::Bytes lookUp256(const V64::Bytes* table, V64::Bytes index) {
    const V64::Bytes low = __builtin_shuffle(table[0], table[1], index);
    const V64::Bytes high = __builtin_shuffle(table[2], table[3], index);
    return index >= 128 ? high : low;
}

/// Words of a table of 64.
inline V64::Floats lookUp64(const V64::Floats* table, V64::Words index) {
    const V64::Floats low = __builtin_shuffle(table[0], table[1], index);
    const V64::Floats high = __builtin_shuffle(table[2], table[3], index);
    return index >= 32 ? high : low;
}

/// A table of 256 bytes for vectors that look up 16 bytes at a time: what changes from the 16 entries before,
/// in each half of the table. The changes up to an entry make the entry.
struct TableOfParts {
    explicit TableOfParts(const std::uint8_t* table) {
        using Entries = std::uint8_t __attribute__((vector_size(16)));
        for (int k = 0; k < 16; ++k) {
            auto entries = loadVector<Entries>(table + 16 * k);
            if (k % 8 != 0) entries ^= loadVector<Entries>(table + 16 * k - 16);
            for (const int half : {0, 16}) storeVector(entries, part[k] + half);
        }
    }
    alignas(32) std::uint8_t part[16][32];
};

inline V32::Bytes lookUp256(const TableOfParts& table, V32::Bytes index) {
    V32::Signed place = V32::Signed(index & 127);
    V32::Bytes low = {}, high = {};
    for (int k = 0; k < 8; ++k) {
        low ^= bytesAt(loadVector<V32::Bytes>(table.part[k]), place);
        high ^= bytesAt(loadVector<V32::Bytes>(table.part[k + 8]), place);
        place -= 16;
    }
    return V32::Signed(index) < 0 ? high : low;
}
#endif

/// One by one: put into vectors, these look-ups take three times as long. Eight results in a word are one
/// store, and nothing that an alias could make the next look-up wait for.
template <class Index>
#if PZEL_X86_VECTORS
[[gnu::noinline, gnu::optimize("no-tree-vectorize")]]
#endif
void lookUpOneByOne(const std::uint8_t* table, const Index* index, std::uint8_t* out, int count) {
    int i = 0;
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

/// out[i] = table[index[i]] for tables of 256 entries (bytes as indices) or 512 (two bytes each).
template <InstructionSet set, class Index>
void lookUp(SetConstant<set>, const std::uint8_t* table, const Index* index, std::uint8_t* out, int count) {
    int i = 0;
#if PZEL_X86_VECTORS
    if constexpr (looksUpBytes<set>) {
        constexpr int vectors = sizeof(Index) == 1 ? 4 : 8;
        V64::Bytes part[vectors];
        for (int k = 0; k < vectors; ++k) part[k] = loadVector<V64::Bytes>(table + 64 * k);
        for (; i + 64 <= count; i += 64) {
            V64::Bytes found;
            if constexpr (sizeof(Index) == 1) {
                found = lookUp256(part, loadVector<V64::Bytes>(index + i));
            } else {
                std::uint8_t low[64], high[64];
                for (int k = 0; k < 64; ++k) low[k] = std::uint8_t(index[i + k]);
                for (int k = 0; k < 64; ++k) high[k] = std::uint8_t(index[i + k] >> 8);
                const auto place = loadVector<V64::Bytes>(low);
                found =
                    loadVector<V64::Bytes>(high) != 0 ? lookUp256(part + 4, place) : lookUp256(part, place);
            }
            storeVector(found, out + i);
        }
    }
#endif
#if PZEL_VECTORS
    if constexpr (looksUpParts<set> && sizeof(Index) == 1) {
        using Vector = typename ShuffledOf<set>::Bytes;
        constexpr int step = sizeof(Vector), enoughToPay = 128;
        if (count >= enoughToPay) {
            const TableOfParts parts(table);
            for (; i + step <= count; i += step)
                storeVector(lookUp256(parts, loadVector<Vector>(index + i)), out + i);
        }
    }
#endif
    lookUpOneByOne(table, index + i, out + i, count - i);
}

/// A line through its value at 0.
struct Line {
    float start, slope;
    float operator()(float v) const { return start + slope * v; }
};

/// So many lines are looked up in registers where there are enough of them.
constexpr int kFewLines = 64;

/// One by one: put into vectors, these look-ups take twice as long.
#if PZEL_X86_VECTORS
[[gnu::noinline, gnu::optimize("no-tree-vectorize")]]
#endif
inline void
followOneByOne(const Line* lines, const std::int32_t* index, float* values, int count) {
    for (int i = 0; i < count; ++i) values[i] = lines[index[i]](values[i]);
}

/// values[i] = lines[index[i]](values[i]), for `size` lines.
template <InstructionSet set>
void followLines(SetConstant<set>, const Line* lines, [[maybe_unused]] int size, const std::int32_t* index,
                 float* values, int count) {
    int i = 0;
#if PZEL_X86_VECTORS
    if constexpr (looksUpBytes<set>) {
        if (size == kFewLines) {
            float starts[kFewLines], slopes[kFewLines];
            for (int k = 0; k < kFewLines; ++k) {
                starts[k] = lines[k].start;
                slopes[k] = lines[k].slope;
            }
            V64::Floats start[4], slope[4];
            std::memcpy(start, starts, sizeof start);
            std::memcpy(slope, slopes, sizeof slope);
            for (; i + 16 <= count; i += 16) {
                const auto place = loadVector<V64::Words>(index + i);
                const auto value = loadVector<V64::Floats>(values + i);
                storeVector(lookUp64(start, place) + lookUp64(slope, place) * value, values + i);
            }
        }
    }
#endif
#if PZEL_VECTORS
    if constexpr (hasVectors<set>) {
        using V = Vectors<set >= InstructionSet::Avx2 ? 32 : 16>;
        constexpr int lanes = sizeof(typename V::Floats) / 4;
        const auto pairs = [&]<int... k>(std::integer_sequence<int, k...>, int first) {
            return typename V::Floats(
                typename V::Doubles{std::bit_cast<double>(lines[index[first + k % 2 + k / 2 * 4]])...});
        };
        for (; i + lanes <= count; i += lanes) {
            const auto a = pairs(std::make_integer_sequence<int, lanes / 2>(), i),
                       b = pairs(std::make_integer_sequence<int, lanes / 2>(), i + 2);
            storeVector(
                everySecond<0>(a, b) + everySecond<1>(a, b) * loadVector<typename V::Floats>(values + i),
                values + i);
        }
    }
#endif
    followOneByOne(lines, index + i, values + i, count - i);
}

}  // namespace pzel
