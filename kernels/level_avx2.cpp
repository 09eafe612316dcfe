// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/four_doubles_avx2.h"
#include "kernels/level_table.h"
#include "kernels/row_lanes_avx2.h"
#include "kernels/simd_avx2.h"
#include "kernels/wide_boxes_avx2.h"
#include "kernels/words_avx2.h"

namespace zvk::kernels {

namespace {

struct Avx2Level {
    using Simd = Avx2;
    using Narrow = Sse41;
    using Lanes = WideRowLanes;
    using FourDoubles = FourDoublesAvx2;
    using Words = WideWords;
    using Doubles = DoubleQuads;
    using ShortBoxes = WideBoxAverager;
};

}  // namespace

constinit const KernelTable avx2Kernels = TableOf<Avx2Level>(InstructionSet::Avx2);

}  // namespace zvk::kernels
