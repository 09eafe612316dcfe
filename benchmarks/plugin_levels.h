// Our own methods, one build of the plugin per level of instruction sets, loaded into one host.
// Methods are called as a host calls them: through the functions that the plugin registered.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/offer.h"
#include "workbench/host/host.h"

namespace bench {

/// A build of the plugin: for one level, or the one that is shipped and chooses for itself.
struct PluginBuild {
    std::string name;  // "avx2", or "shipped"
    std::optional<Level> level;
    std::filesystem::path file;
};

/// The builds that exist, lowest level first. The shipped one stands last.
std::vector<PluginBuild> ExistingBuilds();

/// The highest level that this machine can run.
Level HighestLevel();

/// "baseline", "sse41", "avx2" or "avx512".
std::string NameOf(Level level);

class LoadedPlugin {
  public:
    /// Loads the build into the host, beside others; its results come from where all results do.
    /// The plugin must outlive the host. Throws workbench::PluginError if it does not load or
    /// registers badly.
    LoadedPlugin(workbench::Host& host, const PluginBuild& build);

    const std::string& Name() const { return name_; }

    /// The job by this build.
    Offer OfferFor(const Job& job) const;

  private:
    REALfunction Find(std::string_view method) const;

    std::string name_;
    Level level_;
    std::unique_ptr<workbench::PluginLibrary> library_;
    std::vector<workbench::RegisteredMethod> methods_;
};

}  // namespace bench
