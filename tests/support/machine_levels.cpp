// Asks the processor what the builds of the plugin for single levels need.
#include "tests/support/machine_levels.h"

#include <stdexcept>
#include <string>

namespace contract {

bool MachineOffers(const std::string& level) {
    if (level == "baseline") return true;
    if (level == "sse41") return __builtin_cpu_supports("sse4.1") != 0;
    if (level == "avx2") return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (level == "avx512") {
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512vnni");
    }
    throw std::invalid_argument("there is no level " + level);
}

}  // namespace contract
