// Working memory: zero-filled arrays from the C allocator, freed by their owner on every way out.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace zvk {

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

// Owns an array of T; null after a failed allocation.
template <typename T>
using Buffer = std::unique_ptr<T[], FreeMemory>;

// Allocates `count` zero-filled elements; null where count is below 1 or memory is short.
template <typename T>
Buffer<T> AllocateZeroed(std::int64_t count) {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    if (count < 1) return nullptr;
    return Buffer<T>(static_cast<T*>(std::calloc(static_cast<std::size_t>(count), sizeof(T))));
}

}  // namespace zvk
