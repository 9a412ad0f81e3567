// The one seam between a loop and the machine: a loop is written once and compiled for several instruction
// sets, and the best one that the machine has runs. All give the same bytes.
//
// A loop that is worth it is handed over whole, as a lambda: onBestSet([=](auto set) { for … }). `set` is the
// instruction set that this copy is compiled for, as a constant; few loops need to know. Everything that a
// loop calls is inlined into each copy, so that the copies share no code with the rest of the library.
#pragma once

#include <type_traits>

// Loops are compiled for these. clang finds vectors of its own in them.
#if defined(__x86_64__) && (defined(__clang__) || __GNUC__ >= 12)
#define PZEL_X86_SETS 1
#else
#define PZEL_X86_SETS 0
#endif
// Other compilers than GCC lack what shuffle.h needs to name steps on vectors.
#if !defined(__clang__) && __GNUC__ >= 12
#define PZEL_VECTORS_OF_GCC 1
#else
#define PZEL_VECTORS_OF_GCC 0
#endif
#define PZEL_X86_VECTORS (PZEL_X86_SETS && PZEL_VECTORS_OF_GCC)
// 64-bit ARM: every machine has vectors of 16 bytes.
#if defined(__aarch64__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && PZEL_VECTORS_OF_GCC
#define PZEL_ARM_VECTORS 1
#else
#define PZEL_ARM_VECTORS 0
#endif
#define PZEL_VECTORS (PZEL_X86_VECTORS || PZEL_ARM_VECTORS)

namespace pzel {

/// Instruction sets by rank. `Reference` is what every machine has, without short cuts: where a kernel has a
/// faster form of its rule, the rule itself runs. All others are compared with it. `Avx512` is that of
/// processors since about 2020, with byte permutations (VBMI), `Avx512bw` that of the years before.
enum class InstructionSet { Reference, Baseline, Sse41, Avx2, Avx512bw, Avx512 };

template <InstructionSet set>
using SetConstant = std::integral_constant<InstructionSet, set>;

/// The best set of this machine.
InstructionSet bestOfMachine();

/// That, or what the environment variable PZEL_INSTRUCTION_SET asked for when it was first needed: reference,
/// baseline, sse41, avx2, avx512bw or avx512. One that the machine lacks counts as the best it has, and so
/// does any other text.
InstructionSet instructionSet();

/// Whether kernels may run faster forms of their rules.
inline bool takesShortCuts() {
    return instructionSet() != InstructionSet::Reference;
}

#if PZEL_X86_SETS
// By value: a copy that nobody else sees needs not be read again after each byte that the loop writes.
template <class Loop>
[[gnu::target("sse4.1"), gnu::flatten, gnu::noinline]] void onSse41(Loop loop) {
    loop(SetConstant<InstructionSet::Sse41>());
}

template <class Loop>
[[gnu::target("arch=x86-64-v3"), gnu::flatten, gnu::noinline]] void onAvx2(Loop loop) {
    loop(SetConstant<InstructionSet::Avx2>());
}

template <class Loop>
[[gnu::target("arch=x86-64-v4"), gnu::flatten, gnu::noinline]] void onAvx512bw(Loop loop) {
    loop(SetConstant<InstructionSet::Avx512bw>());
}

template <class Loop>
[[gnu::target("arch=x86-64-v4,avx512vbmi"), gnu::flatten, gnu::noinline]] void onAvx512(Loop loop) {
    loop(SetConstant<InstructionSet::Avx512>());
}
#endif

#if PZEL_ARM_VECTORS
template <class Loop>
[[gnu::flatten, gnu::noinline]] void onBaseline(Loop loop) {
    loop(SetConstant<InstructionSet::Baseline>());
}
#endif

/// Runs a loop, compiled for the best instruction set. The plain loops are those of `Reference`.
template <class Loop>
[[gnu::always_inline]] inline void onBestSet(Loop loop) {
#if PZEL_X86_SETS
    switch (instructionSet()) {
        case InstructionSet::Avx512: return onAvx512(loop);
        case InstructionSet::Avx512bw: return onAvx512bw(loop);
        case InstructionSet::Avx2: return onAvx2(loop);
        case InstructionSet::Sse41: return onSse41(loop);
        default: break;
    }
#elif PZEL_ARM_VECTORS
    if (instructionSet() != InstructionSet::Reference) return onBaseline(loop);
#endif
    loop(SetConstant<InstructionSet::Reference>());
}

/// Rules that few calls use say `isRare`; their loops are compiled once.
template <class Rule>
constexpr bool isRare = requires {
    requires Rule::isRare;
};

}  // namespace pzel
