// Sums of a row's channels times fixed-point weights in sixty-four-byte vectors, four source pixels
// of two rows at a time.
#pragma once

#include <cstdint>

#include "kernels/simd_avx512.h"
#include "kernels/taps_avx2.h"

namespace zvk::kernels {
namespace {

struct Avx512Taps {
    using DoublePixel = DoublePixelAvx2;
    static constexpr int rowCount = 4;
    static constexpr std::int32_t tapsAtOnce = 4;

    // The four channels of one pixel in each of four rows.
    struct Totals {
        __m512i rows;

        Totals operator+(std::int32_t number) const {
            return {_mm512_add_epi32(rows, _mm512_set1_epi32(number))};
        }
        Totals operator+(const Totals& other) const { return {_mm512_add_epi32(rows, other.rows)}; }
        Totals operator>>(std::int32_t count) const {
            return {_mm512_sra_epi32(rows, _mm_cvtsi32_si128(count))};
        }

        // Whether any colour channel differs in the bits from `shift` on.
        bool DiffersAbove(std::int32_t shift, const Totals& other, __m128i colours) const {
            const __m512i high =
                _mm512_srl_epi32(_mm512_xor_si512(rows, other.rows), _mm_cvtsi32_si128(shift));
            return _mm512_test_epi32_mask(high, _mm512_broadcast_i32x4(colours)) != 0;
        }

        // Clamped to bytes, row after row.
        __m128i ToBytes() const {
            return _mm512_cvtusepi32_epi8(_mm512_max_epi32(rows, _mm512_setzero_si512()));
        }
    };

    // A running sum over taps, two rows to a vector and each row's in two halves.
    struct Sums {
        __m512i rows[2] = {_mm512_setzero_si512(), _mm512_setzero_si512()};

        void Add(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                 const std::int16_t* weights) {
            const __m512i factors = _mm512_broadcast_i64x4(LoadTapWeights(weights));
            const __m512i pattern = _mm512_broadcast_i64x4(TapPattern());
            for (int pair = 0; pair < 2; ++pair) {
                const __m512i first =
                    _mm512_broadcast_i32x4(Sse2::LoadAll(sources[2 * pair] + offset));
                const __m512i both = _mm512_mask_broadcast_i32x4(
                    first, 0xFF00, Sse2::LoadAll(sources[2 * pair + 1] + offset));
                rows[pair] = _mm512_add_epi32(
                    rows[pair], _mm512_madd_epi16(_mm512_shuffle_epi8(both, pattern), factors));
            }
        }

        Totals Reduce() const {
            return {_mm512_add_epi32(_mm512_shuffle_i64x2(rows[0], rows[1], 0x88),
                                     _mm512_shuffle_i64x2(rows[0], rows[1], 0xDD))};
        }
    };
};

}  // namespace
}  // namespace zvk::kernels
