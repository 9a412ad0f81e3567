// Checks that the contestants of a row agree, then times them: one thread, repetitions interleaved, the best
// of each kept.
#pragma once

#include <string>
#include <vector>

#include "bench/row.h"

namespace bench {

/// How long a row is timed.
struct Effort {
    int placements;   ///< how often the row is built again, in other memory: some pages suit caches badly
    int repetitions;  ///< in each placement
    double seconds;   ///< each repetition lasts at least so long
};

/// What came out for one row at one size; times are in seconds for one unit of work.
struct Times {
    struct Beside {
        std::string name;
        double goal;
        double seconds;
    };
    double ours;
    std::vector<Beside> peers;
    Beside copy;  ///< one memcpy beside one run; kNone where there is none
};

/// Checks and times an entry's row of one size.
/// @throws std::runtime_error naming the row and the peer whose result lies farther from ours than its
/// tolerance
Times measure(const Entry& entry, int size, const Effort& effort);

/// Elapsed time of an entry's row on all processors / on one, of the shortest of repetitions in turns.
double measureOnAll(const Entry& entry, int size, const Effort& effort);

}  // namespace bench
