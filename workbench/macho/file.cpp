// Load commands are taken one by one. What they claim is checked here once, so that nobody else has
// to: segments lie in the image, in the file and apart from each other, sections in the image.
#include "workbench/macho/file.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace workbench::macho {
namespace {

constexpr std::uint64_t pageSize = 4096;
constexpr std::size_t mostSegments = 16;  // opcodes have four bits for one

// A name of at most 16 bytes, ended by a zero if it is shorter.
std::string NameIn(const std::array<char, 16>& field) {
    return {field.begin(), std::find(field.begin(), field.end(), '\0')};
}

Header ReadHeader(Bytes bytes) {
    const auto header = RecordAt<Header>(bytes, 0, "header");
    if (header.magic == magicOfUniversal) {
        throw MachOError("it holds several architectures; take out the one for x86-64");
    }
    if (header.magic != magic64) throw MachOError("it is no 64-bit Mach-O file");
    if (header.cpuType != cpuX86_64) throw MachOError("it is not for x86-64");
    if (header.fileType != typeDynamicLibrary && header.fileType != typeBundle) {
        throw MachOError("it is no library");
    }
    return header;
}

class Parser {
  public:
    explicit Parser(Bytes bytes) : bytes_(bytes) { file_.size = bytes.size(); }

    File Run() {
        const Header header = ReadHeader(bytes_);
        const Bytes commands = Part(bytes_, sizeof header, header.commandBytes, "load commands");
        std::uint64_t offset = 0;
        for (std::uint32_t index = 0; index < header.commandCount; ++index) {
            const auto command = RecordAt<Command>(commands, offset, "load commands");
            if (command.size < sizeof command) throw MachOError("a load command is too short");
            Take(command.kind, Part(commands, offset, command.size, "load commands"));
            offset += command.size;
        }
        CheckSegments();
        CheckSections();
        return std::move(file_);
    }

  private:
    void Take(std::uint32_t kind, Bytes command) {
        switch (static_cast<CommandKind>(kind)) {
            case CommandKind::Segment:
                return TakeSegment(command);
            case CommandKind::LoadLibrary:
            case CommandKind::LoadWeakLibrary:
            case CommandKind::ReexportLibrary:
                return TakeLibrary(command);
            case CommandKind::DyldInfo:
            case CommandKind::DyldInfoOnly:
                return TakeDyldInfo(command);
            case CommandKind::RunPath:
                return;  // libraries are not searched for
            default:
                if ((kind & requiredBit) != 0) {
                    throw MachOError("it needs a loader that knows load command " +
                                     std::to_string(kind & ~requiredBit));
                }
        }
    }

    void TakeSegment(Bytes command) {
        const auto record = RecordAt<SegmentCommand>(command, 0, "load commands");
        file_.segments.push_back(
            {.name = NameIn(record.name),
             .address = record.address,
             .size = record.size,
             .contents = Part(bytes_, record.fileOffset, record.fileSize, "segments"),
             .protection = record.protection});
        for (std::uint32_t index = 0; index < record.sectionCount; ++index) {
            const auto section = RecordAt<SectionRecord>(
                command, sizeof record + index * sizeof(SectionRecord), "load commands");
            constexpr std::uint32_t kindMask = 0xFF;
            file_.sections.push_back({.segment = NameIn(section.segment),
                                      .name = NameIn(section.name),
                                      .address = section.address,
                                      .size = section.size,
                                      .kind = static_cast<SectionKind>(section.flags & kindMask)});
        }
    }

    void TakeLibrary(Bytes command) {
        const auto record = RecordAt<LibraryCommand>(command, 0, "load commands");
        file_.libraries.emplace_back(TextAt(command, record.nameOffset));
    }

    void TakeDyldInfo(Bytes command) {
        const auto record = RecordAt<DyldInfoCommand>(command, 0, "load commands");
        const auto part = [this](std::uint32_t offset, std::uint32_t size) {
            return Part(bytes_, offset, size, "link information");
        };
        file_.rebaseOpcodes = part(record.rebaseOffset, record.rebaseSize);
        file_.bindOpcodes = part(record.bindOffset, record.bindSize);
        file_.weakBindOpcodes = part(record.weakBindOffset, record.weakBindSize);
        file_.lazyBindOpcodes = part(record.lazyBindOffset, record.lazyBindSize);
        file_.exports = part(record.exportOffset, record.exportSize);
    }

    void CheckSegments() const {
        if (file_.segments.empty()) throw MachOError("it has no segments");
        if (file_.segments.size() > mostSegments) throw MachOError("it has too many segments");
        if (file_.segments.front().address != 0) throw MachOError("its segments start too high");
        std::uint64_t end = 0;
        for (const Segment& segment : file_.segments) {
            if (segment.address % pageSize != 0 || segment.size > largestImage ||
                segment.address > largestImage - segment.size ||
                segment.contents.size() > segment.size) {
                throw MachOError("its segment " + segment.name + " has no place in memory");
            }
            if (segment.address < end) throw MachOError("its segments overlap");
            end = segment.end();
            if ((segment.protection & protectionWrite) != 0 &&
                (segment.protection & protectionExecute) != 0) {
                throw MachOError("its segment " + segment.name + " is writable code");
            }
        }
    }

    void CheckSections() const {
        for (const Section& section : file_.sections) {
            const Segment* const segment = file_.SegmentAt(section.address);
            if (section.size != 0 &&
                (segment == nullptr || section.size > segment->end() - section.address)) {
                throw MachOError("its section " + section.name + " is in no segment");
            }
            if (section.kind == SectionKind::TerminatorPointers ||
                (section.kind >= SectionKind::ThreadLocalRegular &&
                 section.kind <= SectionKind::InitialiserOffsets)) {
                throw MachOError("its section " + section.name +
                                 " is of a kind that is not supported");
            }
        }
    }

    Bytes bytes_;
    File file_{};
};

}  // namespace

const Segment* File::SegmentAt(std::uint64_t address) const {
    const auto found = std::ranges::find_if(segments, [address](const Segment& segment) {
        return address >= segment.address && address < segment.end();
    });
    return found == segments.end() ? nullptr : &*found;
}

std::uint64_t File::ImageSize() const {
    return (segments.back().end() + pageSize - 1) / pageSize * pageSize;
}

File Parse(Bytes bytes) {
    return Parser(bytes).Run();
}

}  // namespace workbench::macho
