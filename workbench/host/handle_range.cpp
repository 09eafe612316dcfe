// A range of reserved, inaccessible address space, given out piece by piece.
// Called whenever an object is made; the range is never given back.
#include "workbench/host/handle_range.h"

#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace workbench {

namespace {

constexpr std::size_t rangeBytes = std::size_t{1} << 30U;
constexpr std::size_t bytesPerHandle = 16;

std::byte* Reserve() {
    void* range =
        mmap(nullptr, rangeBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) throw std::bad_alloc();
    return static_cast<std::byte*>(range);
}

}  // namespace

const void* NewHandleAddress() {
    static std::byte* const range = Reserve();
    static std::size_t offset = 0;
    offset = (offset + bytesPerHandle) % rangeBytes;
    return range + offset;
}

}  // namespace workbench
