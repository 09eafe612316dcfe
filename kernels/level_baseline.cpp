// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/four_doubles_sse2.h"
#include "kernels/level_table.h"
#include "kernels/row_lanes_sse.h"
#include "kernels/simd_sse2.h"
#include "kernels/words_sse.h"

namespace zvk::kernels {

namespace {

struct BaselineLevel {
    using Simd = Sse2;
    using Narrow = Sse2;
    using Lanes = RowLanePair<Sse2>;
    using FourDoubles = FourDoublesSse2;
    using Words = WordPair<Sse2>;
    using Doubles = DoublePairs;
    using ShortBoxes = ShortBoxAverager<Sse2>;
};

}  // namespace

constinit const KernelTable baselineKernels = TableOf<BaselineLevel>(InstructionSet::Baseline);

}  // namespace zvk::kernels
