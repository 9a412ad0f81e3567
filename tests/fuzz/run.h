// Sequences against their judges: each is played twice, with new blocks filled differently, on two
// instruction sets, and with and without a runner that shuffles its tasks, and gives the same; refusals of
// memory; shortening.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/fuzz/sequence.h"

namespace fuzz {

/// What a process has played.
struct Counts {
    u64 sequences = 0, calls = 0, refusals = 0;
    static constexpr std::size_t kMostRows = 512;
    std::array<u64, kMostRows> executed{};  ///< by row
};

/// The sequence of a number: the same for the same seed everywhere.
Sequence sequenceOf(u64 seed, u64 number);

/// Makes what the library keeps for good, so that it does not count as left.
void warmUp();

/// Plays a sequence; says what is wrong, or nothing.
std::string judge(const Sequence& sequence, Counts& counts);
/// Plays it with the requests of its last call refused one after the other, alone and with all that follow.
std::string judgeRefusals(const Sequence& sequence, Counts& counts);

/// The fewest and simplest records for which `fails` still holds.
Sequence shortened(Sequence sequence, const std::function<bool(const Sequence&)>& fails);

/// A sequence as C++: its calls with their arguments, and a line that repeats it exactly.
void print(std::ostream& out, const Sequence& sequence, bool refusals);
std::string hexOf(const Sequence& sequence);
Sequence ofHex(const std::string& text);

}  // namespace fuzz
