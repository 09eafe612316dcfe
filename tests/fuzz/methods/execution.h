// Runs one case from the loading of the plugin to the host's books, and checks all of it.
#pragma once

#include "tests/fuzz/methods/case.h"
#include "tests/fuzz/methods/loaded_build.h"

namespace fuzz {

/// Runs the case with a build of the plugin. Whatever is wrong fails an expectation of GoogleTest.
void Execute(const Case& value, LoadedBuild& build);

}  // namespace fuzz
