// The vector body of the rows of fast scaling, compiled once per instruction set.
//
// Exactness: with S the sum of w values, the definition truncates (0.5 + h S) / (w h), which lies
// between S / w and S / w + 1 / 2w and so truncates to S div w; h drops out. Here (S + 0.5) / w is
// formed in single precision. It lies at least 0.5 / w off every whole number, and is off by at
// most 256 * 3 * 2^-24, which is less for w up to 8192. S is exact below 2^24. For short boxes S
// is formed in 16 bits, and its quotient is the upper half of its product with 2^16 / w rounded up.
//
// Rounded, the mean is trunc(S / w + 0.5), and so (S + w div 2) div w: w div 2 is added to S first.
#pragma once

#include "kernels/box_average.h"
#include "kernels/kernel_table.h"
#include "kernels/prefetching.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

inline constexpr std::int64_t widestExactBox = 8192;

inline RowsInTurn RowsOf(const RowAveraging& job) {
    return {job.sources, job.ahead, job.sourceWidth * bytesPerPixelWord};
}

template <typename Simd>
class RowAverager {
  public:
    explicit RowAverager(const RowAveraging& job)
        : job_(job),
          arrange_(job.sourceOrder, job.order),
          inverse_(1.0F / static_cast<float>(job.boxWidth)),
          addend_(0.5F + static_cast<float>(job.rounded ? job.boxWidth / 2 : 0)),
          lastMask_(MaskOf(job.boxWidth % pixelsPerVector)),
          wholeVectors_(job.boxWidth / pixelsPerVector) {}

    void Run() const {
        if (job_.width < pixelsPerVector) return AverageRows(job_);
        LineFetcher<NearReach> fetcher(RowsOf(job_), job_.rowCount, job_.starts[0]);
        std::int64_t x = 0;
        for (; x + pixelsPerVector <= job_.width; x += pixelsPerVector)
            WritePixels(x, fetcher.AheadOf(job_.starts[x + pixelsPerVector - 1]));
        // The last vector goes back over pixels that have been written; they come out the same.
        if (x < job_.width) WritePixels(job_.width - pixelsPerVector, fetcher.AheadOf(0));
    }

  private:
    static constexpr std::int64_t pixelsPerVector = 4;

    // All bits of the first `count` pixels.
    static __m128i MaskOf(std::int64_t count) {
        const __m128i place = _mm_setr_epi32(0, 1, 2, 3);
        return _mm_cmplt_epi32(place, _mm_set1_epi32(static_cast<int>(count)));
    }

    void WritePixels(std::int64_t x, const StretchAhead<NearReach>& ahead) const {
        for (int row = 0; row < job_.rowCount; ++row) {
            ahead.Request(row);
            const auto meanAt = [&](std::int64_t box) {
                return MeanOf(SumBlock(job_.sources[row], job_.starts[x + box]));
            };
            const __m128i pixels = Simd::ToBytes({meanAt(0), meanAt(1), meanAt(2), meanAt(3)});
            Simd::StoreAll(job_.destinations[row] + x * bytesPerPixelWord, arrange_(pixels));
        }
    }

    __m128 MeanOf(__m128i sum) const {
        return _mm_mul_ps(_mm_add_ps(_mm_cvtepi32_ps(sum), _mm_set1_ps(addend_)),
                          _mm_set1_ps(inverse_));
    }

    __m128i SumBlock(const std::uint8_t* source, std::int64_t start) const {
        const std::uint8_t* pixels = source + start * bytesPerPixelWord;
        __m128i sum = _mm_setzero_si128();
        for (std::int64_t vector = 0; vector < wholeVectors_; ++vector) {
            sum = _mm_add_epi32(sum, sumPixels_(Simd::LoadAll(pixels)));
            pixels += Simd::byteCount;
        }
        const std::int64_t done = wholeVectors_ * pixelsPerVector;
        if (done == job_.boxWidth) return sum;
        if (start + done + pixelsPerVector <= job_.sourceWidth) {
            const __m128i rest = _mm_and_si128(Simd::LoadAll(pixels), lastMask_);
            return _mm_add_epi32(sum, sumPixels_(rest));
        }
        // The row ends within the vector.
        alignas(16) std::uint8_t rest[Sse2::byteCount] = {};
        __builtin_memcpy(rest, pixels,
                         static_cast<std::size_t>((job_.boxWidth - done) * bytesPerPixelWord));
        return _mm_add_epi32(sum, sumPixels_(Simd::LoadAll(rest)));
    }

