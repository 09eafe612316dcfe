// The way across the rows of a column blending, vector by vector. Included by the bodies of the
// pass down the columns; everything here is internal to each file that is compiled for a level.
#pragma once

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Calls `blend` with the offset of every vector across the rows, which are as long as one at least.
// The last vector goes back over bytes that have been written; they come out the same.
template <typename Simd, typename Blend>
void ForEachVector(const ColumnBlending& job, Blend blend) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    const std::int64_t last = size > Simd::byteCount ? size - Simd::byteCount : 0;
    for (std::int64_t offset = 0; offset < last; offset += Simd::byteCount)
        blend(offset);
    blend(last);
    if (job.streams) EndStream();
}

// Puts a vector into its place in a row of the result. A call of its own would take the vector's
// upper half along, and leave it to slow down what comes after the kernel.
template <typename Simd>
[[gnu::always_inline]] inline void StoreVector(const ColumnBlending& job, int row,
                                               std::int64_t offset, typename Simd::Bytes pixels) {
    std::uint8_t* const place = job.destinations[row] + offset;
    job.streams ? Simd::Stream(place, pixels) : Simd::StoreAll(place, pixels);
}

}  // namespace
}  // namespace zvk::kernels
