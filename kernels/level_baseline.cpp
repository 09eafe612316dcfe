// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/level_table.h"
#include "kernels/narrow_level.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {

constinit const KernelTable baselineKernels = TableOf<NarrowLevel<Sse2>>(InstructionSet::Baseline);

}  // namespace zvk::kernels
