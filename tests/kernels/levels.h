// The levels that a kernel test goes through: every one that the machine offers.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "kernels/kernel_table.h"
#include "pixels/pixel_layout.h"

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

// A test that runs once for each level.
class EveryLevel : public ::testing::TestWithParam<InstructionSet> {
  protected:
    const KernelTable& kernels() const { return KernelsOf(GetParam()); }
};

inline std::string LevelName(const ::testing::TestParamInfo<InstructionSet>& level) {
    return NameOf(level.param);
}

}  // namespace zvk::kernels::testing
