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

// The parts of the register state that the system saves; 0 where it cannot be asked.
unsigned SavedState(const Leaf& features) {
    if ((features.ecx & bit_OSXSAVE) == 0) return 0;
    unsigned low = 0;
    unsigned high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

}  // namespace

InstructionSet DetectInstructionSet() {
    constexpr unsigned ymmState = 0x06;
    constexpr unsigned zmmState = 0xE6;
    const Leaf features = Query(1);
    const Leaf extended = Query(7);
    if (!HasAll(features.ecx, bit_SSSE3 | bit_SSE4_1)) return InstructionSet::Baseline;
    const unsigned saved = SavedState(features);
    if (!HasAll(saved, ymmState) || !HasAll(features.ecx, bit_AVX | bit_FMA) ||
        !HasAll(extended.ebx, bit_AVX2)) {
        return InstructionSet::Sse41;
    }
    if (!HasAll(saved, zmmState) ||
        !HasAll(extended.ebx, bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL) ||
        !HasAll(extended.ecx, bit_AVX512VNNI)) {
        return InstructionSet::Avx2;
    }
    return InstructionSet::Avx512;
}

}  // namespace zvk::kernels
