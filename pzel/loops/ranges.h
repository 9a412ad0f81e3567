// The one place where loops meet threads: the rows of a call, or whatever else it can be divided into, in
// ranges that the host's runner takes as tasks. Calls that are too small for that, and all where there is no
// runner, are one range.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pzel/loops/runner.h"

namespace pzel {

/// What a loop waits for: memory, or the processor. It tells how many elements are worth a task.
enum class Effort { Moving, Computing };

/// Ranges of at most this many; each has enough to do that the number costs nothing.
constexpr int kMostRanges = 256;

class Ranges {
  public:
    /// `count` rows that have `elements` elements in all.
    Ranges(int count, std::int64_t elements, Effort effort, int most = kMostRanges);

    int size() const { return ranges; }
    int begin(int range) const { return int(std::int64_t(rows) * range / ranges); }

    /// Calls f(range, first, end) for every range, in any order and on several threads where there is more
    /// than one. What a call throws is thrown here when all have ended.
    template <class F>
    void run(const F& f) const {
        if (ranges == 1) return f(0, 0, rows);
        runTasks(
            [](const Ranges& self, const void* work, int range) {
                (*static_cast<const F*>(work))(range, self.begin(range), self.begin(range + 1));
            },
            &f);
    }

  private:
    void runTasks(void (*task)(const Ranges&, const void*, int), const void* work) const;

    Zel::Runner runner;
    int rows, ranges;
};

/// Calls f(first, end) with ranges of rows that together are all of them.
template <class F>
void forRanges(int rows, std::int64_t elements, Effort effort, const F& f) {
    Ranges(rows, elements, effort).run([&](int, int first, int end) { f(first, end); });
}

/// How many ranges of `elements` elements pay.
int rangesThatPay(std::int64_t elements, Effort effort);

}  // namespace pzel
