// The unwinder's own registration, made for code that is compiled at run time. The unwinder takes
// records as it finds them and ends the process at those that it does not know, so they are read
// here first.
#include "workbench/macho/unwinding.h"

#include <cstddef>
#include <set>
#include <string_view>

namespace workbench::macho {

// The names that the unwinder has for them are reserved.
void RegisterFrames(void* begin) __asm__("__register_frame");
void DeregisterFrames(void* begin) __asm__("__deregister_frame");

namespace {

constexpr const char* what = "frame records";

// How pointers are encoded: what they are relative to and their size.
constexpr std::uint8_t relative64 = 0x10;
constexpr std::uint8_t indirectRelative32 = 0x9B;

[[noreturn]] void FailAtFrames() {
    throw MachOError("its frame records are of a kind that is not supported, or damaged");
}

// What the records of some functions have in common. The unwinder reads it up to the encoding of
// their addresses.
void CheckCommonRecord(Bytes bytes) {
    ByteReader record(bytes, what);
    const std::uint8_t version = record.Byte();
    const std::string_view augmentation = record.Text();
    if (version != 1 || !augmentation.starts_with('z')) FailAtFrames();
    record.Unsigned();  // alignment of code
    record.Signed();    // alignment of data
    record.Byte();      // the return address
    record.Unsigned();  // size of what follows
    for (const char letter : augmentation.substr(1)) {
        switch (letter) {
            case 'P':
                if (record.Byte() != indirectRelative32) FailAtFrames();
                for (std::size_t i = 0; i < sizeof(std::int32_t); ++i)
                    record.Byte();
                break;
            case 'L':
                record.Byte();
                break;
            case 'R':
                if (record.Byte() != relative64) FailAtFrames();
                return;
            default:
                FailAtFrames();
        }
    }
    FailAtFrames();  // the addresses are not relative
}

// Where a function lies; `address` is that of the record's bytes in the image.
void CheckFunctionRecord(const File& file, Bytes bytes, std::uint64_t address) {
    const std::uint64_t start = address + RecordAt<std::uint64_t>(bytes, 0, what);
    const auto size = RecordAt<std::uint64_t>(bytes, sizeof start, what);
    const Segment* const segment = file.SegmentAt(start);
    if (segment == nullptr || (segment->protection & protectionExecute) == 0 ||
        size > segment->end() - start) {
        FailAtFrames();
    }
}

// `frames` lies at `address` in the image. A function's record says how far before it its common
// record is.
void CheckFrames(const File& file, Bytes frames, std::uint64_t address) {
    std::set<std::uint64_t> commonRecords;
    for (std::uint64_t offset = 0;;) {
        const std::uint64_t start = offset;
        const auto length = RecordAt<std::uint32_t>(frames, offset, what);
        if (length == 0) return;
        offset += sizeof length;
        const Bytes record = Part(frames, offset, length, what);
        const auto distance = RecordAt<std::uint32_t>(record, 0, what);
        const Bytes rest = record.subspan(sizeof distance);
        if (distance == 0) {
            CheckCommonRecord(rest);
            commonRecords.insert(start);
        } else {
            if (!commonRecords.contains(offset - distance)) FailAtFrames();
            CheckFunctionRecord(file, rest, address + offset + sizeof distance);
        }
        offset += length;
    }
}

}  // namespace

std::uint8_t* FramesOf(const File& file, const Image& image) {
    std::uint8_t* found = nullptr;
    for (const Section& section : file.sections) {
        if (section.name != "__eh_frame" || section.size == 0) continue;
        const Segment* const segment = file.SegmentAt(section.address);
        if (found != nullptr || (segment->protection & protectionRead) == 0) FailAtFrames();
        found = image.At(section.address);
        // What follows the section in its segment counts as well: the zero may lie there.
        CheckFrames(file, {found, segment->end() - section.address}, section.address);
    }
    return found;
}

UnwindRegistration::UnwindRegistration(std::uint8_t* frames) : frames_(frames) {
    RegisterFrames(frames_);
}

UnwindRegistration::~UnwindRegistration() {
    DeregisterFrames(frames_);
}

}  // namespace workbench::macho
