// The choice of the plugin's build by the environment.
#include "tests/support/plugin_under_test.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace contract {

namespace {

constexpr int skippedStatus = 77;

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

}  // namespace

std::string PluginUnderTest() {
    const char* level = std::getenv("ZVK_TEST_LEVEL");
    if (level == nullptr) return ZVK_PLUGIN;
    if (!MachineOffers(level)) {
        std::cout << "this machine does not offer " << level << "\n";
        std::exit(skippedStatus);
    }
    const std::filesystem::path shipped = ZVK_PLUGIN;
    return shipped.parent_path() /
           (shipped.stem().string() + "_" + level + shipped.extension().string());
}

}  // namespace contract