    const RowAveraging& job_;
    typename Simd::PixelSummer sumPixels_;
    typename Simd::Arrangement arrange_;
    float inverse_;
    float addend_;
    __m128i lastMask_;
    std::int64_t wholeVectors_;
};

// What is left of a job from the box at `x` on.
inline RowAveraging BoxesFrom(const RowAveraging& job, std::int64_t x) {
    RowAveraging rest = job;
    rest.starts += x;
    rest.width -= x;
    for (int row = 0; row < job.rowCount; ++row)
        rest.destinations[row] += x * bytesPerPixelWord;
    return rest;
}

// Takes boxes of one pixel; those of neighbouring rows that have one source are taken once.
template <typename Simd>
class PixelPicker {
  public:
    explicit PixelPicker(const RowAveraging& job) : arrange_(job.sourceOrder, job.order) {}

    [[gnu::always_inline]] void Run(const RowAveraging& job) const {
        for (int row = 0; row < job.rowCount;) {
            const int first = row++;
            while (row < job.rowCount && job.sources[row] == job.sources[first])
                ++row;
            const Rows rows{job.sources[first], job.destinations + first, row - first};
            job.streams ? PickPixels<true>(job, rows) : PickPixels<false>(job, rows);
        }
    }

  private:
    static constexpr std::int64_t pixelsPerVector = 4;

    struct Rows {
        const std::uint8_t* source;
        std::uint8_t* const* destinations;
        int count;
    };

    // A cache line of one row after the other: lines that are streamed in parts, in turn with
    // parts of others, take up to ten times as long.
    template <bool streams>
    void PickPixels(const RowAveraging& job, const Rows& rows) const {
        constexpr std::int64_t pixelsPerLine = cacheLine / bytesPerPixelWord;
        std::int64_t x = 0;
        if constexpr (streams) {
            const std::int64_t bytes = BytesToMultiple<cacheLine>(rows.destinations[0]);
            x = PickSome(job, rows, 0, std::min(bytes / bytesPerPixelWord, job.width));
        }
        for (; x + pixelsPerLine <= job.width; x += pixelsPerLine) {
            constexpr int vectorCount = pixelsPerLine / pixelsPerVector;
            __m128i pixels[vectorCount];
            for (int vector = 0; vector < vectorCount; ++vector)
                pixels[vector] = PickFour(rows.source, job.starts + x + vector * pixelsPerVector);
            for (int row = 0; row < rows.count; ++row) {
                std::uint8_t* place = rows.destinations[row] + x * bytesPerPixelWord;
                for (const __m128i four : pixels) {
                    streams ? Simd::Stream(place, four) : Simd::StoreAll(place, four);
                    place += Simd::byteCount;
                }
            }
        }
        PickSome(job, rows, x, job.width);
    }

    // Takes the boxes from the one at `x` to before `end`, which it returns.
    std::int64_t PickSome(const RowAveraging& job, const Rows& rows, std::int64_t x,
                          std::int64_t end) const {
        for (; x + pixelsPerVector <= end; x += pixelsPerVector) {
            const __m128i pixels = PickFour(rows.source, job.starts + x);
            for (int row = 0; row < rows.count; ++row)
                Simd::StoreAll(rows.destinations[row] + x * bytesPerPixelWord, pixels);
        }
        for (; x < end; ++x) {
            const __m128i pixels = arrange_(_mm_cvtsi32_si128(PixelAt(rows.source, job.starts[x])));
            const int pixel = _mm_cvtsi128_si32(pixels);
            for (int row = 0; row < rows.count; ++row) {
                std::uint8_t* const place = rows.destinations[row] + x * bytesPerPixelWord;
                __builtin_memcpy(place, &pixel, sizeof pixel);
            }
        }
        return end;
    }

    __m128i PickFour(const std::uint8_t* source, const std::int32_t* starts) const {
        return arrange_(_mm_setr_epi32(PixelAt(source, starts[0]), PixelAt(source, starts[1]),
                                       PixelAt(source, starts[2]), PixelAt(source, starts[3])));
    }

