// Which build of the plugin a test program loads.
#pragma once

#include <string>

namespace contract {

/// The plugin as shipped, or the build for one level of instruction sets that the environment
/// variable ZVK_TEST_LEVEL names. A program whose machine does not offer that level ends with the
/// status that CTest counts as skipped.
std::string PluginUnderTest();

}  // namespace contract
