// The places in an image whose contents depend on where it and other libraries lie in memory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbench/macho/file.h"

namespace workbench::macho {

/// A pointer that becomes the address of an imported symbol.
struct Binding {
    std::uint64_t address;  // of the pointer, from the start of the image
    std::string_view symbol;
    std::uint64_t libraryOrdinal;  // 1 is the first library; 0 where any may define the symbol
    std::int64_t addend;
    bool isWeak;  // null where nobody defines the symbol
};

/// Addresses of the pointers into the image itself, from its start.
std::vector<std::uint64_t> RebasedPointers(const File& file);

/// Pointers bound when the image is loaded, and those that may wait for their first use.
std::vector<Binding> Bindings(const File& file);
std::vector<Binding> LazyBindings(const File& file);

/// Pointers to symbols that the image defines itself unless another library's definition goes
/// before.
std::vector<Binding> WeakBindings(const File& file);

// All throw MachOError for unknown opcodes, for pointers outside what the file has of its segments
// and for more of them than it has room for.

}  // namespace workbench::macho
