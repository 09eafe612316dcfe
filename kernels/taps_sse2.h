// Sums of a row's channels times fixed-point weights in sixteen-byte vectors, two source pixels at
// a time, and in double precision.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// The four channels of one pixel in double precision.
struct DoublePixelSse2 {
    __m128d low = _mm_setzero_pd();
    __m128d high = _mm_setzero_pd();

    static DoublePixelSse2 FromIntegers(__m128i channels) {
        return {_mm_cvtepi32_pd(channels), _mm_cvtepi32_pd(_mm_srli_si128(channels, 8))};
    }
    static DoublePixelSse2 FromFloats(__m128 channels) {
        return {_mm_cvtps_pd(channels), _mm_cvtps_pd(_mm_movehl_ps(channels, channels))};
    }
    static DoublePixelSse2 FromBytes(const std::uint8_t* pixel) {
        return FromIntegers(Sse2::LoadIntegers(pixel));
    }

    DoublePixelSse2 operator+(const DoublePixelSse2& other) const {
        return {_mm_add_pd(low, other.low), _mm_add_pd(high, other.high)};
    }
    // A product that is exact, and the sum.
    DoublePixelSse2 PlusExact(const DoublePixelSse2& channels, double weight) const {
        const __m128d factor = _mm_set1_pd(weight);
        return {_mm_add_pd(low, _mm_mul_pd(channels.low, factor)),
                _mm_add_pd(high, _mm_mul_pd(channels.high, factor))};
    }
    DoublePixelSse2 Plus(double number) const {
        const __m128d both = _mm_set1_pd(number);
        return {_mm_add_pd(low, both), _mm_add_pd(high, both)};
    }
    DoublePixelSse2 Times(double number) const {
        const __m128d both = _mm_set1_pd(number);
        return {_mm_mul_pd(low, both), _mm_mul_pd(high, both)};
    }
    // The most negative integer for what is out of range or not a number.
    __m128i Truncated() const {
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
    }
    // The mean of what was summed up, rounded half up.
    __m128i Mean(double weightSum) const {
        const __m128d divisor = _mm_set1_pd(weightSum);
        const DoublePixelSse2 mean{_mm_div_pd(low, divisor), _mm_div_pd(high, divisor)};
        return mean.Plus(0.5).Truncated();
    }
};

struct Sse2Taps {
    using DoublePixel = DoublePixelSse2;
    static constexpr int rowCount = 4;

    // The four channels of one pixel in each of four rows.
    struct Totals {
        __m128i rows[rowCount];

        Totals operator+(std::int32_t number) const {
            const __m128i addend = _mm_set1_epi32(number);
            return ForEach([addend](__m128i row) { return _mm_add_epi32(row, addend); });
        }
        Totals operator+(const Totals& other) const {
            Totals sums;
            for (int row = 0; row < rowCount; ++row)
                sums.rows[row] = _mm_add_epi32(rows[row], other.rows[row]);
            return sums;
        }
        Totals operator>>(std::int32_t count) const {
            const __m128i shift = _mm_cvtsi32_si128(count);
            return ForEach([shift](__m128i row) { return _mm_sra_epi32(row, shift); });
        }

        // Whether any colour channel differs in the bits from `shift` on.
        bool DiffersAbove(std::int32_t shift, const Totals& other, __m128i colours) const {
            __m128i bits = _mm_setzero_si128();
            for (int row = 0; row < rowCount; ++row)
                bits = _mm_or_si128(bits, _mm_xor_si128(rows[row], other.rows[row]));
            const __m128i high = _mm_srl_epi32(bits, _mm_cvtsi32_si128(shift));
            const __m128i same = _mm_cmpeq_epi32(_mm_and_si128(high, colours), _mm_setzero_si128());
            return _mm_movemask_epi8(same) != 0xFFFF;
        }

        // Clamped to bytes, row after row.
        __m128i ToBytes() const {
            return _mm_packus_epi16(_mm_packs_epi32(rows[0], rows[1]),
                                    _mm_packs_epi32(rows[2], rows[3]));
        }

        template <typename Change>
        Totals ForEach(Change change) const {
            Totals changed;
            for (int row = 0; row < rowCount; ++row)
                changed.rows[row] = change(rows[row]);
            return changed;
        }
    };

    // The sums over a list's taps, a multiple of two.
    static Totals SumProducts(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                              const std::int16_t* weights, std::int32_t count) {
        return SumPairs(sources, offset, weights, count, [](__m128i both) {
            const __m128i words = _mm_unpacklo_epi8(both, _mm_setzero_si128());
            return _mm_unpacklo_epi16(words, _mm_srli_si128(words, 8));
        });
    }

    static Totals SumFew(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                         const std::int16_t* weights, std::int32_t count) {
        return SumProducts(sources, offset, weights, count);
    }

    // The same, where `widen` makes words of two pixels, channel beside channel.
    template <typename Widen>
    static Totals SumPairs(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                           const std::int16_t* weights, std::int32_t count, Widen widen) {
        Totals sums = {
            {_mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128()}};
        for (std::int32_t tap = 0; tap < count; tap += tapsAtOnce) {
            const __m128i pair = LoadPair(weights + tap);
            for (int row = 0; row < rowCount; ++row) {
                const __m128i both =
                    _mm_loadl_epi64(reinterpret_cast<const __m128i*>(sources[row] + offset));
                sums.rows[row] = _mm_add_epi32(sums.rows[row], _mm_madd_epi16(widen(both), pair));
            }
            offset += tapsAtOnce * bytesPerPixelWord;
        }
        return sums;
    }

    static __m128i LoadPair(const std::int16_t* weights) {
        int pair = 0;
        __builtin_memcpy(&pair, weights, sizeof pair);
        return _mm_set1_epi32(pair);
    }

  private:
    static constexpr std::int32_t tapsAtOnce = 2;
};

}  // namespace
}  // namespace zvk::kernels
