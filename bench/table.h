// The benchmark's output: a table in Markdown, headed by the machine and the definitions.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "bench/runner.h"

namespace bench {

/// An entry of the catalogue with its times at each of its sizes.
struct Outcome {
    std::string name;
    std::vector<Times> times;
};

/// Processor, instruction sets, versions of the peers; what a ratio is.
void printHead(std::ostream& out);
/// The times of a row at one size as a line, for whoever watches.
void printTimes(std::ostream& out, const Times& times);
/// Two tables: entries of two sizes, then those of one.
void printTables(std::ostream& out, const std::vector<Outcome>& outcomes);

/// An entry with its time on all processors / on one.
struct OnAll {
    std::string name;
    double ratio;
};
/// A table of these.
void printOnAll(std::ostream& out, const std::vector<OnAll>& outcomes);

}  // namespace bench
