// The vector body of fractional drawing, compiled once per instruction set, for columns whose
// source pixels are all there and for rows that share no memory with the source.
//
// Exactness: with plain weights, products are truncated by a multiplication that gives trunc(c w)
// for every byte c; five of them do not overflow 16 bits. With weight tables every product is
// formed in double and truncated as defined, and the remaining weight is subtracted from in the
// same order.
#pragma once

#include "kernels/compositing.h"
#include "kernels/drawing_weights.h"
#include "kernels/kernel_table.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

inline constexpr std::int64_t drawnPixelsAtOnce = 4;

// Goes through the columns of a job in fours with `draw`, and leaves the rest to the definition.
template <typename Draw>
void DrawInFours(const RowDrawing& job, Draw draw) {
    std::int64_t x = job.begin;
    for (; x + drawnPixelsAtOnce <= job.end; x += drawnPixelsAtOnce)
        draw(x);
    if (x == job.end) return;
    RowDrawing rest = job;
    rest.begin = x;
    DrawRow(rest);
}

// With `mayBeOne` a weight may be 1, with `isArranged` both pictures have one order of channels.
template <typename Words, bool mayBeOne, bool isArranged>
class PlainDrawer {
  public:
    PlainDrawer(const RowDrawing& job, const PlainWeights& weights)
        : job_(job),
          fromSource_(job.source.order, job.order),
          makeOpaque_(job.order, job.order),
          topLeft_(weights.topLeft),
          topRight_(weights.topRight),
          bottomRight_(weights.bottomRight),
          bottomLeft_(weights.bottomLeft),
          rest_(weights.rest) {}

    void Run() const {
        const std::uint8_t* above = SamplesAt(job_.source.above.pixels);
        const std::uint8_t* below = SamplesAt(job_.source.below.pixels);
        std::uint8_t* destination = job_.destination + job_.begin * bytesPerPixelWord;
        const std::int64_t size = (job_.end - job_.begin) * bytesPerPixelWord;
        std::int64_t offset = 0;
        for (; offset + groupSize <= size; offset += groupSize)
            Draw(above + offset, below + offset, destination + offset);
        DrawRest(above + offset, below + offset, destination + offset,
                 static_cast<std::size_t>(size - offset));
    }

  private:
    using Scaler = typename Words::template Scaler<mayBeOne>;
    static constexpr std::int64_t groupSize = drawnPixelsAtOnce * bytesPerPixelWord;

    // The left sample of the job's first column in a row.
    const std::uint8_t* SamplesAt(const std::uint8_t* row) const {
        return row + (job_.begin - job_.offset - 1) * bytesPerPixelWord;
    }

    Words Sample(const std::uint8_t* pixels, const Scaler& scale) const {
        const __m128i bytes = Sse2::LoadAll(pixels);
        return scale(Words::FromBytes(isArranged ? bytes : fromSource_(bytes)));
    }

    void Draw(const std::uint8_t* above, const std::uint8_t* below,
              std::uint8_t* destination) const {
        Words sums = rest_(Words::FromBytes(Sse2::LoadAll(destination)));
        sums = sums + Sample(above, topLeft_);
        sums = sums + Sample(above + bytesPerPixelWord, topRight_);
        sums = sums + Sample(below + bytesPerPixelWord, bottomRight_);
        sums = sums + Sample(below, bottomLeft_);
        Sse2::StoreAll(destination, makeOpaque_(sums.ToBytes()));
    }

    // Draws fewer pixels than a group has, from copies that are long enough.
    void DrawRest(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* destination,
                  std::size_t size) const {
        if (size == 0) return;
        std::uint8_t aboveCopy[groupSize + bytesPerPixelWord] = {};
        std::uint8_t belowCopy[groupSize + bytesPerPixelWord] = {};
        std::uint8_t copy[groupSize] = {};
        __builtin_memcpy(aboveCopy, above, size + bytesPerPixelWord);
        __builtin_memcpy(belowCopy, below, size + bytesPerPixelWord);
        __builtin_memcpy(copy, destination, size);
        Draw(aboveCopy, belowCopy, copy);
        __builtin_memcpy(destination, copy, size);
    }

    const RowDrawing& job_;
    typename Words::Arrangement fromSource_;
    typename Words::Arrangement makeOpaque_;
    Scaler topLeft_;
    Scaler topRight_;
    Scaler bottomRight_;
    Scaler bottomLeft_;
    Scaler rest_;
};

