// Sums of a row's channels times fixed-point weights in thirty-two-byte vectors, four source pixels
// at a time, and in double precision.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "kernels/simd_avx2.h"

namespace zvk::kernels {
namespace {

// The four channels of one pixel in double precision.
struct DoublePixelAvx2 {
    __m256d channels = _mm256_setzero_pd();

    static DoublePixelAvx2 FromIntegers(__m128i integers) { return {_mm256_cvtepi32_pd(integers)}; }
    static DoublePixelAvx2 FromFloats(__m128 floats) { return {_mm256_cvtps_pd(floats)}; }
    static DoublePixelAvx2 FromBytes(const std::uint8_t* pixel) {
        return FromIntegers(Sse41::LoadIntegers(pixel));
    }

    DoublePixelAvx2 operator+(const DoublePixelAvx2& other) const {
        return {_mm256_add_pd(channels, other.channels)};
    }
    // A product that is exact, and the sum; what is exact may be fused.
    DoublePixelAvx2 PlusExact(const DoublePixelAvx2& factor, double weight) const {
        return {_mm256_fmadd_pd(factor.channels, _mm256_set1_pd(weight), channels)};
    }
    DoublePixelAvx2 Plus(double number) const {
        return {_mm256_add_pd(channels, _mm256_set1_pd(number))};
    }
    DoublePixelAvx2 Times(double number) const {
        return {_mm256_mul_pd(channels, _mm256_set1_pd(number))};
    }
    // The most negative integer for what is out of range or not a number.
    __m128i Truncated() const { return _mm256_cvttpd_epi32(channels); }
    // The mean of what was summed up, rounded half up.
    __m128i Mean(double weightSum) const {
        const DoublePixelAvx2 mean{_mm256_div_pd(channels, _mm256_set1_pd(weightSum))};
        return mean.Plus(0.5).Truncated();
    }
};

// Pairs of taps as words, channel beside channel: of each half's first two pixels, or of its last.
inline __m256i FirstPairs() {
    return _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1));
}
inline __m256i LastPairs() {
    return _mm256_broadcastsi128_si256(
        _mm_setr_epi8(8, -1, 12, -1, 9, -1, 13, -1, 10, -1, 14, -1, 11, -1, 15, -1));
}

// The weights of two taps, once for every channel.
inline __m256i LoadPairWeights(const std::int16_t* weights) {
    int pair = 0;
    __builtin_memcpy(&pair, weights, sizeof pair);
    return _mm256_set1_epi32(pair);
}

// The weights of four taps, those of the first two in the lower half.
inline __m256i LoadFourWeights(const std::int16_t* weights) {
    long long all = 0;
    __builtin_memcpy(&all, weights, sizeof all);
    return _mm256_shuffle_epi8(_mm256_set1_epi64x(all),
                               _mm256_setr_epi32(0x03020100, 0x03020100, 0x03020100, 0x03020100,
                                                 0x07060504, 0x07060504, 0x07060504, 0x07060504));
}

struct Avx2Taps {
    using DoublePixel = DoublePixelAvx2;
    static constexpr int rowCount = 4;

    // The four channels of one pixel in each of four rows: rows 0 and 1, rows 2 and 3.
    struct Totals {
        __m256i upper;
        __m256i lower;

        Totals operator+(std::int32_t number) const {
            const __m256i addend = _mm256_set1_epi32(number);
            return {_mm256_add_epi32(upper, addend), _mm256_add_epi32(lower, addend)};
        }
        Totals operator+(const Totals& other) const {
            return {_mm256_add_epi32(upper, other.upper), _mm256_add_epi32(lower, other.lower)};
        }
        Totals operator>>(std::int32_t count) const {
            const __m128i shift = _mm_cvtsi32_si128(count);
            return {_mm256_sra_epi32(upper, shift), _mm256_sra_epi32(lower, shift)};
        }

        // Whether any colour channel differs in the bits from `shift` on.
        bool DiffersAbove(std::int32_t shift, const Totals& other, __m128i colours) const {
            const __m256i bits = _mm256_or_si256(_mm256_xor_si256(upper, other.upper),
                                                 _mm256_xor_si256(lower, other.lower));
            const __m256i high = _mm256_srl_epi32(bits, _mm_cvtsi32_si128(shift));
            return _mm256_testz_si256(high, _mm256_broadcastsi128_si256(colours)) == 0;
        }

