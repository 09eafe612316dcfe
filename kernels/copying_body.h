// The vector body of copying pixels from one order of channels to another, compiled once per
// instruction set.
#pragma once

#include <cstring>

#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

template <typename Simd, typename Narrow>
void CopyRow(const RowCopying& job) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    std::int64_t offset = 0;
    const auto copyBy = [&]<typename Vectors>(Vectors) {
        const typename Vectors::Arrangement arrange(job.sourceOrder, job.order);
        for (; offset + Vectors::byteCount <= size; offset += Vectors::byteCount) {
            Vectors::StoreAll(job.destination + offset,
                              arrange(Vectors::LoadAll(job.source + offset)));
        }
        return arrange;
    };
    copyBy(Simd{});
    const auto arrange = copyBy(Narrow{});
    if (offset == size) return;
    std::uint8_t rest[Narrow::byteCount] = {};
    const auto restSize = static_cast<std::size_t>(size - offset);
    std::memcpy(rest, job.source + offset, restSize);
    Narrow::StoreAll(rest, arrange(Narrow::LoadAll(rest)));
    std::memcpy(job.destination + offset, rest, restSize);
}

}  // namespace
}  // namespace zvk::kernels
