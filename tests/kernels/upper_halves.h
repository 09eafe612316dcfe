// Whether the upper halves of vector registers are in use. A kernel that leaves them so slows down
// all code for narrower vectors that runs after it, until some other code clears them.
#pragma once

#include <cpuid.h>

namespace zvk::kernels::testing {

// Bits of the states of registers: the upper halves of sixteen vectors of 32 and of 64 bytes.
inline constexpr unsigned upperHalves = 1U << 2U | 1U << 6U;

// Whether the processor tells which states are in use.
inline bool TellsStatesInUse() {
    constexpr unsigned stateLeaf = 0xD;
    constexpr unsigned tells = 1U << 2U;
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0) return false;
    if ((ecx & bit_OSXSAVE) == 0 || (ecx & bit_AVX) == 0) return false;
    return __get_cpuid_count(stateLeaf, 1, &eax, &ebx, &ecx, &edx) != 0 && (eax & tells) != 0;
}

// Only where the processor tells.
inline bool AreUpperHalvesInUse() {
    unsigned low = 0;
    unsigned high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
    return (low & upperHalves) != 0;
}

// Whether it also tells when they no longer are: it need not.
inline bool TellsUnusedUpperHalves() {
    if (!TellsStatesInUse()) return false;
    __asm__ volatile("vzeroupper" ::: "memory");
    return !AreUpperHalvesInUse();
}

}  // namespace zvk::kernels::testing
