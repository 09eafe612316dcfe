// The vector body of copying pixels from one order of channels to another, compiled once per
// instruction set.
#pragma once

#include <cstring>

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// Copies fewer bytes than a vector holds.
template <typename Vectors>
void CopyShortRow(const RowCopying& job) {
    const typename Vectors::Arrangement arrange(job.sourceOrder, job.order);
    const auto size = static_cast<std::size_t>(job.width * bytesPerPixelWord);
    std::uint8_t bytes[Vectors::byteCount] = {};
    std::memcpy(bytes, job.source, size);
    Vectors::StoreAll(bytes, arrange(Vectors::LoadAll(bytes)));
    std::memcpy(job.destination, bytes, size);
}

template <typename Vectors, bool streams>
void CopyLongRow(const RowCopying& job) {
    const typename Vectors::Arrangement arrange(job.sourceOrder, job.order);
    const auto copy = [&](std::int64_t offset) {
        const typename Vectors::Bytes pixels = arrange(Vectors::LoadAll(job.source + offset));
        if constexpr (streams) {
            Vectors::Stream(job.destination + offset, pixels);
        } else {
            Vectors::StoreAll(job.destination + offset, pixels);
        }
    };
    // The first and the last vector overlap others; what is written twice comes out the same.
    const std::int64_t size = job.width * bytesPerPixelWord;
    constexpr std::int64_t step = Vectors::byteCount;
    copy(0);
    std::int64_t offset = BytesToMultiple<step>(job.destination);
    for (; offset + 4 * step <= size; offset += 4 * step) {
        copy(offset);
        copy(offset + step);
        copy(offset + 2 * step);
        copy(offset + 3 * step);
    }
    for (; offset + step <= size; offset += step)
        copy(offset);
    copy(size - step);
}

template <typename Simd, typename Narrow>
void CopyRow(const RowCopying& job) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    if (size >= Simd::byteCount) {
        job.streams ? CopyLongRow<Simd, true>(job) : CopyLongRow<Simd, false>(job);
    } else if (size >= Narrow::byteCount) {
        CopyLongRow<Narrow, false>(job);
    } else {
        CopyShortRow<Narrow>(job);
    }
}

}  // namespace
}  // namespace zvk::kernels
