// Finds the writable memory of a loaded library by its program headers, and copies it.
#include "tests/fuzz/methods/loaded_build.h"

#include <dlfcn.h>
#include <link.h>

#include <bit>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace fuzz {
namespace {

using Word = std::uint64_t;

struct Addresses {
    std::uintptr_t first;
    std::uintptr_t last;  // behind the end
};

struct Search {
    ElfW(Addr) base;
    std::vector<Addresses> found;
};

// What the loader makes read-only again is constant, and lies at the start of what is writable.
int CollectWritable(dl_phdr_info* info, std::size_t /*size*/, void* data) {
    auto& search = *static_cast<Search*>(data);
    if (info->dlpi_addr != search.base) return 0;
    std::uintptr_t constantEnd = 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& header = info->dlpi_phdr[i];
        if (header.p_type == PT_GNU_RELRO) {
            constantEnd = search.base + header.p_vaddr + header.p_memsz;
        }
    }
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& header = info->dlpi_phdr[i];
        if (header.p_type != PT_LOAD || (header.p_flags & PF_W) == 0) continue;
        const std::uintptr_t start = search.base + header.p_vaddr;
        const std::uintptr_t end = start + header.p_memsz;
        const bool startsConstant = constantEnd > start && constantEnd <= end;
        search.found.push_back({startsConstant ? constantEnd : start, end});
    }
    return 1;
}

std::vector<Addresses> WritableMemory(const void* functionOfTheLibrary) {
    Dl_info info{};
    if (dladdr(functionOfTheLibrary, &info) == 0) {
        throw std::runtime_error("the function belongs to no loaded library");
    }
    Search search{std::bit_cast<std::uintptr_t>(info.dli_fbase), {}};
    dl_iterate_phdr(&CollectWritable, &search);
    if (search.found.empty()) throw std::runtime_error("the plugin has no memory to be put back");
    return std::move(search.found);
}

// The memory holds the guarded zones between the sanitizer's variables too, which only code that is
// not checked may touch. Volatile words keep the compiler from calling a checked function instead.
__attribute__((no_sanitize("address"))) void CopyUnchecked(const volatile Word* from,
                                                           volatile Word* to, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        to[i] = from[i];
}

// A library that stays loaded.
class Borrowed : public workbench::PluginLibrary {
  public:
    explicit Borrowed(const PluginLibrary& library) : entry_(library.EntryPoint()) {}
    Entry EntryPoint() const override { return entry_; }

  private:
    Entry entry_;
};

}  // namespace

LoadedBuild::LoadedBuild(const std::filesystem::path& file)
    : library_(workbench::OpenSharedLibrary(file)) {
    const auto* entry = reinterpret_cast<const void*>(library_->EntryPoint());
    for (const Addresses& addresses : WritableMemory(entry)) {
        // Words on the edge belong to nobody else: segments are pages apart.
        const std::uintptr_t first = addresses.first / sizeof(Word) * sizeof(Word);
        const std::size_t count = (addresses.last - first + sizeof(Word) - 1) / sizeof(Word);
        Area area{{std::bit_cast<Word*>(first), count}, std::vector<Word>(count)};
        CopyUnchecked(area.words.data(), area.before.data(), count);
        areas_.push_back(std::move(area));
    }
}

std::unique_ptr<workbench::PluginLibrary> LoadedBuild::Fresh() {
    for (const Area& area : areas_)
        CopyUnchecked(area.before.data(), area.words.data(), area.before.size());
    return std::make_unique<Borrowed>(*library_);
}

}  // namespace fuzz
