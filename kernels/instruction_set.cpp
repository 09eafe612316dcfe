// Detection by CPUID, and by XGETBV for the registers that the system has to save.
#include "kernels/instruction_set.h"

#include <cpuid.h>

namespace zvk::kernels {

namespace {

struct Leaf {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
};

// The answer to a CPUID query, or zeros where the processor does not know the leaf.
Leaf Query(unsigned leaf) {
    Leaf answer;
    __get_cpuid_count(leaf, 0, &answer.eax, &answer.ebx, &answer.ecx, &answer.edx);
    return answer;
}

bool HasAll(unsigned bits, unsigned wanted) {
    return (bits & wanted) == wanted;
}

// XGETBV may be executed only where the system has said that it saves more than it must.
unsigned SavedState(unsigned leaf1Ecx) {
    if (!HasAll(leaf1Ecx, bit_OSXSAVE)) return 0;
    unsigned low = 0;
    unsigned high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

}  // namespace

InstructionSet LevelOf(const ProcessorFeatures& features) {
    constexpr unsigned ymmState = 0x06;
    constexpr unsigned zmmState = 0xE6;
    if (!HasAll(features.leaf1Ecx, bit_SSSE3 | bit_SSE4_1)) return InstructionSet::Baseline;
    if (!HasAll(features.savedState, ymmState) || !HasAll(features.leaf1Ecx, bit_AVX | bit_FMA) ||
        !HasAll(features.leaf7Ebx, bit_AVX2)) {
        return InstructionSet::Sse41;
    }
    if (!HasAll(features.savedState, zmmState) ||
        !HasAll(features.leaf7Ebx, bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL) ||
        !HasAll(features.leaf7Ecx, bit_AVX512VNNI)) {
        return InstructionSet::Avx2;
    }
    return InstructionSet::Avx512;
}

InstructionSet DetectInstructionSet() {
    const Leaf basic = Query(1);
    const Leaf extended = Query(7);
    return LevelOf({.leaf1Ecx = basic.ecx,
                    .leaf7Ebx = extended.ebx,
                    .leaf7Ecx = extended.ecx,
                    .savedState = SavedState(basic.ecx)});
}

}  // namespace zvk::kernels
