// The stand-in for calloc in this program.
#include "refused_memory.h"

#include <cstddef>
#include <vector>

namespace {

// How many requests are granted before the one that is refused; below 0 where none is, or after it.
int grantsLeft = -1;

bool mayBeKept = false;

// Known for good, so that the leak checker finds what is kept.
std::vector<void*>& KeptBlocks() {
    static auto& blocks = *new std::vector<void*>;
    return blocks;
}

}  // namespace

// The linker's names for both are reserved (its option --wrap).
void* RealCalloc(std::size_t count, std::size_t size) __asm__("__real_calloc");
void* StandInForCalloc(std::size_t count, std::size_t size) __asm__("__wrap_calloc");

void* StandInForCalloc(std::size_t count, std::size_t size) {
    const bool isRefused = grantsLeft == 0;
    if (grantsLeft >= 0) --grantsLeft;
    if (isRefused) return nullptr;
    void* const block = RealCalloc(count, size);
    if (mayBeKept) KeptBlocks().push_back(block);
    return block;
}

namespace zvk::testing {

RefusedMemory::RefusedMemory(int request, Granted granted) {
    mayBeKept = granted == Granted::MayBeKept;
    grantsLeft = request - 1;
}

RefusedMemory::~RefusedMemory() {
    mayBeKept = false;
    grantsLeft = -1;
}

bool RefusedMemory::WasAskedFor() const {
    return grantsLeft < 0;
}

}  // namespace zvk::testing
