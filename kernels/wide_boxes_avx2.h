// Boxes of one pixel and averages of boxes of two to four in thirty-two-byte vectors, eight boxes
// at a time.
//
// Exactness: as with fewer at a time.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "kernels/box_average_body.h"
#include "kernels/simd_avx2.h"

namespace zvk::kernels {
namespace {

class WidePixelPicker {
  public:
    explicit WidePixelPicker(const RowAveraging& job)
        : fewer_(job), arrange_(job.sourceOrder, job.order) {}

    void Run(const RowAveraging& job) const {
        const std::int64_t x = job.streams ? PickNear<true>(job) : PickNear<false>(job);
        fewer_.Run(BoxesFrom(job, x));
    }

  private:
    static constexpr std::int64_t pixelsAtOnce = 8;
    static constexpr std::int64_t pixelsPerLine = cacheLine / bytesPerPixelWord;
    static_assert(pixelsPerLine == 2 * pixelsAtOnce);

    // Eight boxes that lie within eight pixels of a row, as those of a row that is enlarged do.
    struct Near {
        std::int32_t base;  // the first of these pixels
        __m256i places;     // of the boxes, behind it
    };

    static bool AreNear(const RowAveraging& job, std::int64_t x) {
        const std::int32_t* const starts = job.starts + x;
        return starts[0] + pixelsAtOnce <= job.sourceWidth &&
               starts[pixelsAtOnce - 1] - starts[0] < pixelsAtOnce;
    }

    [[gnu::always_inline]] static Near NearAt(const RowAveraging& job, std::int64_t x) {
        const std::int32_t* const starts = job.starts + x;
        const __m256i places = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(starts));
        return {starts[0], _mm256_sub_epi32(places, _mm256_set1_epi32(starts[0]))};
    }

    [[gnu::always_inline]] __m256i Pick(const std::uint8_t* source, const Near& boxes) const {
        const __m256i pixels = Avx2::LoadAll(source + boxes.base * bytesPerPixelWord);
        return arrange_(_mm256_permutevar8x32_epi32(pixels, boxes.places));
    }

    // Takes boxes as long as they are near each other; returns the first one that is left. Lines go
    // back over pixels that have been written, the last one and, where they are streamed, the
    // second one; these come out the same.
    template <bool streams>
    [[gnu::always_inline]] std::int64_t PickNear(const RowAveraging& job) const {
        if (job.width < pixelsPerLine) return 0;
        std::int64_t x = 0;
        if constexpr (streams) {
            if (!PickLine<false>(job, 0)) return 0;
            x = BytesToMultiple<cacheLine>(job.destinations[0]) / bytesPerPixelWord;
        }
        for (; x + pixelsPerLine <= job.width; x += pixelsPerLine)
            if (!PickLine<streams>(job, x)) return x;
        return PickLine<false>(job, job.width - pixelsPerLine) ? job.width : x;
    }

    // A cache line of one row after the other: lines that are streamed in parts, in turn with
    // parts of others, take up to ten times as long. False if the boxes are not near each other.
    template <bool streams>
    [[gnu::always_inline]] bool PickLine(const RowAveraging& job, std::int64_t x) const {
        if (!AreNear(job, x) || !AreNear(job, x + pixelsAtOnce)) return false;
        const Near first = NearAt(job, x);
        const Near second = NearAt(job, x + pixelsAtOnce);
        __m256i pixels[2] = {};
        for (int row = 0; row < job.rowCount; ++row) {
            if (row == 0 || job.sources[row] != job.sources[row - 1]) {
                pixels[0] = Pick(job.sources[row], first);
                pixels[1] = Pick(job.sources[row], second);
            }
            std::uint8_t* const place = job.destinations[row] + x * bytesPerPixelWord;
            if constexpr (streams) {
                Avx2::Stream(place, pixels[0]);
                Avx2::Stream(place + Avx2::byteCount, pixels[1]);
            } else {
                Avx2::StoreAll(place, pixels[0]);
                Avx2::StoreAll(place + Avx2::byteCount, pixels[1]);
            }
        }
        return true;
    }

