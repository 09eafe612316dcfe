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
#include "kernels/quotient.h"
#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

// Whether all of a job's lists have a denominator.
inline bool AreInWholes(const ColumnBlending& job) {
    return std::all_of(job.lists, job.lists + job.listCount,
                       [](const BoundedList& list) { return list.decision == Decision::InWholes; });
}

// Calls `blend` with the offset of every vector across the rows, which have room for one at least.
// Vectors go back over bytes that have been written, the last one and, where results are stored
// past the caches, the second one, so that the others lie in one cache line each. Those bytes come
// out the same.
template <typename Simd, typename Blend>
[[gnu::always_inline]] inline void ForEachVector(const ColumnBlending& job, Blend blend) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    const std::int64_t last = size > Simd::byteCount ? size - Simd::byteCount : 0;
    std::int64_t offset = 0;
    if (job.streams && last > 0) {
        blend(0);
        offset = BytesToMultiple<Simd::byteCount>(job.destinations[0]);
    }
    for (; offset < last; offset += Simd::byteCount)
        blend(offset);
    blend(last);
}

// Blends `rowCount` rows of `pairCount` pairs of rows of the source, or of any number where that is
// 0.
template <typename Simd, int rowCount, int pairCount>
class WholeBlender {
  public:
    explicit WholeBlender(const ColumnBlending& job)
        : job_(job), pairs_((job.lists->count + 1) / 2), arrange_(job.rowOrder, job.order) {
        ForEachPair([&](auto pair) {
            const std::int32_t tap = 2 * pair;
            const bool isLast = tap + 1 == job.lists->count;
            rows_[tap] = job.rows.Row(job.lists->first + tap);
            rows_[tap + 1] = isLast ? rows_[tap] : job.rows.Row(job.lists->first + tap + 1);
            for (int row = 0; row < rowCount; ++row) {
                const BoundedList& list = job.lists[row];
                const std::int32_t second = isLast ? 0 : WholeOf(list, tap + 1);
                weights_[row][pair] = (WholeOf(list, tap) | second << 8) * 0x10001;
            }
        });
        for (int row = 0; row < rowCount; ++row) {
            const std::int32_t denominator = job.lists[row].denominator;
            const Quotient quotient = Quotient::By(denominator);
            halves_[row] = Simd::Repeat16(denominator / 2);
            multipliers_[row] = Simd::Repeat16(quotient.multiplier);
            shifts_[row] = _mm_cvtsi32_si128(quotient.shift);
        }
    }

    [[gnu::always_inline]] void Run() const {
        ForEachVector<Simd>(
            job_, [this](std::int64_t offset)
                      __attribute__((always_inline)) { this->Blend(offset); });
    }

  private:
    using Bytes = typename Simd::Bytes;
    static constexpr int mostPairs = pairCount > 0 ? pairCount : mostWholes / 2;

    static std::int32_t WholeOf(const BoundedList& list, std::int32_t tap) {
        return static_cast<std::int32_t>(list.weights[tap]);
    }

    [[gnu::always_inline]] void Blend(std::int64_t offset) const {
        if (job_.ahead != nullptr) Prefetch(job_.ahead + offset);
        typename Simd::WholeSums sums[rowCount];
        Repeat<rowCount>([&](auto row) { sums[row].StartFrom(halves_[row]); });
        ForEachPair([&](auto pair) __attribute__((always_inline)) {
            const Bytes first = Simd::LoadAll(rows_[2 * pair] + offset);
            const Bytes second = Simd::LoadAll(rows_[2 * pair + 1] + offset);
            Repeat<rowCount>([&](auto row) __attribute__((always_inline)) {
                sums[row].Add(first, second, Simd::Repeat32(weights_[row][pair]));
            });
        });
        Repeat<rowCount>([&](auto row) __attribute__((always_inline)) {
            const Bytes means = sums[row].Divided(multipliers_[row], shifts_[row]);
            StoreVector<Simd>(job_, row, offset, arrange_(means));
        });
    }

    template <typename Add>
    [[gnu::always_inline]] void ForEachPair(Add add) const {
        if constexpr (pairCount > 0) {
            Repeat<pairCount>(add);
        } else {
            for (std::int32_t pair = 0; pair < pairs_; ++pair)
                add(pair);
        }
    }

    // Copied: through a reference, its fields would be read again after every vector that is
    // stored.
    const ColumnBlending job_;
    std::int32_t pairs_;
    typename Simd::Arrangement arrange_;
    const std::uint8_t* rows_[2 * mostPairs];
    // The weights of two rows each, twice over.
    std::int32_t weights_[rowCount][mostPairs];
    Bytes halves_[rowCount];
    Bytes multipliers_[rowCount];
    __m128i shifts_[rowCount];
};

template <typename Simd, int rowCount>
void BlendPairs(const ColumnBlending& job) {
    const std::int32_t count = job.lists->count;
    if (count <= 2) return WholeBlender<Simd, rowCount, 1>(job).Run();
    if (count <= 4) return WholeBlender<Simd, rowCount, 2>(job).Run();
    WholeBlender<Simd, rowCount, 0>(job).Run();
}

template <typename Simd>
void BlendLongRows(const ColumnBlending& job) {
    job.listCount == 1 ? BlendPairs<Simd, 1>(job) : BlendPairs<Simd, rowsBlended>(job);
}

// Rows shorter than a vector are blended aside.
template <typename Simd>
void BlendInWholes(const ColumnBlending& job) {
    const std::int64_t size = job.width * bytesPerPixelWord;
    if (size >= Simd::byteCount) return BlendLongRows<Simd>(job);
    std::uint8_t bytes[rowsBlended][Simd::byteCount];
    ColumnBlending aside = job;
    for (int row = 0; row < job.listCount; ++row)
        aside.destinations[row] = bytes[row];
    aside.streams = false;
    BlendLongRows<Simd>(aside);
    for (int row = 0; row < job.listCount; ++row)
        __builtin_memcpy(job.destinations[row], bytes[row], static_cast<std::size_t>(size));
}

}  // namespace
}  // namespace zvk::kernels
