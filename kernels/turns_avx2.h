// Pixels of several vectors taking turns, with AVX2.
#pragma once

#include <immintrin.h>

namespace zvk::kernels {
namespace {

// Of two to four vectors, the first pixels one behind the other, then the second ones and so on.
// Instructions that move pixels between a vector's halves take longest, so that each half is put in
// order by itself.
struct WideTurns {
    static void Take(const __m256i (&steps)[2], __m256i (&pixels)[2]) {
        const __m256i first = _mm256_unpacklo_epi32(steps[0], steps[1]);
        const __m256i last = _mm256_unpackhi_epi32(steps[0], steps[1]);
        pixels[0] = LowHalves(first, last);
        pixels[1] = HighHalves(first, last);
    }

    static void Take(const __m256i (&steps)[3], __m256i (&pixels)[3]) {
        // With a, b and c for the steps: a0 b0 c0 a1, b1 c1 a2 b2, c2 a3 b3 c3.
        const __m256i evenOfLast = Choose<0, 2, 1, 3>(steps[2], steps[0]);
        const __m256i first =
            Choose<0, 1, 0, 2>(_mm256_unpacklo_epi32(steps[0], steps[1]), evenOfLast);
        const __m256i second = Choose<2, 3, 0, 1>(_mm256_unpacklo_epi32(steps[1], steps[2]),
                                                  _mm256_unpackhi_epi32(steps[0], steps[1]));
        const __m256i third =
            Choose<1, 3, 2, 3>(evenOfLast, _mm256_unpackhi_epi32(steps[1], steps[2]));
        pixels[0] = LowHalves(first, second);
        pixels[1] = _mm256_blend_epi32(third, first, 0xF0);
        pixels[2] = HighHalves(second, third);
    }

    static void Take(const __m256i (&steps)[4], __m256i (&pixels)[4]) {
        const __m256i firstLeft = _mm256_unpacklo_epi32(steps[0], steps[1]);
        const __m256i firstRight = _mm256_unpacklo_epi32(steps[2], steps[3]);
        const __m256i lastLeft = _mm256_unpackhi_epi32(steps[0], steps[1]);
        const __m256i lastRight = _mm256_unpackhi_epi32(steps[2], steps[3]);
        const __m256i first = _mm256_unpacklo_epi64(firstLeft, firstRight);
        const __m256i second = _mm256_unpackhi_epi64(firstLeft, firstRight);
        const __m256i third = _mm256_unpacklo_epi64(lastLeft, lastRight);
        const __m256i fourth = _mm256_unpackhi_epi64(lastLeft, lastRight);
        pixels[0] = LowHalves(first, second);
        pixels[1] = LowHalves(third, fourth);
        pixels[2] = HighHalves(first, second);
        pixels[3] = HighHalves(third, fourth);
    }

  private:
    // In each half, two pixels of the one vector and two of the other.
    template <int first, int second, int third, int fourth>
    static __m256i Choose(__m256i left, __m256i right) {
        return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(left),
                                                     _mm256_castsi256_ps(right),
                                                     _MM_SHUFFLE(fourth, third, second, first)));
    }
    static __m256i LowHalves(__m256i left, __m256i right) {
        return _mm256_permute2x128_si256(left, right, 0x20);
    }
    static __m256i HighHalves(__m256i left, __m256i right) {
        return _mm256_permute2x128_si256(left, right, 0x31);
    }
};

}  // namespace
}  // namespace zvk::kernels
