// A Mach-O library as its load commands describe it. Nothing is mapped or run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "workbench/macho/byte_reader.h"
#include "workbench/macho/format.h"

namespace workbench::macho {

/// Larger files, and images that take more memory, are refused.
inline constexpr std::uint64_t largestImage = std::uint64_t{1} << 28U;

/// A stretch of the file that becomes memory. Addresses count from the start of the image.
struct Segment {
    std::string name;
    std::uint64_t address;
    std::uint64_t size;  // in memory; what the file does not fill is zero
    Bytes contents;
    std::int32_t protection;

    std::uint64_t end() const { return address + size; }
};

/// A stretch of a segment's memory.
struct Section {
    std::string segment;
    std::string name;
    std::uint64_t address;
    std::uint64_t size;
    SectionKind kind;
};

struct File {
    std::vector<Segment> segments;  // in ascending order, none overlapping another
    std::vector<Section> sections;
    std::vector<std::string> libraries;  // by their install names, in the order of their ordinals
    Bytes rebaseOpcodes;
    Bytes bindOpcodes;
    Bytes weakBindOpcodes;
    Bytes lazyBindOpcodes;
    Bytes exports;
    std::uint64_t size;  // in bytes, of the whole

    /// The segment that holds an address; null where there is none.
    const Segment* SegmentAt(std::uint64_t address) const;

    /// Size in bytes of the memory from the first segment to the end of the last.
    std::uint64_t ImageSize() const;
};

/// Reads the header and the load commands of a library for x86-64. `bytes` must outlive the result.
/// Throws MachOError for what is no such library, is damaged, or needs something of its loader that
/// this one does not do.
File Parse(Bytes bytes);

}  // namespace workbench::macho
