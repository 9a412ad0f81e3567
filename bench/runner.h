// Checks that the contestants of a row agree, then times them: one thread, repetitions interleaved, the best
// of each kept.
#pragma once

#include <string>
#include <vector>

#include "bench/row.h"

namespace bench {

/// How long a row is timed.
struct Effort {
    int repetitions;
    double seconds;  ///< each repetition lasts at least so long
};

/// What came out for one row at one size.
struct Figures {
    std::vector<double> besidePeers;  ///< ours / peer, in the order of the peers
    double besideCopy = kNone;        ///< ours / memcpy
};

/// Runs every contestant once and compares what they wrote.
/// @throws std::runtime_error naming the row and the peer that lies farther off than its tolerance
void compareResults(const std::string& name, const Row& row);

Figures timeRow(const Row& row, const Effort& effort);

}  // namespace bench
