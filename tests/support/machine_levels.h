// Which levels of instruction sets this machine offers.
#pragma once

#include <string>

namespace contract {

/// The status that CTest counts as skipped.
inline constexpr int skippedStatus = 77;

/// Whether the machine runs the build of the plugin for a level: "baseline", "sse41", "avx2" or
/// "avx512". Throws std::invalid_argument for any other name.
bool MachineOffers(const std::string& level);

}  // namespace contract
