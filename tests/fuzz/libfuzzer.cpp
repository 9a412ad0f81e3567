// Sequences that libFuzzer chooses by what they reach: its input is a row of records.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "tests/fuzz/run.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isWarm = (fuzz::warmUp(), true);
    static fuzz::Counts counts;
    constexpr std::size_t kMost = 30;
    fuzz::Sequence sequence(std::min(size / sizeof(fuzz::Record), kMost));
    if (!isWarm || sequence.empty()) return 0;
    std::memcpy(sequence.data(), data, sequence.size() * sizeof(fuzz::Record));
    const std::string fault = fuzz::judge(sequence, counts);
    if (fault.empty()) return 0;
    std::cout << "FINDING: " << fault << '\n';
    fuzz::print(std::cout, sequence, false);
    std::abort();
}
