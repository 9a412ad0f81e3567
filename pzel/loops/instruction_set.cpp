// What the machine can do, found out once.
#include "pzel/loops/instruction_set.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace pzel {

namespace {

InstructionSet BestOfMachine() {
#if PZEL_X86_SETS
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                      __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                        __builtin_cpu_supports("avx512vl");
    if (avx2 && avx512)
        return __builtin_cpu_supports("avx512vbmi") ? InstructionSet::Avx512 : InstructionSet::Avx512bw;
    if (avx2) return InstructionSet::Avx2;
    if (__builtin_cpu_supports("sse4.1")) return InstructionSet::Sse41;
#endif
    return InstructionSet::Baseline;
}

InstructionSet Chosen() {
    constexpr std::string_view names[] = {"reference", "baseline", "sse41", "avx2", "avx512bw", "avx512"};
    const InstructionSet best = BestOfMachine();
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
