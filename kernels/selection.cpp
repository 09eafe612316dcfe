// The choice of a kernel table, once per process.
#include "kernels/kernel_table.h"

namespace zvk::kernels {

const KernelTable& KernelsOf(InstructionSet level) {
    switch (level) {
        case InstructionSet::Avx512:
            return avx512Kernels;
        case InstructionSet::Avx2:
            return avx2Kernels;
        case InstructionSet::Sse41:
            return sse41Kernels;
        case InstructionSet::Baseline:
            break;
    }
    return baselineKernels;
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
