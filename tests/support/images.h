// What the library's tests share: buffers between guard bytes, images of any shape in such buffers, element
// access through double (exact for every element type), seeded random choices. Hunts writes outside the data,
// and under AddressSanitizer reads as well.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "pzel/bounds/bounds.h"
#include "pzel/image/image.h"
#include "pzel/image/lifecycle.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

namespace test {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using Bytes = std::vector<u8>;

/// Whether a sanitizer slows everything down, so that tests of all values take a part of them.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSlow = true;
#else
constexpr bool kSlow = false;
#endif

/// Whether bytes are equal; tells the first that is not.
inline testing::AssertionResult same(const Bytes& shown, const Bytes& wanted) {
    if (shown == wanted) return testing::AssertionSuccess();
    const auto [a, b] = std::mismatch(shown.begin(), shown.end(), wanted.begin(), wanted.end());
    if (a == shown.end() || b == wanted.end()) return testing::AssertionFailure() << "sizes differ";
    return testing::AssertionFailure()
           << "byte " << a - shown.begin() << " is " << int(*a) << ", not " << int(*b);
}

/// Seeded choices.
class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}
    /// A whole number in low ... high, both included.
    int operator()(int low, int high) { return std::uniform_int_distribution(low, high)(engine_); }
    int pick(const std::vector<int>& from) { return from[engine_() % from.size()]; }
    bool coin() { return engine_() % 2 == 0; }
    void fill(u8* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) bytes[i] = u8(engine_());
    }
    Bytes bytes(int count) {
        Bytes result(count);
        fill(result.data(), count);
        return result;
    }

  private:
    std::mt19937 engine_;
};

/// A buffer of exactly `size` bytes, all `fill`, between two guard zones.
class Guarded {
  public:
    static constexpr u8 fill = 0x5A, guard = 0xC3;

    explicit Guarded(std::size_t size) : block_(size + 2 * zone, fill), size_(size) {
        std::fill_n(block_.begin(), zone, guard);
        std::fill_n(block_.end() - zone, zone, guard);
        close();
    }
    ~Guarded() { ASAN_UNPOISON_MEMORY_REGION(block_.data(), block_.size()); }
    Guarded(const Guarded&) = delete;

    u8* data() { return block_.data() + zone; }
    int size() const { return int(size_); }
    Bytes bytes() { return {data(), data() + size_}; }
    /// True while both guard zones are as they were made.
    bool intact() {
        ASAN_UNPOISON_MEMORY_REGION(block_.data(), block_.size());
        const Bytes whole(zone, guard);
        const bool result = std::equal(whole.begin(), whole.end(), block_.begin()) &&
                            std::equal(whole.begin(), whole.end(), block_.end() - zone);
        close();
        return result;
    }

  private:
    static constexpr int zone = 64;
    void close() {
        ASAN_POISON_MEMORY_REGION(block_.data(), zone);
        ASAN_POISON_MEMORY_REGION(data() + size_, zone);
    }
    Bytes block_;
    std::size_t size_;
};

/// Calls `action` with a zero of the element's C++ type (types 2-8).
template <class Action>
decltype(auto) visit(int type, Action action) {
    switch (type) {
        case DataUInt8: return action(std::uint8_t{});
        case DataInt8: return action(std::int8_t{});
        case DataUInt16: return action(std::uint16_t{});
        case DataInt16: return action(std::int16_t{});
        case DataUInt32: return action(std::uint32_t{});
        case DataInt32: return action(std::int32_t{});
        default: return action(float{});
    }
}

inline double readElement(const void* place, int type) {
    return visit(type,
                 [&]<class T>(T value) { return std::memcpy(&value, place, sizeof value), double(value); });
}
inline void writeElement(void* place, int type, double v) {
    visit(type, [&]<class T>(T value) { value = T(v), std::memcpy(place, &value, sizeof value); });
}

using Pair = std::pair<double, double>;

/// Smallest and largest value of an element type; for float its conventional 0 ... 255.
inline Pair rangeOf(int type) {
    if (type == DataBit) return {0, 1};
    if (type == DataFloat) return {0, 255};
    return visit(
        type, []<class T>(T) { return Pair(std::numeric_limits<T>::min(), std::numeric_limits<T>::max()); });
}

