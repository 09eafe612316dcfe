// Plugins in the library format of macOS, run on this system: the file is mapped, its imports are
// bound to what this process has, and its code runs as it is.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "workbench/host/plugin_library.h"
#include "workbench/macho/image.h"
#include "workbench/macho/unwinding.h"

namespace workbench {

/// Whether a file begins as Mach-O files do, also one of several architectures.
bool IsMachOFile(const std::filesystem::path& file);

class MachOLibrary : public PluginLibrary {
  public:
    /// Loads a library for x86-64 and runs its initialisers. Throws PluginError if it cannot be
    /// loaded or has no entry point.
    explicit MachOLibrary(const std::filesystem::path& file);

    Entry EntryPoint() const override { return entry_; }

    /// Where the library keeps the address of an imported function, named as in C.
    std::vector<void**> ImportSlots(std::string_view function) const;

  private:
    void Load(const std::vector<std::uint8_t>& bytes);

    std::optional<macho::Image> image_;
    std::optional<macho::UnwindRegistration> frames_;
    Entry entry_ = nullptr;
};

}  // namespace workbench
