// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/level_table.h"
#include "kernels/simd_sse41.h"
#include "kernels/taps_sse41.h"
#include "kernels/words_sse.h"

namespace zvk::kernels {

constinit const KernelTable sse41Kernels =
    TableOf<Sse41, Sse41, Sse41Taps, WordPair<Sse41>, DoublePairs>(InstructionSet::Sse41);

}  // namespace zvk::kernels
