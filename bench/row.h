// What the benchmark compares: a row is one exported function beside peers that do the same work.
//
// All contestants of a row read the same pixels and write the same result, so that none has the better
// memory. The rows are in the *_rows.cpp files, one for each subject; runner.h checks and times them, table.h
// prints what came out.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace bench {

constexpr int kSmall = 512, kLarge = 4096;  // width and height of the pictures of most rows
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// The most that ours may take, as a multiple of the peer's time; kNone where there is no goal.
struct Goal {
    Goal(double everywhere) : small(everywhere), large(everywhere) {}
    Goal(double atSmall, double atLarge) : small(atSmall), large(atLarge) {}
    double at(int size) const { return size == kSmall ? small : large; }
    double small, large;
};

/// The other way to do a row's work.
struct Peer {
    std::string name;
    Goal goal;
    std::function<void()> run;
    double tolerance = 0;  ///< how far its result may lie from ours, see Result
    double units = 1;      ///< of work in one run; times are compared per unit
};

/// What every contestant of a row writes. Integers are compared by their difference, floats relative to their
/// magnitude (from 1 on).
struct Result {
    void* data = nullptr;  ///< null: nothing to compare
    std::size_t bytes = 0;
    double (*difference)(const void* a, const void* b, std::size_t bytes) = nullptr;
};

template <class T>
Result resultOf(T* data, std::size_t count) {
    const auto difference = [](const void* a, const void* b, std::size_t bytes) {
        double worst = 0;
        for (std::size_t i = 0; i < bytes / sizeof(T); ++i) {
            const double x = double(static_cast<const T*>(a)[i]), y = double(static_cast<const T*>(b)[i]);
            const double scale = std::is_floating_point_v<T> ? std::max(1.0, std::abs(x)) : 1.0;
            const double d = std::abs(x - y) / scale;
            worst = d <= worst ? worst : d;  // NaN comes through
        }
        return worst;
    };
    return {data, count * sizeof(T), difference};
}

/// When `Row::restore` runs: before the comparison only, or also before every timed run, untimed.
enum class Restore { ForComparison, EveryRun };

/// One comparison at one size. The functions share the ownership of what they work on.
struct Row {
    std::function<void()> ours;
    std::vector<Peer> peers;
    Result result;
    std::size_t copyBytes = 0;      ///< what the memcpy beside it copies; 0: no memcpy
    double copyGoal = kNone;        ///< the most that ours may take at kLarge, as a multiple of that memcpy
    double units = 1;               ///< of work in one run of ours
    std::function<void()> restore;  ///< makes the input of work in place new again; or empty
    Restore when = Restore::ForComparison;
};

/// A line of the table: builds its row for each of its sizes. Rows that have their own sizes have the one
/// size 0.
struct Entry {
    std::string name;
    std::function<Row(int size)> build;
    std::vector<int> sizes = {kSmall, kLarge};
};
using Catalogue = std::vector<Entry>;

void addMappingRows(Catalogue&);     // elements to bitmap bytes
void addColourRows(Catalogue&);      // hue, saturation and intensity
void addCopyRows(Catalogue&);        // rectangles, layouts and element types
void addArithmeticRows(Catalogue&);  // floats; minimum and maximum, histograms
void addOverlayRows(Catalogue&);     // bitmaps over bitmaps, movies
void addScalingRows(Catalogue&);     // what must not depend on sizes and counts
void addWaitingRows(Catalogue&);     // from a change to the painted bitmap

}  // namespace bench
