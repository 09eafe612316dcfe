// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/level_table.h"
#include "kernels/simd_sse2.h"
#include "kernels/taps_sse2.h"
#include "kernels/words_sse.h"

namespace zvk::kernels {

constinit const KernelTable baselineKernels =
    TableOf<Sse2, Sse2, Sse2Taps, WordPair<Sse2>, DoublePairs>(InstructionSet::Baseline);

}  // namespace zvk::kernels