    static int PixelAt(const std::uint8_t* source, std::int64_t x) {
        int pixel = 0;
        __builtin_memcpy(&pixel, source + x * bytesPerPixelWord, sizeof pixel);
        return pixel;
    }

    typename Simd::Arrangement arrange_;
};

inline constexpr std::int64_t longestShortBox = 4;

// The upper half of a sum's product with it is the sum's quotient by the width of a short box.
constexpr std::int64_t ShortBoxMultiplier(std::int64_t boxWidth) {
    return (0x10000 + boxWidth - 1) / boxWidth;
}

consteval bool ShortBoxMultipliersDivide() {
    for (std::int64_t width = 2; width <= longestShortBox; ++width) {
        for (std::int64_t sum = 0; sum <= 255 * width + width / 2; ++sum) {
            if (sum * ShortBoxMultiplier(width) / 0x10000 != sum / width) return false;
        }
    }
    return true;
}
static_assert(ShortBoxMultipliersDivide());

// Averages boxes of two to four pixels.
template <typename Simd>
class ShortBoxAverager {
  public:
    static constexpr std::int64_t longest = longestShortBox;

    explicit ShortBoxAverager(const RowAveraging& job)
        : arrange_(job.sourceOrder, job.order),
          inside_(_mm_cmplt_epi32(_mm_setr_epi32(0, 1, 2, 3),
                                  _mm_set1_epi32(static_cast<int>(job.boxWidth)))) {
        addend_ = _mm_set1_epi16(static_cast<std::int16_t>(job.rounded ? job.boxWidth / 2 : 0));
        multiplier_ = _mm_set1_epi16(static_cast<std::int16_t>(ShortBoxMultiplier(job.boxWidth)));
    }

    void Run(const RowAveraging& job) const {
        if (job.width == 0) return;
        const std::int32_t* const starts = job.starts;
        LineFetcher<NearReach> fetcher(RowsOf(job), job.rowCount, starts[0]);
        std::int64_t x = 0;
        // Starts ascend: the last of four boxes is the one that may lie too near the row's end.
        for (; x + pixelsAtOnce <= job.width; x += pixelsAtOnce) {
            if (starts[x + 3] + longest > job.sourceWidth) break;
            const StretchAhead<NearReach> ahead = fetcher.AheadOf(starts[x + 3]);
            for (int row = 0; row < job.rowCount; ++row) {
                ahead.Request(row);
                const std::uint8_t* const source = job.sources[row];
                const __m128i first = Means(source, starts[x], starts[x + 1]);
                const __m128i second = Means(source, starts[x + 2], starts[x + 3]);
                Simd::StoreAll(job.destinations[row] + x * bytesPerPixelWord,
                               arrange_(_mm_packus_epi16(first, second)));
            }
        }
        if (x < job.width) AverageRows(BoxesFrom(job, x));
    }

  private:
    static constexpr std::int64_t pixelsAtOnce = 4;

    // The channels of the boxes that start at two pixels, in 16 bits.
    __m128i Means(const std::uint8_t* source, std::int64_t first, std::int64_t second) const {
        const __m128i sums = Simd::SumTwoBoxes(Box(source, first), Box(source, second));
        return _mm_mulhi_epu16(_mm_add_epi16(sums, addend_), multiplier_);
    }

    __m128i Box(const std::uint8_t* source, std::int64_t start) const {
        return _mm_and_si128(Simd::LoadAll(source + start * bytesPerPixelWord), inside_);
    }

    typename Simd::Arrangement arrange_;
    __m128i inside_;
    __m128i addend_;
    __m128i multiplier_;
};

// `Pixels` takes boxes of one pixel, `ShortBoxes` averages those of two to four.
template <typename Simd, typename Pixels, typename ShortBoxes>
void AverageRowsInVectors(const RowAveraging& job) {
    if (job.sourceWidth < 1 || job.boxHeight < 1 || job.boxWidth > widestExactBox) {
        AverageRows(job);
    } else if (job.boxWidth == 1) {
        Pixels(job).Run(job);
    } else if (job.boxWidth <= ShortBoxes::longest) {
        ShortBoxes(job).Run(job);
    } else {
        RowAverager<Simd>(job).Run();
    }
}

}  // namespace
}  // namespace zvk::kernels
