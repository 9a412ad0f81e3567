// Making the table of arrows, and its life.
#include "pzel/display/vector_table.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstdlib>
#include <memory>

namespace {

// Released by VectorTermination; reachable to the end without.
std::atomic<const pzel::VectorTable*> table = nullptr;

/// Writes an arrow from `out` on; returns the end of it.
pzel::VectorPoint* layArrow(pzel::VectorPoint* out, int dx, int dy) {
    const int major = std::max(dx, dy), minor = std::min(dx, dy);
    const auto put = [&](int along, int across) {
        *out++ = {static_cast<std::int8_t>(dx >= dy ? along : across),
                  static_cast<std::int8_t>(dx >= dy ? across : along)};
    };
    int across = 0, before = 0, error = 0;  // the error in parts of 2 * major
    put(0, 0);
    for (int along = 1; along <= major; ++along) {
        before = across;
        error += 2 * minor;
        if (error >= major) {
            ++across;
            error -= 2 * major;
        }
        put(along, across);
    }
    if (major < 2) return out;
    // Both barbs touch the tip and neither is a point of the line. Set off further they look like a cross.
    if (before == across) {
        put(major - 1, across - 1);
        put(major - 1, across + 1);
    } else {
        put(major - 1, across);
        put(major, across - 1);
    }
    return out;
}

}  // namespace

namespace pzel {

VectorTable::VectorTable() {
    VectorPoint* end = points_.data();
    for (int dy = 0; dy < kSide; ++dy) {
        for (int dx = 0; dx < kSide; ++dx) {
            end = layArrow(end, dx, dy);
            last_[static_cast<std::size_t>(dy * kSide + dx)] =
                static_cast<std::int16_t>(end - points_.data() - 1);
        }
    }
    assert(end == points_.data() + points_.size());
}

std::span<const VectorPoint> VectorTable::run(int dx, int dy) const {
    const auto entry = static_cast<std::size_t>(dy * kSide + dx);
    const int first = entry == 0 ? 0 : last_[entry - 1] + 1;
    return {points_.data() + first, points_.data() + last_[entry] + 1};
}

const VectorTable* vectorTable() {
    return table;
}

}  // namespace pzel

void VectorInit() {
    if (table) return;
    auto made = std::make_unique<const pzel::VectorTable>();
    const pzel::VectorTable* none = nullptr;
    if (table.compare_exchange_strong(none, made.get())) made.release();  // else another thread was first
}

void VectorTermination() {
    delete table.exchange(nullptr);
}
