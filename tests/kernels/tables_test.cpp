// The tables of kernels: complete, one per level, each with functions of its own.
#include <gtest/gtest.h>

#include <set>

#include "tests/kernels/levels.h"

namespace zvk::kernels {
namespace {

using testing::OfferedLevels;

std::vector<const void*> SlotsOf(const KernelTable& table) {
    return {reinterpret_cast<const void*>(table.resampleRows),
            reinterpret_cast<const void*>(table.blendRows),
            reinterpret_cast<const void*>(table.widenRow),
            reinterpret_cast<const void*>(table.averageRow),
            reinterpret_cast<const void*>(table.interpolateRows),
            reinterpret_cast<const void*>(table.interpolateColumns),
            reinterpret_cast<const void*>(table.addToColumnSums),
            reinterpret_cast<const void*>(table.blurColumns),
            reinterpret_cast<const void*>(table.blurRows),
            reinterpret_cast<const void*>(table.addToLongSums),
            reinterpret_cast<const void*>(table.blurColumnsLong),
            reinterpret_cast<const void*>(table.blurRowLong),
            reinterpret_cast<const void*>(table.drawPlainRow),
            reinterpret_cast<const void*>(table.drawWeightedRow),
            reinterpret_cast<const void*>(table.copyRow)};
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

}  // namespace
}  // namespace zvk::kernels
