// A build of the plugin that is loaded once and, for each execution, put back into the state it had
// then. A fuzzer's counters lie in the library's memory, so it cannot be unloaded in between; and
// loading it anew would take most of the time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "workbench/host/plugin_library.h"

namespace fuzz {

class LoadedBuild {
  public:
    /// Loads the build and keeps it loaded. Throws workbench::PluginError.
    explicit LoadedBuild(const std::filesystem::path& file);

    /// The library as if it had just been loaded. One at a time; it must not outlive this.
    std::unique_ptr<workbench::PluginLibrary> Fresh();

  private:
    // Memory that the plugin writes, and what was in it at first.
    struct Area {
        std::span<std::uint64_t> words;
        std::vector<std::uint64_t> before;
    };

    std::unique_ptr<workbench::PluginLibrary> library_;
    std::vector<Area> areas_;
};

}  // namespace fuzz
