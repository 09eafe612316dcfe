// Finds the loaded library's imports of the allocator in its dynamic section and points them at
// stand-ins. Works in sanitized builds too: what is forwarded to is what the import was bound to.
#include "tests/support/plugin_allocations.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "workbench/macho/macho_library.h"

namespace contract {
namespace {

PluginAllocations* watch = nullptr;

// Blocks that the plugin has not given back. Never destroyed: what a registration keeps for good
// must stay known to the leak checker after the library is gone.
std::unordered_set<const void*>& Blocks() {
    static auto& blocks = *new std::unordered_set<const void*>;
    return blocks;
}

void* Noted(void* block) {
    if (block != nullptr) Blocks().insert(block);
    return block;
}

void* WatchedCalloc(std::size_t count, std::size_t size) {
    std::size_t total = 0;
    if (__builtin_mul_overflow(count, size, &total)) {
        total = std::numeric_limits<std::size_t>::max();
    }
    return watch->Grants(total) ? Noted(std::calloc(count, size)) : nullptr;
}

void* WatchedMalloc(std::size_t size) {
    return watch->Grants(size) ? Noted(std::malloc(size)) : nullptr;
}

void* WatchedRealloc(void* block, std::size_t size) {
    if (!watch->Grants(size)) return nullptr;
    Blocks().erase(block);
    return Noted(std::realloc(block, size));
}

void WatchedFree(void* block) {
    Blocks().erase(block);
    std::free(block);
}

void* WatchedNew(std::size_t size) {
    if (!watch->Grants(size)) throw std::bad_alloc();
    return Noted(::operator new(size));
}

void* WatchedNewOrNull(std::size_t size, const std::nothrow_t&) {
    return watch->Grants(size) ? Noted(::operator new(size, std::nothrow)) : nullptr;
}

void WatchedDelete(void* block) {
    Blocks().erase(block);
    ::operator delete(block);
}

void WatchedSizedDelete(void* block, std::size_t /*size*/) {
    WatchedDelete(block);
}

struct StandIn {
    std::string_view symbol;
    void* function;
};

const std::array standIns{
    StandIn{"calloc", reinterpret_cast<void*>(&WatchedCalloc)},
    StandIn{"malloc", reinterpret_cast<void*>(&WatchedMalloc)},
    StandIn{"realloc", reinterpret_cast<void*>(&WatchedRealloc)},
    StandIn{"free", reinterpret_cast<void*>(&WatchedFree)},
    StandIn{"_Znwm", reinterpret_cast<void*>(&WatchedNew)},
    StandIn{"_ZnwmRKSt9nothrow_t", reinterpret_cast<void*>(&WatchedNewOrNull)},
    StandIn{"_ZdlPv", reinterpret_cast<void*>(&WatchedDelete)},
    StandIn{"_ZdlPvm", reinterpret_cast<void*>(&WatchedSizedDelete)},
};

const link_map& LibraryOf(const void* function) {
    Dl_info info{};
    link_map* library = nullptr;
    if (dladdr1(function, &info, reinterpret_cast<void**>(&library), RTLD_DL_LINKMAP) == 0 ||
        library == nullptr) {
        throw std::runtime_error("the function belongs to no loaded library");
    }
    return *library;
}

// The parts of a dynamic section that describe imports. The loader has turned the addresses in it
// into absolute ones.
struct DynamicSection {
    const ElfW(Sym) * symbols = nullptr;
    const char* names = nullptr;
    std::span<const ElfW(Rela)> relocations;
    std::span<const ElfW(Rela)> callRelocations;
};

template <typename T>
T* At(ElfW(Addr) address) {
    return std::bit_cast<T*>(address);
}

DynamicSection Read(const link_map& library) {
    DynamicSection section;
    const ElfW(Rela)* relocations = nullptr;
    const ElfW(Rela)* callRelocations = nullptr;
    std::size_t bytes = 0;
    std::size_t callBytes = 0;
    for (const ElfW(Dyn)* entry = library.l_ld; entry->d_tag != DT_NULL; ++entry) {
        switch (entry->d_tag) {
            case DT_SYMTAB:
                section.symbols = At<const ElfW(Sym)>(entry->d_un.d_ptr);
                break;
            case DT_STRTAB:
                section.names = At<const char>(entry->d_un.d_ptr);
                break;
            case DT_RELA:
                relocations = At<const ElfW(Rela)>(entry->d_un.d_ptr);
                break;
            case DT_RELASZ:
                bytes = entry->d_un.d_val;
                break;
            case DT_JMPREL:
                callRelocations = At<const ElfW(Rela)>(entry->d_un.d_ptr);
                break;
            case DT_PLTRELSZ:
                callBytes = entry->d_un.d_val;
                break;
            default:
                break;
        }
    }
    section.relocations = {relocations, bytes / sizeof *relocations};
    section.callRelocations = {callRelocations, callBytes / sizeof *callRelocations};
    return section;
}

// The places where a library of the system's own format keeps the address of an imported function.
std::vector<void**> ImportSlots(const link_map& library, std::string_view symbol) {
    std::vector<void**> slots;
    const DynamicSection section = Read(library);
    for (const auto& list : {section.relocations, section.callRelocations}) {
        for (const ElfW(Rela) & relocation : list) {
            const auto type = ELF64_R_TYPE(relocation.r_info);
            if (type != R_X86_64_JUMP_SLOT && type != R_X86_64_GLOB_DAT) continue;
            const ElfW(Sym)& imported = section.symbols[ELF64_R_SYM(relocation.r_info)];
            if (section.names + imported.st_name != symbol) continue;
            slots.push_back(At<void*>(library.l_addr + relocation.r_offset));
        }
    }
    return slots;
}

std::vector<void**> ImportSlots(const workbench::PluginLibrary& library, std::string_view symbol) {
    if (const auto* machO = dynamic_cast<const workbench::MachOLibrary*>(&library)) {
        return machO->ImportSlots(symbol);
    }
    return ImportSlots(LibraryOf(reinterpret_cast<const void*>(library.EntryPoint())), symbol);
}

// The loader may have made the table of imports read-only after it had filled it.
void MakeWritable(void* address) {
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto page = std::bit_cast<std::uintptr_t>(address) & ~(pageSize - 1);
    if (mprotect(std::bit_cast<void*>(page), pageSize, PROT_READ | PROT_WRITE) != 0) {
        throw std::runtime_error("the table of imports cannot be made writable");
    }
}

}  // namespace

PluginAllocations::PluginAllocations(const workbench::PluginLibrary& library)
    : blocksBefore_(Blocks()) {
    if (watch != nullptr) throw std::logic_error("the plugin's memory is being watched already");
    for (const StandIn& standIn : standIns) {
        for (void** const slot : ImportSlots(library, standIn.symbol))
            Patch(slot, standIn.function);
    }
    if (patched_.empty()) throw std::runtime_error("the plugin does not import the allocator");
    watch = this;
}

PluginAllocations::~PluginAllocations() {
    for (const PatchedImport& import : patched_)
        *import.slot = import.original;
    watch = nullptr;
}

void PluginAllocations::Patch(void** slot, void* standIn) {
    MakeWritable(slot);
    patched_.push_back({slot, *slot});
    *slot = standIn;
}

void PluginAllocations::Restart(std::uint64_t first, std::uint64_t last) {
    requests_ = 0;
    refused_ = 0;
    sizes_.clear();
    firstRefused_ = first;
    lastRefused_ = last;
    alsoRefused_ = 0;
}

void PluginAllocations::FailOnly(std::uint64_t request) {
    Restart(request, request);
}

void PluginAllocations::FailBoth(std::uint64_t request, std::uint64_t other) {
    Restart(request, request);
    alsoRefused_ = other;
}

void PluginAllocations::FailFrom(std::uint64_t request) {
    Restart(request, std::numeric_limits<std::uint64_t>::max());
}

void PluginAllocations::GrantAll() {
    Restart(0, 0);
}

std::size_t PluginAllocations::LiveBlocks() const {
    return Blocks().size() - blocksBefore_.size();
}

void PluginAllocations::FreeKept() {
    for (const void* block : Blocks()) {
        if (!blocksBefore_.contains(block)) std::free(const_cast<void*>(block));
    }
    Blocks() = blocksBefore_;
}

bool PluginAllocations::Grants(std::size_t size) {
    ++requests_;
    sizes_.push_back(size);
    const bool refuses =
        size > mostGranted_ || requests_ == alsoRefused_ ||
        (firstRefused_ != 0 && requests_ >= firstRefused_ && requests_ <= lastRefused_);
    if (refuses) ++refused_;
    return !refuses;
}

}  // namespace contract