    PixelPicker<Sse41> fewer_;
    Avx2::Arrangement arrange_;
};

// What boxes of two to four pixels have in common.
class ShortBoxArithmetic {
  public:
    explicit ShortBoxArithmetic(const RowAveraging& job)
        : inside(InsideOf(job.boxWidth)),
          addend(job.rounded ? static_cast<std::int16_t>(job.boxWidth / 2) : std::int16_t{0}),
          addends(_mm256_set1_epi16(addend)),
          multipliers(
              _mm256_set1_epi16(static_cast<std::int16_t>(ShortBoxMultiplier(job.boxWidth)))) {}

    // For each channel of two boxes, the sums of their first and of their last two pixels.
    __m256i SumPairs(__m256i pixels) const {
        return _mm256_maddubs_epi16(
            _mm256_shuffle_epi8(pixels, _mm256_broadcastsi128_si256(ByChannel())), inside);
    }

    // Means of boxes given by their channels' sums, each half by itself.
    __m256i Divide(__m256i low, __m256i high) const {
        const auto quotients = [this](__m256i sums) {
            return _mm256_mulhi_epu16(_mm256_add_epi16(sums, addends), multipliers);
        };
        return _mm256_packus_epi16(quotients(low), quotients(high));
    }

    // The order of four pixels' bytes channel by channel.
    static __m128i ByChannel() {
        return _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    }

    // 1 for the pixels of a box and 0 for those behind it, channel after channel.
    const __m256i inside;
    const std::int16_t addend;
    const __m256i addends;
    const __m256i multipliers;

  private:
    static __m256i InsideOf(std::int64_t boxWidth) {
        const auto pixels = static_cast<std::uint32_t>(boxWidth);
        return _mm256_set1_epi32(static_cast<int>(0x01010101U >> (8U * (4U - pixels))));
    }
};

// Means of eight boxes of up to four pixels that begin four pixels apart.
class EvenFours {
  public:
    explicit EvenFours(const ShortBoxArithmetic& arithmetic) : arithmetic_(arithmetic) {}

    // Reads thirty-two pixels.
    __m256i MeansOf(const std::uint8_t* pixels) const {
        const auto pairs = [&](int vector) {
            return arithmetic_.SumPairs(Avx2::LoadAll(pixels + vector * Avx2::byteCount));
        };
        // A vector has one box in either half: the sums of two are those of every second box.
        return Avx2::InOrder(arithmetic_.Divide(_mm256_hadd_epi16(pairs(0), pairs(1)),
                                                _mm256_hadd_epi16(pairs(2), pairs(3))));
    }

  private:
    ShortBoxArithmetic arithmetic_;
};

// `Fours` gives the means of boxes that begin four pixels apart.
template <typename Fours>
class WideBoxAverager {
  public:
    static constexpr std::int64_t longest = ShortBoxAverager<Sse41>::longest;

    explicit WideBoxAverager(const RowAveraging& job)
        : fewer_(job),
          arrange_(job.sourceOrder, job.order),
          arithmetic_(job),
          fours_(arithmetic_),
          third_(_mm256_set1_epi16(job.boxWidth == 3 ? 1 : 0)) {}

    void Run(const RowAveraging& job) const {
        const std::int32_t* const starts = job.starts;
        LineFetcher<FarReach> fetcher(RowsOf(job), job.rowCount, starts[0]);
        std::int64_t x = 0;
        // Starts ascend: the last of eight boxes is the one that may lie too near the row's end.
        for (; x + boxesAtOnce <= job.width; x += boxesAtOnce) {
            const std::int32_t lastStart = starts[x + boxesAtOnce - 1];
            if (lastStart + longest > job.sourceWidth) break;
            AverageEight(job, x, fetcher.AheadOf(lastStart));
        }
        if (x < job.width) fewer_.Run(BoxesFrom(job, x));
    }

  private:
    static constexpr std::int64_t boxesAtOnce = 8;
    static constexpr std::int32_t uneven = -1;

