// Four numbers in double precision, in two sixteen-byte vectors.
#pragma once

#include <emmintrin.h>

namespace zvk::kernels {
namespace {

struct FourDoublesSse2 {
    __m128d low = _mm_setzero_pd();
    __m128d high = _mm_setzero_pd();

    static FourDoublesSse2 Broadcast(double number) {
        const __m128d both = _mm_set1_pd(number);
        return {both, both};
    }
    static FourDoublesSse2 FromNumbers(double first, double second, double third, double fourth) {
        return {_mm_setr_pd(first, second), _mm_setr_pd(third, fourth)};
    }
    static FourDoublesSse2 FromIntegers(__m128i numbers) {
        return {_mm_cvtepi32_pd(numbers), _mm_cvtepi32_pd(_mm_srli_si128(numbers, 8))};
    }
    static FourDoublesSse2 FromFloats(__m128 numbers) {
        return {_mm_cvtps_pd(numbers), _mm_cvtps_pd(_mm_movehl_ps(numbers, numbers))};
    }

    FourDoublesSse2 operator+(const FourDoublesSse2& other) const {
        return {_mm_add_pd(low, other.low), _mm_add_pd(high, other.high)};
    }
    // A product that is exact, and the sum.
    FourDoublesSse2 PlusExact(const FourDoublesSse2& numbers, double weight) const {
        const __m128d factor = _mm_set1_pd(weight);
        return {_mm_add_pd(low, _mm_mul_pd(numbers.low, factor)),
                _mm_add_pd(high, _mm_mul_pd(numbers.high, factor))};
    }
    FourDoublesSse2 Plus(double number) const {
        const __m128d both = _mm_set1_pd(number);
        return {_mm_add_pd(low, both), _mm_add_pd(high, both)};
    }
    FourDoublesSse2 Minus(const FourDoublesSse2& other) const {
        return {_mm_sub_pd(low, other.low), _mm_sub_pd(high, other.high)};
    }
    FourDoublesSse2 Times(const FourDoublesSse2& other) const {
        return {_mm_mul_pd(low, other.low), _mm_mul_pd(high, other.high)};
    }
    // The numbers that are above 0, and 0 for others, and for what is not a number.
    FourDoublesSse2 WherePositive() const {
        const __m128d zero = _mm_setzero_pd();
        return {_mm_and_pd(low, _mm_cmpgt_pd(low, zero)),
                _mm_and_pd(high, _mm_cmpgt_pd(high, zero))};
    }
    FourDoublesSse2 Times(double number) const {
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
        const FourDoublesSse2 mean{_mm_div_pd(low, divisor), _mm_div_pd(high, divisor)};
        return mean.Plus(0.5).Truncated();
    }
};

}  // namespace
}  // namespace zvk::kernels
