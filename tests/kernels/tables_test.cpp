// The tables of kernels: complete, one per level, each with functions of its own.
#include <cpuid.h>
#include <gtest/gtest.h>

#include <set>

#include "kernels/instruction_set.h"
#include "kernels/quotient.h"
#include "tests/kernels/levels.h"

namespace zvk::kernels {
namespace {

using testing::OfferedLevels;

std::vector<const void*> SlotsOf(const KernelTable& table) {
    return {reinterpret_cast<const void*>(table.resampleRows),
            reinterpret_cast<const void*>(table.blendRows),
            reinterpret_cast<const void*>(table.widenRow),
            reinterpret_cast<const void*>(table.averageRows),
            reinterpret_cast<const void*>(table.interpolateRows),
            reinterpret_cast<const void*>(table.interpolateColumns),
            reinterpret_cast<const void*>(table.addToColumnSums),
            reinterpret_cast<const void*>(table.blurColumns),
            reinterpret_cast<const void*>(table.blurRows),
            reinterpret_cast<const void*>(table.addToLongSums),
            reinterpret_cast<const void*>(table.blurColumnsLong),
            reinterpret_cast<const void*>(table.blurRowLong),
            reinterpret_cast<const void*>(table.drawWeightedRow),
            reinterpret_cast<const void*>(table.drawPlainRows),
            reinterpret_cast<const void*>(table.copyRow),
            reinterpret_cast<const void*>(table.makeRowsOpaque)};
}

TEST(KernelTables, HoldAFunctionOfTheirOwnInEverySlot) {
    std::set<const void*> functions;
    std::size_t slotCount = 0;
    for (int level = 0; level < instructionSetCount; ++level) {
        for (const void* slot : SlotsOf(KernelsOf(static_cast<InstructionSet>(level)))) {
            EXPECT_NE(slot, nullptr);
            functions.insert(slot);
            ++slotCount;
        }
    }
    EXPECT_EQ(functions.size(), slotCount);
    EXPECT_EQ(slotCount * sizeof(void*),
              instructionSetCount * (sizeof(KernelTable) - sizeof(void*)))
        << "a slot is not looked at here";
}

// What the tests of the kernels look for after every call.
TEST(UpperHalves, AreSeenToBeInUse) {
    if (!testing::TellsUnusedUpperHalves())
        GTEST_SKIP() << "this processor does not tell when they no longer are";
    __asm__ volatile("vpcmpeqd %%ymm0, %%ymm0, %%ymm0" ::: "xmm0");
    EXPECT_TRUE(DetectInstructionSet() < InstructionSet::Avx2 || testing::AreUpperHalvesInUse());
    __asm__ volatile("vzeroupper" ::: "memory");
    EXPECT_FALSE(testing::AreUpperHalvesInUse());
}

TEST(KernelTables, AreNamedByTheirLevel) {
    for (int level = 0; level < instructionSetCount; ++level) {
        const auto instructionSet = static_cast<InstructionSet>(level);
        EXPECT_EQ(KernelsOf(instructionSet).instructionSet, instructionSet);
    }
}

TEST(KernelTables, OfTheHighestLevelOfferedAreSelected) {
    EXPECT_EQ(&SelectedKernels(), &KernelsOf(OfferedLevels().back()));
}

TEST(InstructionSets, AreDetectedAsTheCompilerDetectsThem) {
    const bool sse41 = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
    const bool avx2 = sse41 && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") &&
                        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
                        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vnni");
    const InstructionSet expected = avx512  ? InstructionSet::Avx512
                                    : avx2  ? InstructionSet::Avx2
                                    : sse41 ? InstructionSet::Sse41
                                            : InstructionSet::Baseline;
    EXPECT_EQ(DetectInstructionSet(), expected);
}

// A processor that has everything, on a system that saves everything.
constexpr ProcessorFeatures complete{
    .leaf1Ecx = bit_SSSE3 | bit_SSE4_1 | bit_AVX | bit_FMA,
    .leaf7Ebx = bit_AVX2 | bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL,
    .leaf7Ecx = bit_AVX512VNNI,
    .savedState = 0xE6};

struct Absence {
    unsigned ProcessorFeatures::*part;
    unsigned bit;
    InstructionSet left;
};

TEST(InstructionSets, AreThoseBelowTheFirstOfWhichAnythingIsMissing) {
    EXPECT_EQ(LevelOf(complete), InstructionSet::Avx512);
    for (const auto& [part, bit, left] : {
             Absence{&ProcessorFeatures::leaf1Ecx, bit_SSSE3, InstructionSet::Baseline},
             Absence{&ProcessorFeatures::leaf1Ecx, bit_SSE4_1, InstructionSet::Baseline},
             Absence{&ProcessorFeatures::leaf1Ecx, bit_AVX, InstructionSet::Sse41},
             Absence{&ProcessorFeatures::leaf1Ecx, bit_FMA, InstructionSet::Sse41},
             Absence{&ProcessorFeatures::leaf7Ebx, bit_AVX2, InstructionSet::Sse41},
             Absence{&ProcessorFeatures::savedState, 0x02, InstructionSet::Sse41},
             Absence{&ProcessorFeatures::savedState, 0x04, InstructionSet::Sse41},
             Absence{&ProcessorFeatures::savedState, 0x20, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::savedState, 0x40, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::savedState, 0x80, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::leaf7Ebx, bit_AVX512F, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::leaf7Ebx, bit_AVX512BW, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::leaf7Ebx, bit_AVX512DQ, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::leaf7Ebx, bit_AVX512VL, InstructionSet::Avx2},
             Absence{&ProcessorFeatures::leaf7Ecx, bit_AVX512VNNI, InstructionSet::Avx2},
         }) {
        ProcessorFeatures features = complete;
        features.*part &= ~bit;
        EXPECT_EQ(LevelOf(features), left) << "without bit " << bit;
    }
}

// Under translation on other processors SSE4.1 is reported, and nothing that needs more registers.
TEST(InstructionSets, AreSse41WhereOnlyThatIsReported) {
    EXPECT_EQ(
        LevelOf(
            {.leaf1Ecx = bit_SSSE3 | bit_SSE4_1, .leaf7Ebx = 0, .leaf7Ecx = 0, .savedState = 0}),
        InstructionSet::Sse41);
}

TEST(Quotients, OfAllSumsAreExactWhereTheyExist) {
    int existing = 0;
    for (std::int32_t length = 1; length <= 300; ++length) {
        for (const std::int32_t addend : {0, length / 2}) {
            if (!Quotient::Exists(length, addend)) continue;
            ++existing;
            const Quotient quotient = Quotient::By(length);
            for (int sum = 0; sum <= 255 * length + addend; ++sum) {
                const std::int64_t product = std::int64_t{sum} * quotient.multiplier;
                ASSERT_EQ((product >> 16) >> quotient.shift, sum / length) << sum << '/' << length;
            }
        }
    }
    EXPECT_GT(existing, 400);
    EXPECT_FALSE(Quotient::Exists(1)) << "the multiplier has 17 bits";
    EXPECT_FALSE(Quotient::Exists(258)) << "sums have 17 bits";
}

}  // namespace
}  // namespace zvk::kernels