template <typename Simd, typename Doubles>
class WeightedDrawer {
  public:
    WeightedDrawer(const RowDrawing& job, const WeightTables& weights)
        : job_(job),
          weights_(weights),
          fromSource_(job.source.order, job.order),
          makeOpaque_(job.order, job.order) {}

    void Run() const {
        DrawInFours(job_, [this](std::int64_t x) { Draw(x); });
    }

  private:
    // Four neighbouring pixels of a row of the source in the destination's order, with the weights
    // of their mask values.
    struct Samples {
        alignas(16) std::uint8_t pixels[drawnPixelsAtOnce * bytesPerPixelWord];
        double weights[drawnPixelsAtOnce];
    };

    // The pixels that are the left or the right samples of column x and the three after it.
    Samples Load(const PixelRow& row, std::int64_t column, const double* table) const {
        Samples samples;
        const std::int64_t offset = column * bytesPerPixelWord;
        Sse2::StoreAll(samples.pixels, fromSource_(Sse2::LoadAll(row.pixels + offset)));
        for (int pixel = 0; pixel < drawnPixelsAtOnce; ++pixel) {
            const std::int64_t place = offset + pixel * bytesPerPixelWord + job_.source.maskByte;
            samples.weights[pixel] = table[row.mask == nullptr ? 0 : row.mask[place]];
        }
        return samples;
    }

    void Draw(std::int64_t x) const {
        const std::int64_t left = x - job_.offset - 1;
        std::uint8_t* destination = job_.destination + x * bytesPerPixelWord;
        __m128i sums[drawnPixelsAtOnce] = {};
        double remaining[drawnPixelsAtOnce] = {1.0, 1.0, 1.0, 1.0};
        const auto take = [&](const Samples& samples) {
            for (int pixel = 0; pixel < drawnPixelsAtOnce; ++pixel) {
                const std::uint8_t* bytes = samples.pixels + pixel * bytesPerPixelWord;
                const __m128i products = Doubles::Products(bytes, samples.weights[pixel]);
                sums[pixel] = _mm_add_epi32(sums[pixel], products);
                remaining[pixel] -= samples.weights[pixel];
            }
        };
        const SourceRows& source = job_.source;
        if (source.above.pixels != nullptr) {
            take(Load(source.above, left, weights_.topLeft));
            take(Load(source.above, left + 1, weights_.topRight));
        }
        if (source.below.pixels != nullptr) {
            take(Load(source.below, left + 1, weights_.bottomRight));
            take(Load(source.below, left, weights_.bottomLeft));
        }
        for (int pixel = 0; pixel < drawnPixelsAtOnce; ++pixel) {
            if (!(remaining[pixel] > 0.0)) continue;
            const __m128i products =
                Doubles::Products(destination + pixel * bytesPerPixelWord, remaining[pixel]);
            sums[pixel] = _mm_add_epi32(sums[pixel], products);
        }
        const __m128i bytes =
            _mm_packus_epi16(_mm_packs_epi32(sums[0], sums[1]), _mm_packs_epi32(sums[2], sums[3]));
        Sse2::StoreAll(destination, makeOpaque_(bytes));
    }

    const RowDrawing& job_;
    const WeightTables& weights_;
    typename Simd::Arrangement fromSource_;
    typename Simd::Arrangement makeOpaque_;
};

// The products of a pixel's four bytes with a weight, each truncated.
struct DoublePairs {
    static __m128i Products(const std::uint8_t* bytes, double weight) {
        int word = 0;
        __builtin_memcpy(&word, bytes, sizeof word);
        const __m128i zero = _mm_setzero_si128();
        const __m128i values =
            _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero);
        const __m128d factor = _mm_set1_pd(weight);
        const __m128d low = _mm_mul_pd(_mm_cvtepi32_pd(values), factor);
        const __m128d high = _mm_mul_pd(_mm_cvtepi32_pd(_mm_srli_si128(values, 8)), factor);
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
    }
};

template <typename Words>
void DrawPlainRow(const RowDrawing& job, const PlainWeights& weights) {
    const bool isArranged = job.source.order == job.order;
    if (weights.HasOne()) {
        PlainDrawer<Words, true, false>(job, weights).Run();
    } else if (isArranged) {
        PlainDrawer<Words, false, true>(job, weights).Run();
    } else {
        PlainDrawer<Words, false, false>(job, weights).Run();
    }
}

template <typename Simd, typename Doubles>
void DrawWeightedRow(const RowDrawing& job, const WeightTables& weights) {
    WeightedDrawer<Simd, Doubles>(job, weights).Run();
}

}  // namespace
}  // namespace zvk::kernels
