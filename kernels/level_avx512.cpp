// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/level_table.h"
#include "kernels/row_bytes_avx512.h"
#include "kernels/simd_avx512.h"
#include "kernels/turns_avx512.h"
#include "kernels/wide_boxes_avx512.h"
#include "kernels/wide_level.h"

namespace zvk::kernels {

constinit const KernelTable avx512Kernels =
    TableOf<WideLevel<Avx512, RowBytes, WidestTurns, WidestEvenFours>>(InstructionSet::Avx512);

}  // namespace zvk::kernels
