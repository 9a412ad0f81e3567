// The table: a row for each exported function, or for few that only make sense together. A row draws what the
// call needs, leaves without a call where it may not be called now, calls, and says what must hold after.
#pragma once

#include <vector>

#include "tests/fuzz/world.h"

namespace fuzz {

struct Row {
    const char* name;
    void (*run)(World& w);
    Promise promise;
};

/// Rows by what they promise where memory is refused.
struct Table {
    void strong(const char* name, void (*run)(World&)) { rows.push_back({name, run, Strong}); }
    void basic(const char* name, void (*run)(World&)) { rows.push_back({name, run, Basic}); }
    void never(const char* name, void (*run)(World&)) { rows.push_back({name, run, Never}); }
    std::vector<Row> rows;
    std::vector<std::size_t> rooms;  // where the library's rooms start, and the end
};

void addImageRows(Table& table);
void addBoundsRows(Table& table);
void addColourRows(Table& table);
void addComponentRows(Table& table);
void addMovieRows(Table& table);
void addDisplayRows(Table& table);
void addPluginRows(Table& table);

/// All rows, room after room.
const Table& table();
const std::vector<Row>& rows();

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
