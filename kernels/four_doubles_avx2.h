// Four numbers in double precision, in one thirty-two-byte vector.
#pragma once

#include <immintrin.h>

namespace zvk::kernels {
namespace {

struct FourDoublesAvx2 {
    __m256d numbers = _mm256_setzero_pd();

    static FourDoublesAvx2 Broadcast(double number) { return {_mm256_set1_pd(number)}; }
    static FourDoublesAvx2 FromNumbers(double first, double second, double third, double fourth) {
        return {_mm256_setr_pd(first, second, third, fourth)};
    }
    static FourDoublesAvx2 FromIntegers(__m128i integers) { return {_mm256_cvtepi32_pd(integers)}; }
    static FourDoublesAvx2 FromFloats(__m128 floats) { return {_mm256_cvtps_pd(floats)}; }

    FourDoublesAvx2 operator+(const FourDoublesAvx2& other) const {
        return {_mm256_add_pd(numbers, other.numbers)};
    }
    // A product that is exact, and the sum; what is exact may be fused.
    FourDoublesAvx2 PlusExact(const FourDoublesAvx2& factor, double weight) const {
        return {_mm256_fmadd_pd(factor.numbers, _mm256_set1_pd(weight), numbers)};
    }
    FourDoublesAvx2 Plus(double number) const {
        return {_mm256_add_pd(numbers, _mm256_set1_pd(number))};
    }
    FourDoublesAvx2 Minus(const FourDoublesAvx2& other) const {
        return {_mm256_sub_pd(numbers, other.numbers)};
    }
    FourDoublesAvx2 Times(const FourDoublesAvx2& other) const {
        return {_mm256_mul_pd(numbers, other.numbers)};
    }
    // The numbers that are above 0, and 0 for others, and for what is not a number.
    FourDoublesAvx2 WherePositive() const {
        const __m256d isPositive = _mm256_cmp_pd(numbers, _mm256_setzero_pd(), _CMP_GT_OQ);
        return {_mm256_and_pd(numbers, isPositive)};
    }
    FourDoublesAvx2 Times(double number) const {
        return {_mm256_mul_pd(numbers, _mm256_set1_pd(number))};
    }
    // The most negative integer for what is out of range or not a number.
    __m128i Truncated() const { return _mm256_cvttpd_epi32(numbers); }
    // The mean of what was summed up, rounded half up.
    __m128i Mean(double weightSum) const {
        const FourDoublesAvx2 mean{_mm256_div_pd(numbers, _mm256_set1_pd(weightSum))};
        return mean.Plus(0.5).Truncated();
    }
};

}  // namespace
}  // namespace zvk::kernels
