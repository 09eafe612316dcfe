// Memory that ends, or begins, directly at an inaccessible page.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>

namespace zvk::kernels::testing {

enum class Guard : std::uint8_t { Before, Behind };

// `size` bytes of which any touch of the byte before the first, or behind the last, ends the test.
class GuardedBytes {
  public:
    GuardedBytes(std::int64_t size, Guard guard = Guard::Behind)
        : size_(static_cast<std::size_t>(size)) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t inner = (size_ + page - 1) / page * page;
        mappedSize_ = inner + 2 * page;
        mapped_ = mmap(nullptr, mappedSize_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped_ == MAP_FAILED) throw std::bad_alloc();
        std::uint8_t* first = static_cast<std::uint8_t*>(mapped_) + page;
        if (mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
        data_ = guard == Guard::Before ? first : first + (inner - size_);
    }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    ~GuardedBytes() { munmap(mapped_, mappedSize_); }

    std::uint8_t* data() { return data_; }
    std::size_t size() const { return size_; }

    void FillRandomly(std::mt19937& random) {
        for (std::size_t index = 0; index < size_; ++index) {
            data_[index] = static_cast<std::uint8_t>(random());
        }
    }
    // Only the two values between which rounding errors are greatest.
    void FillWithExtremes(std::mt19937& random) {
        for (std::size_t index = 0; index < size_; ++index)
            data_[index] = random() % 2 ? 255 : 0;
    }
    void FillWith(std::uint8_t value) { std::memset(data_, value, size_); }

  private:
    std::size_t size_;
    std::size_t mappedSize_ = 0;
    void* mapped_ = nullptr;
    std::uint8_t* data_ = nullptr;
};

}  // namespace zvk::kernels::testing
