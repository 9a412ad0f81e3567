// What loops run on, found out once.
#include "pzel/loops/instruction_set.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace pzel {

namespace {

InstructionSet Chosen() {
    constexpr std::string_view names[] = {"reference", "baseline", "sse41", "avx2", "avx512bw", "avx512"};
    const InstructionSet best = bestOfMachine();
    const char* asked = std::getenv("PZEL_INSTRUCTION_SET");
    const auto* name = std::find(std::begin(names), std::end(names), asked ? asked : "");
    if (name == std::end(names)) return best;
    return std::min(best, InstructionSet(name - std::begin(names)));
}

}  // namespace

InstructionSet instructionSet() {
    static const InstructionSet chosen = Chosen();
    return chosen;
}

}  // namespace pzel
