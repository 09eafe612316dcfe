// A view of 32-bit pixels in memory: bytes red, green, blue, alpha, rows one below the other.
// What contenders read from and write to; owns nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "benchmarks/job.h"

namespace bench {

struct Pixels {
    std::uint8_t* data = nullptr;
    Size size;

    std::size_t RowBytes() const { return std::size_t{4} * static_cast<std::size_t>(size.width); }
    std::size_t ByteCount() const { return RowBytes() * static_cast<std::size_t>(size.height); }
    std::uint8_t* Row(int y) const { return data + RowBytes() * static_cast<std::size_t>(y); }
};

}  // namespace bench
