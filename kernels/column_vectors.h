// The way across the rows of a column blending, vector by vector. Included by the bodies of the
// pass down the columns; everything here is internal to each file that is compiled for a level.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Puts a vector into its place in a row of the result. A call of its own would take the vector's
// upper half along, and leave it to slow down what comes after the kernel.
template <typename Simd>
[[gnu::always_inline]] inline void StoreVector(const ColumnBlending& job, int row,
                                               std::int64_t offset, typename Simd::Bytes pixels) {
    std::uint8_t* const place = job.destinations[row] + offset;
    job.streams ? Simd::Stream(place, pixels) : Simd::StoreAll(place, pixels);
}

// Calls `blend` with the offset of every vector across the rows, and with what stores a vector
// there in a row of the result; of the last one only what the rows have room for.
template <typename Simd, typename Blend>
[[gnu::always_inline]] inline void ForEachPart(const ColumnBlending& job, Blend blend) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    std::int64_t offset = 0;
    for (; offset + Simd::byteCount <= size; offset += Simd::byteCount) {
        blend(
            offset, [&](int row, typename Simd::Bytes pixels) __attribute__((always_inline)) {
                StoreVector<Simd>(job, row, offset, pixels);
            });
    }
    if (offset < size) {
        blend(offset, [&](int row, typename Simd::Bytes pixels) {
            std::uint8_t bytes[Simd::byteCount];
            Simd::StoreAll(bytes, pixels);
            __builtin_memcpy(job.destinations[row] + offset, bytes,
                             static_cast<std::size_t>(size - offset));
        });
    }
}

}  // namespace
}  // namespace zvk::kernels
