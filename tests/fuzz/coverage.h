// Whether the table calls every exported function.
#pragma once

#include <string>

#include "tests/fuzz/sequence.h"

namespace fuzz {

/// Stops at the first instruction of every function that a file lists (mangled names, one a line) while
/// sequences are played; names those that were never reached. 0 where all were.
int coversAll(const std::string& listing, u64 sequences);

}  // namespace fuzz
