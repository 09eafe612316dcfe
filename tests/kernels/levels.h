// The levels that a kernel test goes through: every one that the machine offers.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "kernels/kernel_table.h"
#include "pixels/pixel_layout.h"
#include "tests/kernels/upper_halves.h"

namespace zvk::kernels::testing {

inline constexpr std::array<ChannelOrder, 3> orders = {layouts::colourFirst, layouts::colourLast,
                                                       layouts::console};

inline std::vector<InstructionSet> OfferedLevels() {
    std::vector<InstructionSet> levels;
    for (int level = 0; level <= static_cast<int>(DetectInstructionSet()); ++level) {
        levels.push_back(static_cast<InstructionSet>(level));
    }
    return levels;
}

inline std::string NameOf(InstructionSet level) {
    constexpr std::array names = {"Baseline", "Sse41", "Avx2", "Avx512"};
    return names.at(static_cast<std::size_t>(level));
}

// A kernel that is looked at after every call: it must not leave the upper halves of registers in
// use.
template <typename... Arguments>
class CheckedKernel {
  public:
    CheckedKernel(void (*kernel)(Arguments...)) : kernel_(kernel) {}

    void operator()(Arguments... arguments) const {
        static const bool canTell = TellsUnusedUpperHalves();
        kernel_(arguments...);
        EXPECT_FALSE(canTell && AreUpperHalvesInUse());
    }

  private:
    void (*kernel_)(Arguments...);
};

// The kernels of a table, each of them checked.
struct CheckedKernels {
    explicit CheckedKernels(const KernelTable& table)
        : resampleRows(table.resampleRows),
          blendRows(table.blendRows),
          widenRow(table.widenRow),
          averageRows(table.averageRows),
          interpolateRows(table.interpolateRows),
          interpolateColumns(table.interpolateColumns),
          addToColumnSums(table.addToColumnSums),
          blurColumns(table.blurColumns),
          blurRows(table.blurRows),
          addToLongSums(table.addToLongSums),
          blurColumnsLong(table.blurColumnsLong),
          blurRowLong(table.blurRowLong),
          drawWeightedRow(table.drawWeightedRow),
          drawPlainRows(table.drawPlainRows),
          copyRow(table.copyRow),
          makeRowsOpaque(table.makeRowsOpaque) {}

    CheckedKernel<const RowResampling&> resampleRows;
    CheckedKernel<const ColumnBlending&> blendRows;
    CheckedKernel<const RowWidening&> widenRow;
    CheckedKernel<const RowAveraging&> averageRows;
    CheckedKernel<const RowInterpolation&> interpolateRows;
    CheckedKernel<const ColumnInterpolation&> interpolateColumns;
    CheckedKernel<const ColumnSumming&> addToColumnSums;
    CheckedKernel<const ColumnBlurring&> blurColumns;
    CheckedKernel<const RowBlurring&> blurRows;
    CheckedKernel<const LongSumming&> addToLongSums;
    CheckedKernel<const LongColumnBlurring&> blurColumnsLong;
    CheckedKernel<const LongRowBlurring&> blurRowLong;
    CheckedKernel<const RowDrawing&, const WeightTables&> drawWeightedRow;
    CheckedKernel<const RowDrawing&, const PlainWeights&, const RowRun&> drawPlainRows;
    CheckedKernel<const RowCopying&> copyRow;
    CheckedKernel<const RowOpaquing&> makeRowsOpaque;
};

// A test that runs once for each level.
class EveryLevel : public ::testing::TestWithParam<InstructionSet> {
  protected:
    CheckedKernels kernels() const { return CheckedKernels(KernelsOf(GetParam())); }
};

inline std::string LevelName(const ::testing::TestParamInfo<InstructionSet>& level) {
    return NameOf(level.param);
}

}  // namespace zvk::kernels::testing
