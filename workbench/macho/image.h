// A Mach-O library in memory: its segments with their contents, pointers and protections.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbench/macho/file.h"
#include "workbench/macho/fixups.h"

namespace workbench::macho {

/// Finds an import by symbol and library; an empty library means any. Null where there is none.
using Resolver = void* (*)(std::string_view symbol, std::string_view library);

/// A pointer of the image that holds the address of an import.
struct ImportSlot {
    std::string symbol;
    void** place;
};

class Image {
  public:
    /// Maps the file's segments, fixes their pointers and protects them; nothing in them is run.
    /// Throws MachOError for an import that nobody offers, for pointers that go nowhere, and where
    /// memory is short.
    Image(const File& file, Resolver resolve);
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    /// Unmaps it.
    ~Image();

    /// The memory at an address from the start of the image.
    std::uint8_t* At(std::uint64_t address) const { return base_ + address; }

    const std::vector<ImportSlot>& importSlots() const { return importSlots_; }

  private:
    void CopySegments(const File& file) const;
    void Rebase(const File& file) const;
    void Bind(const File& file, const std::vector<Binding>& bindings, Resolver resolve);
    void BindWeakly(const File& file, Resolver resolve);
    void Store(const Binding& binding, void* symbol);
    void Protect(const File& file);
    void** PointerAt(std::uint64_t address) const { return reinterpret_cast<void**>(At(address)); }

    std::uint8_t* base_ = nullptr;
    std::size_t size_ = 0;
    std::vector<ImportSlot> importSlots_;
};

}  // namespace workbench::macho
