// The vector body of the pass down the columns for lists of small whole weights over one
// denominator, as those of the triangle and the box often are; compiled once per instruction set.
//
// Exactness: a sum of bytes times weights that add up to d is at most 255 d, and with d / 2 added
// to it for rounding stays below 2^15. Its quotient is exact by the condition that `Quotient`
// states.
#pragma once

#include <algorithm>

#include "kernels/column_vectors.h"
#include "kernels/prefetching.h"

namespace zvk::kernels {
namespace {

// Whether all of a job's lists have a denominator.
inline bool AreInWholes(const ColumnBlending& job) {
    return std::all_of(job.lists, job.lists + job.listCount,
                       [](const BoundedList& list) { return list.decision == Decision::InWholes; });
}

// Calls `blend` with the offset of every vector across the rows, which have room for one at least.
// The last vector goes back over bytes that have been written; they come out the same.
template <typename Simd, typename Blend>
void ForEachVector(const ColumnBlending& job, Blend blend) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    const std::int64_t last = size > Simd::byteCount ? size - Simd::byteCount : 0;
    for (std::int64_t offset = 0; offset < last; offset += Simd::byteCount)
        blend(offset);
    blend(last);
}

template <typename Simd>
class WholeBlender {
  public:
    explicit WholeBlender(const ColumnBlending& job)
        : job_(job), pairCount_((job.lists->count + 1) / 2), arrange_(job.rowOrder, job.order) {
        for (std::int32_t pair = 0; pair < pairCount_; ++pair) {
            const std::int32_t tap = 2 * pair;
            const bool isLast = tap + 1 == job.lists->count;
            rows_[tap] = job.rows.Row(job.lists->first + tap);
            rows_[tap + 1] = isLast ? rows_[tap] : job.rows.Row(job.lists->first + tap + 1);
            for (int row = 0; row < job.listCount; ++row) {
                const BoundedList& list = job.lists[row];
                const std::int32_t second = isLast ? 0 : WholeOf(list, tap + 1);
                pairs_[row][pair] = (WholeOf(list, tap) | second << 8) * 0x10001;
            }
        }
        for (int row = 0; row < job.listCount; ++row)
            quotients_[row] = Quotient::By(job.lists[row].denominator);
    }

    void Run() const {
        ForEachVector<Simd>(job_, [this](std::int64_t offset) {
            if (job_.ahead != nullptr) Prefetch(job_.ahead + offset);
            for (int row = 0; row < job_.listCount; ++row)
                StoreVector<Simd>(job_, row, offset, Blend(row, offset));
        });
    }

  private:
    using Bytes = typename Simd::Bytes;

    static std::int32_t WholeOf(const BoundedList& list, std::int32_t tap) {
        return static_cast<std::int32_t>(list.weights[tap]);
    }

    Bytes Blend(int row, std::int64_t offset) const {
        typename Simd::WholeSums sums(job_.lists[row].denominator / 2);
        const std::uint8_t* const* rows = rows_;
        for (std::int32_t pair = 0; pair < pairCount_; ++pair, rows += 2) {
            sums.Add(Simd::LoadAll(rows[0] + offset), Simd::LoadAll(rows[1] + offset),
                     Simd::Repeat32(pairs_[row][pair]));
        }
        return arrange_(sums.DividedBy(quotients_[row]));
    }

    const ColumnBlending& job_;
    std::int32_t pairCount_;
    typename Simd::Arrangement arrange_;
    const std::uint8_t* rows_[mostWholes];
    // The weights of two rows each, twice over.
    std::int32_t pairs_[rowsBlended][mostWholes / 2];
    Quotient quotients_[rowsBlended];
};

// Rows shorter than a vector are blended aside.
template <typename Simd>
void BlendInWholes(const ColumnBlending& job) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    if (size >= Simd::byteCount) return WholeBlender<Simd>(job).Run();
    std::uint8_t bytes[rowsBlended][Simd::byteCount];
    ColumnBlending aside = job;
    for (int row = 0; row < job.listCount; ++row)
        aside.destinations[row] = bytes[row];
    aside.streams = false;
    WholeBlender<Simd>(aside).Run();
    for (int row = 0; row < job.listCount; ++row)
        __builtin_memcpy(job.destinations[row], bytes[row], static_cast<std::size_t>(size));
}

}  // namespace
}  // namespace zvk::kernels
