// Which build of the plugin a test program loads.
#pragma once

#include <array>
#include <string>

namespace contract {

/// The levels of instruction sets that the plugin is built for one by one, lowest first.
inline constexpr std::array<const char*, 4> instructionLevels = {"baseline", "sse41", "avx2",
                                                                 "avx512"};

/// The file of the plugin's build for one level.
std::string PluginOfLevel(const std::string& level);

/// The plugin as shipped, or the file that the environment variable ZVK_TEST_PLUGIN names, or the
/// build for one level of instruction sets that ZVK_TEST_LEVEL names. A program whose machine does
/// not offer that level ends with the status that CTest counts as skipped.
std::string PluginUnderTest();

}  // namespace contract
