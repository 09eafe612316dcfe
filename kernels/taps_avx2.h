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

// Four taps of a row as words: the channels of the first two in the lower half, those of the other
// two in the upper half, channel beside channel.
inline __m256i TapPattern() {
    return _mm256_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1,  //
                            8, -1, 12, -1, 9, -1, 13, -1, 10, -1, 14, -1, 11, -1, 15, -1);
}

// The weights of four taps, laid out like the taps.
inline __m256i LoadTapWeights(const std::int16_t* weights) {
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

    // The sums over a list's taps, a multiple of four.
    static Totals SumProducts(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                              const std::int16_t* weights, std::int32_t count) {
        // Each row's sums in two halves.
        __m256i rows[rowCount] = {_mm256_setzero_si256(), _mm256_setzero_si256(),
                                  _mm256_setzero_si256(), _mm256_setzero_si256()};
        for (std::int32_t tap = 0; tap < count; tap += tapsAtOnce) {
            const __m256i factors = LoadTapWeights(weights + tap);
            for (int row = 0; row < rowCount; ++row) {
                const __m256i taps = _mm256_shuffle_epi8(
                    _mm256_broadcastsi128_si256(Sse2::LoadAll(sources[row] + offset)),
                    TapPattern());
                rows[row] = _mm256_add_epi32(rows[row], _mm256_madd_epi16(taps, factors));
            }
            offset += tapsAtOnce * bytesPerPixelWord;
        }
        return {SumHalves(rows[0], rows[1]), SumHalves(rows[2], rows[3])};
    }

    static __m256i SumHalves(__m256i first, __m256i second) {
        return _mm256_add_epi32(_mm256_permute2x128_si256(first, second, 0x20),
                                _mm256_permute2x128_si256(first, second, 0x31));
    }

  private:
    static constexpr std::int32_t tapsAtOnce = 4;
};

}  // namespace
}  // namespace zvk::kernels