    // Averages the eight boxes from the one at `x` on.
    void AverageEight(const RowAveraging& job, std::int64_t x,
                      const StretchAhead<FarReach>& ahead) const {
        const std::int32_t* const starts = job.starts + x;
        const std::int32_t step = StepOf(starts);
        // A loop for each kind, so that the rows do not ask for it.
        const auto writeRows = [&](auto meansOf) {
            for (int row = 0; row < job.rowCount; ++row) {
                ahead.Request(row);
                const std::uint8_t* const first = job.sources[row] + starts[0] * bytesPerPixelWord;
                Avx2::StoreAll(job.destinations[row] + x * bytesPerPixelWord,
                               arrange_(meansOf(first)));
            }
        };
        if (step == 4) {
            writeRows([this](const std::uint8_t* first) { return fours_.MeansOf(first); });
        } else if (step == 2 && job.boxWidth <= 3) {
            writeRows([this](const std::uint8_t* first) {
                return InWords(SumByTwos(first), SumByTwos(first + Avx2::byteCount));
            });
        } else if (step != uneven) {
            const std::int64_t size = step * bytesPerPixelWord;
            writeRows([this, size](const std::uint8_t* first) {
                return MeansAt([=](int box) { return first + box * size; });
            });
        } else {
            writeRows([this, starts](const std::uint8_t* first) {
                return MeansAt(
                    [=](int box) { return first + (starts[box] - starts[0]) * bytesPerPixelWord; });
            });
        }
    }

    // How far apart the boxes begin, if they all do so alike.
    static std::int32_t StepOf(const std::int32_t* starts) {
        const std::int32_t step = starts[1] - starts[0];
        return AreEvenlySpaced(starts, step) ? step : uneven;
    }

    static bool AreEvenlySpaced(const std::int32_t* starts, std::int32_t step) {
        const __m256i all = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(starts));
        const __m256i places = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        const __m256i even = _mm256_add_epi32(_mm256_set1_epi32(starts[0]),
                                              _mm256_mullo_epi32(places, _mm256_set1_epi32(step)));
        return _mm256_movemask_epi8(_mm256_cmpeq_epi32(all, even)) == -1;
    }

    // Means of eight boxes of up to four pixels wherever they are.
    template <typename PlaceOf>
    __m256i MeansAt(PlaceOf placeOf) const {
        return InWords(SumFours(placeOf, 0), SumFours(placeOf, 4));
    }

    // Means of twice four boxes, given by their channels' sums in words.
    __m256i InWords(__m256i low, __m256i high) const {
        return _mm256_permute4x64_epi64(arithmetic_.Divide(low, high), _MM_SHUFFLE(3, 1, 2, 0));
    }

    // The channels' sums of four boxes of two or three pixels, each of which begins two pixels
    // behind the one before it. It reads ten pixels.
    __m256i SumByTwos(const std::uint8_t* pixels) const {
        return _mm256_add_epi16(SumTwos(Avx2::LoadAll(pixels), _mm256_set1_epi8(1)),
                                SumTwos(Avx2::LoadAll(pixels + 2 * bytesPerPixelWord), third_));
    }

    // For each channel, the weighted sums of two pixels.
    static __m256i SumTwos(__m256i pixels, __m256i weights) {
        const __m256i byChannel = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
        return _mm256_maddubs_epi16(_mm256_shuffle_epi8(pixels, byChannel), weights);
    }

    // The channels' sums of four boxes of up to four pixels.
    template <typename PlaceOf>
    __m256i SumFours(PlaceOf placeOf, int box) const {
        return _mm256_hadd_epi16(SumPairs(placeOf(box), placeOf(box + 2)),
                                 SumPairs(placeOf(box + 1), placeOf(box + 3)));
    }

    __m256i SumPairs(const std::uint8_t* first, const std::uint8_t* second) const {
        return arithmetic_.SumPairs(_mm256_set_m128i(Sse2::LoadAll(second), Sse2::LoadAll(first)));
    }

    ShortBoxAverager<Sse41> fewer_;
    Avx2::Arrangement arrange_;
    ShortBoxArithmetic arithmetic_;
    Fours fours_;
    // The weights of a box's third pixel and of the one behind it.
    __m256i third_;
};

}  // namespace
}  // namespace zvk::kernels
