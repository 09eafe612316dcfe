// Makes small libraries in the format of macOS: what a linker writes, and what none would.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "workbench/macho/format.h"

namespace workbench::macho {

using MadeBytes = std::vector<std::uint8_t>;

struct MadeSection {
    std::string name;
    std::uint64_t address = 0;
    std::uint64_t size = 0;
    std::uint32_t flags = 0;
};

struct MadeSegment {
    std::string name;
    std::uint64_t address = 0;
    std::uint64_t size = 0;
    std::int32_t protection = protectionRead;
    MadeBytes contents;
    std::vector<MadeSection> sections;
};

/// What a file is made of. Its load commands come in this order; the contents follow.
struct MadeFile {
    Header header{.magic = magic64,
                  .cpuType = cpuX86_64,
                  .cpuSubtype = 3,
                  .fileType = typeDynamicLibrary,
                  .commandCount = 0,
                  .commandBytes = 0,
                  .flags = 0,
                  .reserved = 0};
    std::vector<MadeSegment> segments;
    std::vector<std::string> libraries;
    MadeBytes rebase;
    MadeBytes bind;
    MadeBytes weakBind;
    MadeBytes lazyBind;
    MadeBytes exports;
    std::vector<MadeBytes> furtherCommands;

    MadeBytes Bytes() const;
};

MadeBytes Joined(std::initializer_list<MadeBytes> parts);

/// Puts `part` over the bytes from `offset` on.
void Place(MadeBytes& bytes, std::uint64_t offset, const MadeBytes& part);

MadeBytes Unsigned(std::uint64_t number);
MadeBytes Signed(std::int64_t number);
MadeBytes Text(std::string_view text);
MadeBytes Pointer(std::uint64_t address);

template <typename Opcode>
MadeBytes Op(Opcode opcode, unsigned operand = 0) {
    return {static_cast<std::uint8_t>(static_cast<unsigned>(opcode) | operand)};
}

/// The opcodes that bind the pointer at a place of a segment to a symbol.
MadeBytes BindOf(std::string_view symbol, unsigned library, unsigned segment, std::uint64_t offset,
                 unsigned flags = 0);

/// A trie with one edge for each symbol.
MadeBytes TrieOf(const std::vector<std::pair<std::string, std::uint64_t>>& symbols);

/// A load command of a kind, with what follows its head.
MadeBytes CommandOf(std::uint32_t kind, const MadeBytes& rest);

/// x86-64 code that is meant to lie at `address`: adds one to the number at `counter` and returns
/// the sum.
MadeBytes CountingCode(std::uint64_t address, std::uint64_t counter);

/// Code that appends a digit to the decimal number at `counter`.
MadeBytes DigitCode(std::uint64_t address, std::uint64_t counter, std::uint8_t digit);

/// Code that goes on at the address that the pointer at `slot` holds.
MadeBytes JumpCode(std::uint64_t address, std::uint64_t slot);

/// Code that calls its first argument, a function without arguments, in a frame of its own.
MadeBytes CallingCode();

/// Frame records, meant to lie at `address`, for CallingCode at `function`, without the zero at
/// their end.
MadeBytes FramesFor(std::uint64_t function, std::uint64_t address);

/// A library as a linker makes them, with the numbers below.
MadeFile PlainFile();

inline constexpr std::string_view entrySymbol = "_REALPluginMain";
inline constexpr std::string_view systemName = "/usr/lib/libSystem.B.dylib";

// Where the parts of PlainFile lie, as addresses in its image.
inline constexpr std::uint64_t pageSize = 0x1000;
inline constexpr std::uint64_t entryAddress = 0x10;     // CountingCode
inline constexpr std::uint64_t lengthAddress = 0x40;    // JumpCode to the import _strlen
inline constexpr std::uint64_t callingAddress = 0x60;   // CallingCode
inline constexpr std::uint64_t framesAddress = 0x80;    // FramesFor CallingCode
inline constexpr std::uint64_t dataAddress = pageSize;  // the number 40, then pointers:
inline constexpr std::uint64_t lengthSlot = dataAddress + 8;
inline constexpr std::uint64_t lazySlot = dataAddress + 16;      // to _memcpy
inline constexpr std::uint64_t ownPointer = dataAddress + 24;    // to the number
inline constexpr std::uint64_t spareAddress = dataAddress + 32;  // zeros

inline constexpr unsigned textSegment = 0;
inline constexpr unsigned dataSegment = 1;
inline constexpr std::int64_t counterAtStart = 40;

}  // namespace workbench::macho
