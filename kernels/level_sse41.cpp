// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/level_table.h"
#include "kernels/narrow_level.h"
#include "kernels/simd_sse41.h"

namespace zvk::kernels {

constinit const KernelTable sse41Kernels = TableOf<NarrowLevel<Sse41>>(InstructionSet::Sse41);

}  // namespace zvk::kernels