        // Clamped to bytes, row after row.
        __m128i ToBytes() const {
            const __m256i words = _mm256_packs_epi32(upper, lower);
            const __m256i bytes = _mm256_packus_epi16(words, words);
            return _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes),
                                      _mm256_extracti128_si256(bytes, 1));
        }
    };

    // The sums over the taps of a list, a multiple of two, and of a short one.
    [[gnu::always_inline]] static Totals SumProducts(const std::uint8_t* const (&sources)[rowCount],
                                                     std::int64_t offset,
                                                     const std::int16_t* weights,
                                                     std::int32_t count) {
        if (count < longList) return SumFew(sources, offset, weights, count);
        const std::int32_t whole = count / tapsAtOnce * tapsAtOnce;
        const Totals sums = SumByRow(sources, offset, weights, whole);
        if (whole == count) return sums;
        return sums + SumTwo(sources, offset + whole * bytesPerPixelWord, weights + whole);
    }
    [[gnu::always_inline]] static Totals SumFew(const std::uint8_t* const (&sources)[rowCount],
                                                std::int64_t offset, const std::int16_t* weights,
                                                std::int32_t count) {
        Totals sums = {_mm256_setzero_si256(), _mm256_setzero_si256()};
        for (; count >= tapsAtOnce; count -= tapsAtOnce) {
            sums = sums + SumFour(sources, offset, weights);
            weights += tapsAtOnce;
            offset += tapsAtOnce * bytesPerPixelWord;
        }
        return count > 0 ? sums + SumTwo(sources, offset, weights) : sums;
    }

    // From sums of two rows in halves to both rows' sums.
    static __m256i SumHalves(__m256i first, __m256i second) {
        return _mm256_add_epi32(_mm256_permute2x128_si256(first, second, 0x20),
                                _mm256_permute2x128_si256(first, second, 0x31));
    }

  private:
    static constexpr std::int32_t tapsAtOnce = 4;
    // Lists from here on are summed up row by row; the halves that this leaves cost a little.
    static constexpr std::int32_t longList = 8;

    // The first two taps of each row in its lower half, the last two in the upper half.
    static Totals SumByRow(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                           const std::int16_t* weights, std::int32_t count) {
        const __m256i pairs = _mm256_blend_epi32(FirstPairs(), LastPairs(), 0xF0);
        __m256i rows[rowCount] = {_mm256_setzero_si256(), _mm256_setzero_si256(),
                                  _mm256_setzero_si256(), _mm256_setzero_si256()};
        for (std::int32_t tap = 0; tap < count; tap += tapsAtOnce) {
            const __m256i factors = LoadFourWeights(weights + tap);
            for (int row = 0; row < rowCount; ++row) {
                const __m256i taps = _mm256_shuffle_epi8(
                    _mm256_broadcastsi128_si256(Sse2::LoadAll(sources[row] + offset)), pairs);
                rows[row] = _mm256_add_epi32(rows[row], _mm256_madd_epi16(taps, factors));
            }
            offset += tapsAtOnce * bytesPerPixelWord;
        }
        return {SumHalves(rows[0], rows[1]), SumHalves(rows[2], rows[3])};
    }

    // Four taps of two rows in a vector.
    static Totals SumFour(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                          const std::int16_t* weights) {
        const __m256i first = LoadPairWeights(weights);
        const __m256i last = LoadPairWeights(weights + 2);
        const auto sumOf = [&](const std::uint8_t* upper, const std::uint8_t* lower) {
            const __m256i pixels =
                _mm256_set_m128i(Sse2::LoadAll(lower + offset), Sse2::LoadAll(upper + offset));
            return _mm256_add_epi32(
                _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, FirstPairs()), first),
                _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, LastPairs()), last));
        };
        return {sumOf(sources[0], sources[1]), sumOf(sources[2], sources[3])};
    }

    // Two taps of two rows in a vector.
    static Totals SumTwo(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                         const std::int16_t* weights) {
        const __m256i pair = LoadPairWeights(weights);
        const auto sumOf = [&](const std::uint8_t* upper, const std::uint8_t* lower) {
            const __m256i pixels =
                _mm256_set_m128i(_mm_loadu_si64(lower + offset), _mm_loadu_si64(upper + offset));
            return _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, FirstPairs()), pair);
        };
        return {sumOf(sources[0], sources[1]), sumOf(sources[2], sources[3])};
    }
};

}  // namespace
}  // namespace zvk::kernels
