// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/level_table.h"
#include "kernels/row_lanes_avx2.h"
#include "kernels/row_words_body.h"
#include "kernels/simd_avx2.h"
#include "kernels/turns_avx2.h"
#include "kernels/wide_level.h"

namespace zvk::kernels {

constinit const KernelTable avx2Kernels =
    TableOf<WideLevel<Avx2, RowWords<WideRowLanes>, WideTurns, EvenFours>>(InstructionSet::Avx2);

}  // namespace zvk::kernels
