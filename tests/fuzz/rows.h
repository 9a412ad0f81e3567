// The table: a row for each exported function, or for few that only make sense together. A row draws what the
// call needs, leaves without a call where it may not be called now, calls, and says what must hold after.
#pragma once

#include <span>

#include "tests/fuzz/world.h"

namespace fuzz {

struct Row {
    const char* name;
    void (*run)(World& w);
    Promise promise = Strong;
};

/// The rows of a room of the library.
std::span<const Row> imageRows();
std::span<const Row> boundsRows();
std::span<const Row> colourRows();
std::span<const Row> componentRows();
std::span<const Row> movieRows();
std::span<const Row> displayRows();
std::span<const Row> pluginRows();

/// All rows, room after room.
const std::vector<Row>& rows();
/// Where the rooms start, and the number of rows.
const std::vector<std::size_t>& rooms();

/// Marks images whose bound array was brought by the host and has the promised size alone: it goes before
/// their shape changes.
constexpr int kHostBound = 0x4042;
inline void forgetHostBound(Image* image) {
    if (image->frameOffset2 != kHostBound) return;
    ::operator delete(std::exchange(image->bound, nullptr));
    image->frameOffset2 = 0;
    image->state &= u8(~(StateBoundSet | StateBoundDefault | StateHsiBound));
}

inline Bytes pixelsOf(const Image* image) {
    return image->data ? Bytes(image->data, image->data + GetImageTotalBytes(image)) : Bytes();
}
inline int typeOf(const Image* image) {
    return image->dataType & DataTypeMask;
}
/// Equal values; those that are not numbers count as equal.
inline bool same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// Equal pixels; floats as above.
inline bool samePixels(const Image* image, const Bytes& a, const Bytes& b) {
    if (typeOf(image) != DataFloat || a.size() != b.size()) return a == b;
    for (std::size_t i = 0; i + 4 <= a.size(); i += 4) {
        float x, y;
        std::memcpy(&x, &a[i], 4), std::memcpy(&y, &b[i], 4);
        if (std::memcmp(&x, &y, 4) != 0 && !(std::isnan(x) && std::isnan(y))) return false;
    }
    return true;
}

}  // namespace fuzz