/// One (minimum, maximum) pair of a bound section.
inline Pair readPair(const u8* section, int channel, int type) {
    const int bytes = DataBytes(u16(type));
    return {readElement(section + 2 * channel * bytes, type),
            readElement(section + (2 * channel + 1) * bytes, type)};
}
inline void writePair(u8* section, int channel, int type, Pair pair) {
    const int bytes = DataBytes(u16(type));
    writeElement(section + 2 * channel * bytes, type, pair.first);
    writeElement(section + (2 * channel + 1) * bytes, type, pair.second);
}

/// The type of a channel's values: sub types with bit 0 hold signed differences after the first channel.
inline int trueType(const Image& image, int channel) {
    return GetTrueDataType(image.imageType & SubSignedBit, image.channels, channel,
                           u8(image.dataType & DataTypeMask));
}

/// Where an element stands. Interleaved rows of bits hold one run of bits per channel.
inline u8* elementPlace(const Image& image, int x, int y, int c) {
    const bool together = IsInterleaved(&image);
    u8* const row = image.data + y * image.rowBytes;
    if ((image.dataType & DataTypeMask) == DataBit)
        return row + c * (together ? (image.width + 7) / 8 : image.height * image.rowBytes) + x / 8;
    const int bytes = DataBytes(image.dataType);
    return row +
           (together ? (x * image.channels + c) * bytes : c * image.height * image.rowBytes + x * bytes);
}
inline double elementAt(const Image& image, int x, int y, int c, int as) {
    const u8* const place = elementPlace(image, x, y, c);
    return (image.dataType & DataTypeMask) == DataBit ? *place >> (7 - x % 8) & 1 : readElement(place, as);
}
inline void putElement(const Image& image, int x, int y, int c, double v, int as) {
    u8* const place = elementPlace(image, x, y, c);
    if ((image.dataType & DataTypeMask) != DataBit) return writeElement(place, as, v);
    const int mask = 0x80 >> x % 8;
    *place = u8(v != 0 ? *place | mask : *place & ~mask);
}

struct Shape {
    int width, height, channels, type;
    bool interleaved = false;
    int imageType = 0;
};

/// An image whose pixels stand between guard bytes.
struct TestImage : Image {
    Guarded pixels;

    explicit TestImage(const Shape& s) : Image(shaped(s)), pixels(GetImageTotalBytes(this)) {
        data = pixels.data();
    }
    ~TestImage() {
        data = nullptr;
        CleanupImage(this);
    }
    TestImage(const TestImage&) = delete;

    int type() const { return dataType & DataTypeMask; }
    int bytes() const { return DataBytes(dataType); }
    int trueType(int channel) const { return test::trueType(*this, channel); }

    double at(int x, int y, int c) { return elementAt(*this, x, y, c, type()); }
    double at(int x, int y, int c, int as) { return elementAt(*this, x, y, c, as); }
    void put(int x, int y, int c, double v) { putElement(*this, x, y, c, v, type()); }
    void put(int x, int y, int c, double v, int as) { putElement(*this, x, y, c, v, as); }
    /// Random pixels: whole ranges for integers, quarters in -300 ... 300 for float.
    void randomise(Random& random) {
        random.fill(data, pixels.size());
        if (type() != DataFloat) return;
        for (int i = 0; i < pixels.size(); i += 4)
            writeElement(data + i, DataFloat, random(-1200, 1200) / 4.0);
    }
    Pair pair(int channel) { return readPair(GetBound(this), channel, trueType(channel)); }
    void setPair(int channel, Pair pair) {
        if (GetBound(this)) writePair(bound, channel, trueType(channel), pair);
        state |= StateBoundSet;
    }

  private:
    static Image shaped(const Shape& s) {
        Image image;
        ConstructImage(image, u16(s.width), u16(s.height), u16(s.channels), nullptr, u16(s.type),
                       s.interleaved, true);
        image.imageType = u16(s.imageType);
        return image;
    }
};

}  // namespace test
