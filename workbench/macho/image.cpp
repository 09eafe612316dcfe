// One reservation for the whole image keeps the distances between its segments, which its code
// relies on.
#include "workbench/macho/image.h"

#include <sys/mman.h>

#include <cstddef>
#include <cstring>

namespace workbench::macho {
namespace {

int SystemProtection(std::int32_t protection) {
    int own = PROT_NONE;
    if ((protection & protectionRead) != 0) own |= PROT_READ;
    if ((protection & protectionWrite) != 0) own |= PROT_WRITE;
    if ((protection & protectionExecute) != 0) own |= PROT_EXEC;
    return own;
}

}  // namespace

Image::Image(const File& file, Resolver resolve) : size_(file.ImageSize()) {
    if (size_ == 0) throw MachOError("its segments are empty");
    void* const memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) throw MachOError("there is no memory for its segments");
    base_ = static_cast<std::uint8_t*>(memory);
    try {
        CopySegments(file);
        Rebase(file);
        Bind(file, Bindings(file), resolve);
        Bind(file, LazyBindings(file), resolve);
        BindWeakly(file, resolve);
        Protect(file);
    } catch (...) {
        munmap(base_, size_);
        throw;
    }
}

Image::~Image() {
    munmap(base_, size_);
}

void Image::CopySegments(const File& file) const {
    for (const Segment& segment : file.segments) {
        if (segment.contents.empty()) continue;
        std::memcpy(At(segment.address), segment.contents.data(), segment.contents.size());
    }
}

// Pointers into the image were made for one that starts at address 0.
void Image::Rebase(const File& file) const {
    for (const std::uint64_t address : RebasedPointers(file)) {
        std::uint64_t target = 0;
        std::memcpy(&target, At(address), sizeof target);
        if (target > size_) throw MachOError("it points out of itself");
        std::uint8_t* const pointer = At(target);
        std::memcpy(At(address), &pointer, sizeof pointer);
    }
}

void Image::Bind(const File& file, const std::vector<Binding>& bindings, Resolver resolve) {
    for (const Binding& binding : bindings) {
        const std::string_view library = binding.libraryOrdinal == 0
                                             ? std::string_view()
                                             : file.libraries[binding.libraryOrdinal - 1];
        void* const symbol = resolve(binding.symbol, library);
        if (symbol == nullptr && !binding.isWeak) {
            throw MachOError("it imports " + std::string(binding.symbol) +
                             (library.empty() ? "" : " from " + std::string(library)) +
                             ", which is not offered here");
        }
        Store(binding, symbol);
    }
}

// What nobody else defines stays the image's own.
void Image::BindWeakly(const File& file, Resolver resolve) {
    for (const Binding& binding : WeakBindings(file)) {
        void* const symbol = resolve(binding.symbol, {});
        if (symbol != nullptr) Store(binding, symbol);
    }
}

// A weak import that is missing is null whatever is to be added. What is added may be any number,
// so it is added to a number.
void Image::Store(const Binding& binding, void* symbol) {
    std::uint64_t value = 0;
    if (symbol != nullptr) {
        value =
            reinterpret_cast<std::uintptr_t>(symbol) + static_cast<std::uint64_t>(binding.addend);
        importSlots_.push_back({std::string(binding.symbol), PointerAt(binding.address)});
    }
    std::memcpy(At(binding.address), &value, sizeof value);
}

void Image::Protect(const File& file) {
    if (mprotect(base_, size_, PROT_NONE) != 0) throw MachOError("its memory cannot be protected");
    for (const Segment& segment : file.segments) {
        if (segment.size == 0) continue;
        if (mprotect(At(segment.address), segment.size, SystemProtection(segment.protection)) != 0)
            throw MachOError("its segment " + segment.name + " cannot be protected");
    }
}

}  // namespace workbench::macho
