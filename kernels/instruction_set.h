// Which instruction sets the processor and the system under it offer. Detection is our own, since
// the compiler's helpers do not exist in every file format that the plugin is built for.
#pragma once

#include <cstdint>

namespace zvk::kernels {

// Levels of instruction sets, each including those before it. Under translation on other
// processors AVX2 is not reported and Sse41 is what is left.
enum class InstructionSet : std::uint8_t {
    Baseline,  // what every processor of this architecture has: SSE2
    Sse41,     // with SSSE3
    Avx2,      // with FMA
    Avx512,    // F, BW, DQ, VL and VNNI
};

inline constexpr int instructionSetCount = 4;

// What a processor says of itself: registers of CPUID, and the parts of the register state that the
// system saves (XCR0; 0 where it cannot be asked). Intel 64 and IA-32 Architectures Software
// Developer's Manual, volume 2, CPUID, and volume 1, section 13.3.
struct ProcessorFeatures {
    unsigned leaf1Ecx;
    unsigned leaf7Ebx;
    unsigned leaf7Ecx;
    unsigned savedState;
};

// The highest level that such a processor can run.
InstructionSet LevelOf(const ProcessorFeatures& features);

// The highest level that this machine can run.
InstructionSet DetectInstructionSet();

}  // namespace zvk::kernels
