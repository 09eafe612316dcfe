// What a library offers.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "workbench/macho/file.h"

namespace workbench::macho {

/// The address of an exported symbol from the start of the image, found in the trie of exports;
/// nothing where the library does not define it itself. Throws MachOError for a damaged trie.
std::optional<std::uint64_t> ExportedAddress(const File& file, std::string_view symbol);

}  // namespace workbench::macho
