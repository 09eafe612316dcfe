// The parts of the Mach-O format that the loader reads, as they lie in a file of a little-endian
// 64-bit machine. Names and values are those of the format (Apple, "OS X ABI Mach-O File Format
// Reference", and the opcodes that dyld's source documents).
#pragma once

#include <array>
#include <cstdint>

namespace workbench::macho {

inline constexpr std::uint32_t magic64 = 0xFEEDFACF;
inline constexpr std::uint32_t magicOfUniversal = 0xBEBAFECA;  // stored big-endian
inline constexpr std::uint32_t cpuX86_64 = 0x01000007;
inline constexpr std::uint32_t typeDynamicLibrary = 6;
inline constexpr std::uint32_t typeBundle = 8;

struct Header {
    std::uint32_t magic;
    std::uint32_t cpuType;
    std::uint32_t cpuSubtype;
    std::uint32_t fileType;
    std::uint32_t commandCount;
    std::uint32_t commandBytes;
    std::uint32_t flags;
    std::uint32_t reserved;
};

// Commands that a loader must know carry this bit.
inline constexpr std::uint32_t requiredBit = 0x80000000;

enum class CommandKind : std::uint32_t {
    Segment = 0x19,
    Symbols = 0x2,
    DynamicSymbols = 0xB,
    LoadLibrary = 0xC,
    LibraryName = 0xD,
    LoadWeakLibrary = 0x18 | requiredBit,
    RunPath = 0x1C | requiredBit,
    ReexportLibrary = 0x1F | requiredBit,
    DyldInfo = 0x22,
    DyldInfoOnly = 0x22 | requiredBit,
};

struct Command {
    std::uint32_t kind;
    std::uint32_t size;
};

struct SegmentCommand {
    Command command;
    std::array<char, 16> name;
    std::uint64_t address;
    std::uint64_t size;
    std::uint64_t fileOffset;
    std::uint64_t fileSize;
    std::int32_t maximalProtection;
    std::int32_t protection;
    std::uint32_t sectionCount;
    std::uint32_t flags;
};

inline constexpr std::int32_t protectionRead = 1;
inline constexpr std::int32_t protectionWrite = 2;
inline constexpr std::int32_t protectionExecute = 4;

struct SectionRecord {
    std::array<char, 16> name;
    std::array<char, 16> segment;
    std::uint64_t address;
    std::uint64_t size;
    std::uint32_t fileOffset;
    std::uint32_t alignment;
    std::uint32_t relocationOffset;
    std::uint32_t relocationCount;
    std::uint32_t flags;
    std::uint32_t reserved1;
    std::uint32_t reserved2;
    std::uint32_t reserved3;
};

enum class SectionKind : std::uint32_t {
    InitialiserPointers = 0x9,
    TerminatorPointers = 0xA,
    ThreadLocalRegular = 0x11,
    ThreadLocalInitialiserPointers = 0x15,
    InitialiserOffsets = 0x16,
};

struct LibraryCommand {
    Command command;
    std::uint32_t nameOffset;
    std::uint32_t timestamp;
    std::uint32_t currentVersion;
    std::uint32_t compatibilityVersion;
};

struct DyldInfoCommand {
    Command command;
    std::uint32_t rebaseOffset, rebaseSize;
    std::uint32_t bindOffset, bindSize;
    std::uint32_t weakBindOffset, weakBindSize;
    std::uint32_t lazyBindOffset, lazyBindSize;
    std::uint32_t exportOffset, exportSize;
};

// The upper half of an opcode byte; the lower half is its operand.
enum class RebaseOpcode : std::uint8_t {
    Done = 0x00,
    SetType = 0x10,
    SetSegmentAndOffset = 0x20,
    AddAddress = 0x30,
    AddAddressScaled = 0x40,
    RebaseTimes = 0x50,
    RebaseManyTimes = 0x60,
    RebaseAddAddress = 0x70,
    RebaseTimesSkipping = 0x80,
};

enum class BindOpcode : std::uint8_t {
    Done = 0x00,
    SetLibrary = 0x10,
    SetLibraryLong = 0x20,
    SetLibrarySpecial = 0x30,
    SetSymbol = 0x40,
    SetType = 0x50,
    SetAddend = 0x60,
    SetSegmentAndOffset = 0x70,
    AddAddress = 0x80,
    Bind = 0x90,
    BindAddAddress = 0xA0,
    BindAddAddressScaled = 0xB0,
    BindTimesSkipping = 0xC0,
};

inline constexpr std::uint8_t typePointer = 1;
inline constexpr std::uint8_t symbolIsWeakImport = 1;

}  // namespace workbench::macho
