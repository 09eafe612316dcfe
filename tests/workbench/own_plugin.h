// A plugin inside the test program, for what the real one never does: it leaks, yields and is
// interrupted, returns every type, or registers nothing.
#pragma once

#include <memory>

#include "workbench/host/plugin_library.h"

namespace workbench {

enum class OwnPlugin { WithMethods, WithoutMethods, WithNonsense };

std::unique_ptr<PluginLibrary> OpenOwnPlugin(OwnPlugin kind);

}  // namespace workbench
