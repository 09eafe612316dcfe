// A plugin's file in memory and its entry point.
// An interface, so that a file format that the system's own loader does not know can be added.
#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "hostapi/host_types.h"

namespace workbench {

/// A plugin that does not load; what() is one line for a person, with the file's name in it.
class PluginError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class PluginLibrary {
  public:
    using Entry = void (*)(REALresolver resolver);

    PluginLibrary() = default;
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;
    virtual ~PluginLibrary() = default;

    /// The plugin's entry point, never null; valid while the library lives.
    virtual Entry EntryPoint() const = 0;
};

/// Loads a shared library of the system's own format. Destroying the result unloads it, so that
/// the next load begins with fresh process-wide state; no function of it may run then.
/// Throws PluginError if the file cannot be loaded or has no entry point.
std::unique_ptr<PluginLibrary> OpenSharedLibrary(const std::filesystem::path& file);

}  // namespace workbench
