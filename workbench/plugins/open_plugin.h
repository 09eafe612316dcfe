// Plugins of either file format.
#pragma once

#include <filesystem>
#include <memory>

#include "workbench/host/plugin_library.h"

namespace workbench {

/// Loads a plugin: a shared library of the system's own format, or one of macOS for x86-64, told
/// apart by their first bytes. Throws PluginError as their loaders do.
std::unique_ptr<PluginLibrary> OpenPlugin(const std::filesystem::path& file);

}  // namespace workbench
