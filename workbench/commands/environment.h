// What a command has around it: given by the program, or by a test in its place.
#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "workbench/host/plugin_library.h"
#include "workbench/plugins/open_plugin.h"

namespace workbench {

struct Environment {
    std::ostream& output;
    std::ostream& errors;
    bool errorsAreSeen = false;  // the errors go to a terminal, where a progress line is of use
    std::filesystem::path defaultPlugin;

    /// Loads a plugin's file; throws PluginError.
    std::function<std::unique_ptr<PluginLibrary>(const std::filesystem::path&)> openPlugin =
        OpenPlugin;

    std::string version;  // of the program
};

}  // namespace workbench
