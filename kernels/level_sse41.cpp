// The kernels of one level of instruction sets. Nothing here may be shared with other files: what
// the linker could pick from here for everybody would not run on an older machine.
#include "kernels/four_doubles_sse2.h"
#include "kernels/level_table.h"
#include "kernels/row_lanes_sse.h"
#include "kernels/simd_sse41.h"
#include "kernels/words_sse.h"

namespace zvk::kernels {

namespace {

struct Sse41Level {
    using Simd = Sse41;
    using Narrow = Sse41;
    using Lanes = RowLanePair<Sse41>;
    using FourDoubles = FourDoublesSse2;
    using Words = WordPair<Sse41>;
    using Doubles = DoublePairs;
    using ShortBoxes = ShortBoxAverager<Sse41>;
};

}  // namespace

constinit const KernelTable sse41Kernels = TableOf<Sse41Level>(InstructionSet::Sse41);

}  // namespace zvk::kernels
