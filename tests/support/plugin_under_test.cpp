// The choice of the plugin's build by level, or by the environment.
#include "tests/support/plugin_under_test.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "tests/support/machine_levels.h"

namespace contract {

std::string PluginOfLevel(const std::string& level) {
    const std::filesystem::path shipped = ZVK_PLUGIN;
    return shipped.parent_path() /
           (shipped.stem().string() + "_" + level + shipped.extension().string());
}

std::string PluginUnderTest() {
    if (const char* file = std::getenv("ZVK_TEST_PLUGIN")) return file;
    const char* level = std::getenv("ZVK_TEST_LEVEL");
    if (level == nullptr) return ZVK_PLUGIN;
    if (!MachineOffers(level)) {
        std::cout << "this machine does not offer " << level << "\n";
        std::exit(skippedStatus);
    }
    return PluginOfLevel(level);
}

}  // namespace contract
