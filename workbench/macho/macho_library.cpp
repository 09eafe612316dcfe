// Reads the file, maps it and makes it ready to be called.
#include "workbench/macho/macho_library.h"

#include <cstring>
#include <fstream>
#include <string>
#include <system_error>

#include "workbench/macho/exports.h"
#include "workbench/macho/imports.h"
#include "workbench/reports/text_line.h"

namespace workbench {

namespace {

using macho::MachOError;

constexpr std::string_view entryName = "_REALPluginMain";

std::vector<std::uint8_t> ReadFile(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    std::ifstream stream(path, std::ios::binary);
    if (error || !stream) throw MachOError("it cannot be read");
    if (size > macho::largestImage) throw MachOError("it is too large");
    std::vector<std::uint8_t> bytes(size);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
    if (!stream) throw MachOError("it cannot be read");
    return bytes;
}

bool HasProtection(const macho::Segment* segment, std::int32_t protection) {
    return segment != nullptr && (segment->protection & protection) != 0;
}

bool IsCode(const macho::File& file, std::uint64_t address) {
    return HasProtection(file.SegmentAt(address), macho::protectionExecute);
}

using Initialiser = void (*)(int count, const char** words, const char** environment,
                             const char** system);

std::vector<Initialiser> InitialisersOf(const macho::File& file, const macho::Image& image) {
    std::vector<Initialiser> initialisers;
    const auto base = reinterpret_cast<std::uintptr_t>(image.At(0));
    for (const macho::Section& section : file.sections) {
        if (section.kind != macho::SectionKind::InitialiserPointers || section.size == 0) continue;
        if (!HasProtection(file.SegmentAt(section.address), macho::protectionRead)) {
            throw MachOError("its initialisers cannot be read");
        }
        for (std::uint64_t offset = 0; offset + sizeof(Initialiser) <= section.size;
             offset += sizeof(Initialiser)) {
            Initialiser initialiser = nullptr;
            std::memcpy(&initialiser, image.At(section.address + offset), sizeof initialiser);
            const auto address = reinterpret_cast<std::uintptr_t>(initialiser);
            if (!IsCode(file, address - base)) throw MachOError("an initialiser of it is no code");
            initialisers.push_back(initialiser);
        }
    }
    return initialisers;
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
        Load(ReadFile(file));
    } catch (const MachOError& error) {
        throw PluginError("cannot load the plugin " + file.string() + ": " + OneLine(error.what()));
    }
    if (entry_ == nullptr) {
        throw PluginError("the library " + file.string() + " is no plugin: it has no " +
                          std::string(entryName.substr(1)));
    }
}

// Everything is checked before anything of the image is registered or run.
void MachOLibrary::Load(const std::vector<std::uint8_t>& bytes) {
    const macho::File file = macho::Parse(bytes);
    const auto entry = macho::ExportedAddress(file, entryName);
    if (!entry) return;
    if (!IsCode(file, *entry)) throw MachOError("its entry point is no code");
    image_.emplace(file, macho::ResolveImport);
    std::uint8_t* const frames = macho::FramesOf(file, *image_);
    const std::vector<Initialiser> initialisers = InitialisersOf(file, *image_);
    if (frames != nullptr) frames_.emplace(frames);
    for (const Initialiser initialiser : initialisers) {
        const char* nothing[] = {nullptr};
        initialiser(0, nothing, nothing, nothing);
    }
    entry_ = reinterpret_cast<Entry>(image_->At(*entry));
}

std::vector<void**> MachOLibrary::ImportSlots(std::string_view function) const {
    std::vector<void**> slots;
    for (const macho::ImportSlot& slot : image_->importSlots()) {
        if (std::string_view(slot.symbol).substr(1) == function) slots.push_back(slot.place);
    }
    return slots;
}

}  // namespace workbench
