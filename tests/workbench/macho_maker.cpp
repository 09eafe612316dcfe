// Sizes and offsets are counted here, so that tests state contents only.
#include "tests/workbench/macho_maker.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace workbench::macho {
namespace {

template <typename Record>
MadeBytes BytesOf(const Record& record) {
    MadeBytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

void Append(MadeBytes& bytes, const MadeBytes& part) {
    bytes.insert(bytes.end(), part.begin(), part.end());
}

std::array<char, 16> Name(const std::string& text) {
    std::array<char, 16> name{};
    std::copy_n(text.begin(), std::min(text.size(), name.size()), name.begin());
    return name;
}

MadeBytes Relative32(std::uint64_t from, std::uint64_t to) {
    return BytesOf(static_cast<std::uint32_t>(to - from));
}

// Puts the parts of a file one behind the other.
class Assembly {
  public:
    explicit Assembly(std::size_t start) : start_(start) {}

    std::uint32_t Add(const MadeBytes& part) {
        const std::size_t offset = start_ + bytes_.size();
        Append(bytes_, part);
        return static_cast<std::uint32_t>(offset);
    }
    const MadeBytes& bytes() const { return bytes_; }

  private:
    std::size_t start_;
    MadeBytes bytes_;
};

std::uint32_t SizeOf(const MadeBytes& part) {
    return static_cast<std::uint32_t>(part.size());
}

MadeBytes SegmentBytes(const MadeSegment& made, Assembly& contents) {
    SegmentCommand record{};
    record.name = Name(made.name);
    record.address = made.address;
    record.size = made.size;
    record.fileOffset = contents.Add(made.contents);
    record.fileSize = made.contents.size();
    record.maximalProtection = made.protection;
    record.protection = made.protection;
    record.sectionCount = static_cast<std::uint32_t>(made.sections.size());
    MadeBytes bytes = BytesOf(record);
    for (const MadeSection& section : made.sections) {
        SectionRecord sectionRecord{};
        sectionRecord.name = Name(section.name);
        sectionRecord.segment = Name(made.name);
        sectionRecord.address = section.address;
        sectionRecord.size = section.size;
        sectionRecord.flags = section.flags;
        Append(bytes, BytesOf(sectionRecord));
    }
    bytes.erase(bytes.begin(), bytes.begin() + sizeof(Command));
    return CommandOf(static_cast<std::uint32_t>(CommandKind::Segment), bytes);
}

MadeBytes LibraryBytes(const std::string& name) {
    MadeBytes rest(sizeof(LibraryCommand) - sizeof(Command));
    rest.front() = sizeof(LibraryCommand);  // the offset of the name
    Append(rest, Text(name));
    return CommandOf(static_cast<std::uint32_t>(CommandKind::LoadLibrary), rest);
}

MadeBytes DyldInfoBytes(const MadeFile& file, Assembly& contents) {
    MadeBytes rest;
    for (const MadeBytes* part :
         {&file.rebase, &file.bind, &file.weakBind, &file.lazyBind, &file.exports}) {
        Append(rest, BytesOf(contents.Add(*part)));
        Append(rest, BytesOf(SizeOf(*part)));
    }
    return CommandOf(static_cast<std::uint32_t>(CommandKind::DyldInfoOnly), rest);
}

// All load commands, for contents that start at `contents`.
std::vector<MadeBytes> CommandsOf(const MadeFile& file, Assembly& contents) {
    std::vector<MadeBytes> commands;
    for (const MadeSegment& segment : file.segments)
        commands.push_back(SegmentBytes(segment, contents));
    for (const std::string& library : file.libraries)
        commands.push_back(LibraryBytes(library));
    commands.push_back(DyldInfoBytes(file, contents));
    commands.insert(commands.end(), file.furtherCommands.begin(), file.furtherCommands.end());
    return commands;
}

}  // namespace

MadeBytes MadeFile::Bytes() const {
    std::size_t size = sizeof(Header);
    Assembly nowhere(0);
    for (const MadeBytes& command : CommandsOf(*this, nowhere))
        size += command.size();
    Assembly contents(size);
    const std::vector<MadeBytes> commands = CommandsOf(*this, contents);
    Header whole = header;
    whole.commandCount += static_cast<std::uint32_t>(commands.size());
    whole.commandBytes += static_cast<std::uint32_t>(size - sizeof(Header));
    MadeBytes bytes = BytesOf(whole);
    for (const MadeBytes& command : commands)
        Append(bytes, command);
    Append(bytes, contents.bytes());
    return bytes;
}

MadeBytes Joined(std::initializer_list<MadeBytes> parts) {
    MadeBytes joined;
    for (const MadeBytes& part : parts)
        Append(joined, part);
    return joined;
}

void Place(MadeBytes& bytes, std::uint64_t offset, const MadeBytes& part) {
    bytes.resize(std::max(bytes.size(), static_cast<std::size_t>(offset) + part.size()));
    std::copy(part.begin(), part.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

MadeBytes Unsigned(std::uint64_t number) {
    MadeBytes bytes;
    for (; number >= 0x80; number >>= 7U)
        bytes.push_back(static_cast<std::uint8_t>(number | 0x80U));
    bytes.push_back(static_cast<std::uint8_t>(number));
    return bytes;
}

MadeBytes Signed(std::int64_t number) {
    MadeBytes bytes;
    for (; number < -0x40 || number > 0x3F; number >>= 7U)
        bytes.push_back(static_cast<std::uint8_t>((number & 0x7F) | 0x80));
    bytes.push_back(static_cast<std::uint8_t>(number & 0x7F));
    return bytes;
}

MadeBytes Text(std::string_view text) {
    MadeBytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

MadeBytes Pointer(std::uint64_t address) {
    return BytesOf(address);
}

MadeBytes BindOf(std::string_view symbol, unsigned library, unsigned segment, std::uint64_t offset,
                 unsigned flags) {
    return Joined({Op(BindOpcode::SetLibrary, library), Op(BindOpcode::SetSymbol, flags),
                   Text(symbol), Op(BindOpcode::SetSegmentAndOffset, segment), Unsigned(offset),
                   Op(BindOpcode::Bind)});
}

MadeBytes TrieOf(const std::vector<std::pair<std::string, std::uint64_t>>& symbols) {
    // Offsets of two bytes each, so that the size of the root is known beforehand.
    std::size_t leaf = 2;
    for (const auto& [symbol, address] : symbols)
        leaf += symbol.size() + 1 + 2;
    MadeBytes root{0, static_cast<std::uint8_t>(symbols.size())};
    MadeBytes leaves;
    for (const auto& [symbol, address] : symbols) {
        const std::size_t offset = leaf + leaves.size();
        Append(root, Text(symbol));
        Append(root, {static_cast<std::uint8_t>(offset | 0x80U),
                      static_cast<std::uint8_t>(offset >> 7U)});
        const MadeBytes exported = Joined({Unsigned(0), Unsigned(address)});
        Append(leaves, Joined({Unsigned(exported.size()), exported, {0}}));
    }
    return Joined({root, leaves});
}

MadeBytes CommandOf(std::uint32_t kind, const MadeBytes& rest) {
    constexpr std::size_t alignment = 8;
    const std::size_t size =
        (sizeof(Command) + rest.size() + alignment - 1) / alignment * alignment;
    MadeBytes bytes =
        Joined({BytesOf(Command{.kind = kind, .size = static_cast<std::uint32_t>(size)}), rest});
    bytes.resize(size);
    return bytes;
}

MadeBytes CountingCode(std::uint64_t address, std::uint64_t counter) {
    return Joined({{0x48, 0xFF, 0x05},  // inc [counter]
                   Relative32(address + 7, counter),
                   {0x48, 0x8B, 0x05},  // mov rax, [counter]
                   Relative32(address + 14, counter),
                   {0xC3}});  // ret
}

MadeBytes DigitCode(std::uint64_t address, std::uint64_t counter, std::uint8_t digit) {
    return Joined({{0x48, 0x6B, 0x05},  // imul rax, [counter], 10
                   Relative32(address + 8, counter),
                   {10},
                   {0x48, 0x83, 0xC0, digit},  // add rax, digit
                   {0x48, 0x89, 0x05},         // mov [counter], rax
                   Relative32(address + 19, counter),
                   {0xC3}});  // ret
}

MadeBytes JumpCode(std::uint64_t address, std::uint64_t slot) {
    return Joined({{0xFF, 0x25}, Relative32(address + 6, slot)});  // jmp [slot]
}

MadeBytes CallingCode() {
    return {0x48, 0x83, 0xEC, 0x08,  // sub rsp, 8
            0xFF, 0xD7,              // call rdi
            0x48, 0x83, 0xC4, 0x08,  // add rsp, 8
            0xC3};                   // ret
}

MadeBytes FramesFor(std::uint64_t function, std::uint64_t address) {
    const MadeBytes common = Joined({{0, 0, 0, 0},       // a common record
                                     {1},                // version
                                     Text("zR"),         // what is said further
                                     {1},                // alignment of code
                                     Signed(-8),         // alignment of data
                                     {16},               // the return address
                                     {1, 0x10},          // addresses are relative, of 64 bits
                                     {0x0C, 7, 8},       // the frame is at rsp + 8
                                     {0x90, 1, 0, 0}});  // with the return address below it
    const std::uint64_t record = address + 4 + common.size() + 4;
    const MadeBytes own = Joined({BytesOf(static_cast<std::uint32_t>(record - address)),
                                  Pointer(function - (record + 4)),
                                  Pointer(CallingCode().size()),
                                  {0},              // nothing further
                                  {0x44},           // after 4 bytes
                                  {0x0E, 16},       // the frame is at rsp + 16
                                  {0x46, 0x0E, 8},  // 6 bytes later at rsp + 8 again
                                  {0}});
    return Joined({BytesOf(SizeOf(common)), common, BytesOf(SizeOf(own)), own});
}

MadeFile PlainFile() {
    MadeFile file;
    MadeBytes text;
    Place(text, entryAddress, CountingCode(entryAddress, dataAddress));
    Place(text, lengthAddress, JumpCode(lengthAddress, lengthSlot));
    Place(text, callingAddress, CallingCode());
    const MadeBytes frames = FramesFor(callingAddress, framesAddress);
    Place(text, framesAddress, frames);
    file.segments.push_back(
        {.name = "__TEXT",
         .address = 0,
         .size = pageSize,
         .protection = protectionRead | protectionExecute,
         .contents = text,
         .sections = {{.name = "__eh_frame", .address = framesAddress, .size = frames.size()}}});
    file.segments.push_back({.name = "__DATA",
                             .address = dataAddress,
                             .size = 2 * pageSize,
                             .protection = protectionRead | protectionWrite,
                             .contents = Joined({Pointer(counterAtStart), Pointer(0), Pointer(0),
                                                 Pointer(dataAddress), MadeBytes(32)}),
                             .sections = {}});
    file.libraries = {std::string(systemName)};
    file.rebase = Joined({Op(RebaseOpcode::SetType, typePointer),
                          Op(RebaseOpcode::SetSegmentAndOffset, dataSegment),
                          Unsigned(ownPointer - dataAddress), Op(RebaseOpcode::RebaseTimes, 1),
                          Op(RebaseOpcode::Done)});
    file.bind =
        Joined({Op(BindOpcode::SetType, typePointer),
                BindOf("_strlen", 1, dataSegment, lengthSlot - dataAddress), Op(BindOpcode::Done)});
    file.lazyBind =
        Joined({BindOf("_memcpy", 1, dataSegment, lazySlot - dataAddress), Op(BindOpcode::Done)});
    file.exports = TrieOf({{std::string(entrySymbol), entryAddress}});
    return file;
}

}  // namespace workbench::macho
