// The choice of a loader.
#include "workbench/plugins/open_plugin.h"

#include "workbench/macho/macho_library.h"

namespace workbench {

std::unique_ptr<PluginLibrary> OpenPlugin(const std::filesystem::path& file) {
    if (IsMachOFile(file)) return std::make_unique<MachOLibrary>(file);
    return OpenSharedLibrary(file);
}

}  // namespace workbench
