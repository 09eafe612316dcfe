// Reads the file, maps it and makes it ready to be called.
#include "workbench/macho/macho_library.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "workbench/macho/exports.h"
#include "workbench/macho/imports.h"

namespace workbench {

namespace {

using macho::MachOError;

constexpr std::string_view entryName = "_REALPluginMain";

std::vector<std::uint8_t> ReadFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw MachOError("it cannot be read");
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

bool HasProtection(const macho::Segment* segment, std::int32_t protection) {
    return segment != nullptr && (segment->protection & protection) != 0;
}

bool IsCode(const macho::File& file, std::uint64_t address) {
    return HasProtection(file.SegmentAt(address), macho::protectionExecute);
}

}  // namespace

bool IsMachOFile(const std::filesystem::path& file) {
    std::uint32_t magic = 0;
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(&magic), sizeof magic);
    return stream && (magic == macho::magic64 || magic == macho::magicOfUniversal);
}

MachOLibrary::MachOLibrary(const std::filesystem::path& file) {
    try {
        bytes_ = ReadFile(file);
        Load();
    } catch (const MachOError& error) {
        throw PluginError("cannot load the plugin " + file.string() + ": " + error.what());
    }
    if (entry_ == nullptr) {
        throw PluginError("the library " + file.string() + " is no plugin: it has no " +
                          std::string(entryName.substr(1)));
    }
}

void MachOLibrary::Load() {
    const macho::File file = macho::Parse(bytes_);
    image_.emplace(file, macho::ResolveImport);
    RegisterFrames(file);
    RunInitialisers(file);
    const auto address = macho::ExportedAddress(file, entryName);
    if (!address) return;
    if (!IsCode(file, *address)) throw MachOError("its entry point is no code");
    entry_ = reinterpret_cast<Entry>(image_->At(*address));
}

// What follows the section in its segment counts as well: the end of the records may lie there.
void MachOLibrary::RegisterFrames(const macho::File& file) {
    for (const macho::Section& section : file.sections) {
        if (section.name != "__eh_frame" || section.size == 0) continue;
        const macho::Segment* const segment = file.SegmentAt(section.address);
        std::uint8_t* const frames = image_->At(section.address);
        if (!HasProtection(segment, macho::protectionRead) ||
            !macho::IsChainOfFrames({frames, segment->end() - section.address})) {
            throw MachOError("its frame records have no end");
        }
        frames_.emplace(frames);
    }
}

void MachOLibrary::RunInitialisers(const macho::File& file) const {
    using Initialiser =
        void (*)(int count, const char** words, const char** environment, const char** system);
    for (const macho::Section& section : file.sections) {
        if (section.kind != macho::SectionKind::InitialiserPointers) continue;
        if (!HasProtection(file.SegmentAt(section.address), macho::protectionRead)) {
            throw MachOError("its initialisers cannot be read");
        }
        for (std::uint64_t offset = 0; offset + sizeof(Initialiser) <= section.size;
             offset += sizeof(Initialiser)) {
            std::uint8_t* pointer = nullptr;
            std::memcpy(&pointer, image_->At(section.address + offset), sizeof pointer);
            if (!IsCode(file, static_cast<std::uint64_t>(pointer - image_->At(0)))) {
                throw MachOError("an initialiser of it is no code");
            }
            const char* nothing[] = {nullptr};
            reinterpret_cast<Initialiser>(pointer)(0, nothing, nothing, nothing);
        }
    }
}

std::vector<void**> MachOLibrary::ImportSlots(std::string_view function) const {
    std::vector<void**> slots;
    for (const macho::ImportSlot& slot : image_->importSlots()) {
        if (std::string_view(slot.symbol).substr(1) == function) slots.push_back(slot.place);
    }
    return slots;
}

}  // namespace workbench
