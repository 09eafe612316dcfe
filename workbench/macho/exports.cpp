// The trie: a node is the size of what it exports, that, the number of its children and, for each
// child, the text on the way to it and its offset.
#include "workbench/macho/exports.h"

namespace workbench::macho {
namespace {

constexpr std::uint64_t kindMask = 0x03;
constexpr std::uint64_t isReexport = 0x08;
constexpr std::uint64_t hasResolver = 0x10;
constexpr const char* what = "exports";

Bytes From(Bytes bytes, std::uint64_t offset) {
    Part(bytes, offset, 0, what);
    return bytes.subspan(static_cast<std::size_t>(offset));
}

// What the node exports, if it exports an address of this image.
std::optional<std::uint64_t> AddressIn(ByteReader& node) {
    const std::uint64_t flags = node.Unsigned();
    if ((flags & (kindMask | isReexport | hasResolver)) != 0) return std::nullopt;
    return node.Unsigned();
}

// The child to which the beginning of `rest` leads; takes that off.
std::optional<std::uint64_t> ChildOf(ByteReader& node, std::string_view& rest) {
    const std::uint8_t count = node.Byte();
    for (std::uint8_t index = 0; index < count; ++index) {
        const std::string_view edge = node.Text();
        const std::uint64_t offset = node.Unsigned();
        if (edge.empty() || !rest.starts_with(edge)) continue;
        rest.remove_prefix(edge.size());
        return offset;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> ExportedAddress(const File& file, std::string_view symbol) {
    const Bytes trie = file.exports;
    if (trie.empty()) return std::nullopt;
    std::string_view rest = symbol;
    // Every step takes something off the name, so the walk ends.
    for (std::uint64_t offset = 0;;) {
        ByteReader node(From(trie, offset), what);
        const std::uint64_t size = node.Unsigned();
        if (rest.empty()) return size == 0 ? std::nullopt : AddressIn(node);
        ByteReader branches(From(node.Rest(), size), what);
        const auto child = ChildOf(branches, rest);
        if (!child) return std::nullopt;
        offset = *child;
    }
}

}  // namespace workbench::macho
