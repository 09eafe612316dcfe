// The choice of a kernel table, once per process.
#include <array>
#include <cstddef>

#include "kernels/kernel_table.h"

namespace zvk::kernels {

const KernelTable& KernelsOf(InstructionSet level) {
    static constexpr std::array<const KernelTable*, instructionSetCount> tables = {
        &baselineKernels, &sse41Kernels, &avx2Kernels, &avx512Kernels};
    return *tables[static_cast<std::size_t>(level)];
}

const KernelTable& SelectedKernels() {
#ifdef ZVK_FIXED_LEVEL
    static const KernelTable* const selected = &KernelsOf(InstructionSet::ZVK_FIXED_LEVEL);
#else
    static const KernelTable* const selected = &KernelsOf(DetectInstructionSet());
#endif
    return *selected;
}

}  // namespace zvk::kernels
