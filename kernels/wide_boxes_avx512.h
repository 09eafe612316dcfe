// Averages of boxes of two to four pixels that begin four pixels apart, with the byte products of
// AVX-512 VNNI.
//
// Exactness: as without them.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "kernels/wide_boxes_avx2.h"

namespace zvk::kernels {
namespace {

class WidestEvenFours {
  public:
    explicit WidestEvenFours(const ShortBoxArithmetic& arithmetic)
        : inside_(_mm512_broadcast_i64x4(arithmetic.inside)),
          addends_(_mm512_set1_epi32(arithmetic.addend)),
          multipliers_(_mm512_broadcast_i64x4(arithmetic.multipliers)) {}

    // Reads thirty-two pixels.
    __m256i MeansOf(const std::uint8_t* pixels) const {
        const __m512i sums = _mm512_packus_epi32(Sum(pixels), Sum(pixels + vectorSize));
        const __m256i byTurns = _mm512_cvtepi16_epi8(_mm512_mulhi_epu16(sums, multipliers_));
        // A vector has four boxes: packed, those of the two take turns.
        return _mm256_permutevar8x32_epi32(byTurns, _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7));
    }

  private:
    static constexpr std::int64_t vectorSize = 64;

    // The channels' sums of four boxes, and what is added to them.
    __m512i Sum(const std::uint8_t* pixels) const {
        const __m512i byChannel = _mm512_broadcast_i32x4(ShortBoxArithmetic::ByChannel());
        return _mm512_dpbusd_epi32(
            addends_, _mm512_shuffle_epi8(_mm512_loadu_si512(pixels), byChannel), inside_);
    }

    __m512i inside_;
    __m512i addends_;
    __m512i multipliers_;
};

}  // namespace
}  // namespace zvk::kernels
