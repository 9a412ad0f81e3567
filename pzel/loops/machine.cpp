// What the machine can do.
#include "pzel/loops/instruction_set.h"

namespace pzel {

InstructionSet bestOfMachine() {
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

}  // namespace pzel
