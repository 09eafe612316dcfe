// Sixteen numbers of 16 bits in one thirty-two-byte vector.
#pragma once

#include "kernels/blur_blocks.h"
#include "kernels/drawing_weights.h"
#include "kernels/simd_avx2.h"

namespace zvk::kernels {
namespace {

struct WideWords {
    __m256i words;

    // Eight pixels, and their bytes at even and at odd places as words.
    using Pixels = __m256i;
    using PixelArrangement = Avx2::Arrangement;
    using PartedArrangement = Avx2::PartedArrangement;
    using PartedRestoration = Avx2::PartedRestoration;
    static constexpr std::int64_t pixelCount = 8;

    static Pixels LoadPixels(const std::uint8_t* pixels) { return Avx2::LoadAll(pixels); }
    static void StorePixels(std::uint8_t* target, Pixels pixels) { Avx2::StoreAll(target, pixels); }
    static WideWords EvenBytes(Pixels pixels) {
        return {_mm256_and_si256(pixels, _mm256_set1_epi16(255))};
    }
    static WideWords OddBytes(Pixels pixels) { return {_mm256_srli_epi16(pixels, 8)}; }
    // Clamps both to bytes and puts them together again.
    template <typename Arrange>
    static Pixels Unite(WideWords even, WideWords odd, const Arrange& arrange) {
        return arrange(Pack(even, odd));
    }

    // Each pixel one place on or back; what comes in is 0.
    static Pixels MovedOn(Pixels pixels) {
        const __m256i lowerHalfAbove = _mm256_permute2x128_si256(pixels, pixels, 0x08);
        return _mm256_alignr_epi8(pixels, lowerHalfAbove, 12);
    }
    static Pixels MovedBack(Pixels pixels) {
        const __m256i upperHalfBelow = _mm256_permute2x128_si256(pixels, pixels, 0x81);
        return _mm256_alignr_epi8(upperHalfBelow, pixels, 4);
    }
    // These words, but other ones in the first or in the last pixel.
    WideWords WithFirst(WideWords other) const {
        return {_mm256_blend_epi32(words, other.words, 0x01)};
    }
    WideWords WithLast(WideWords other) const {
        return {_mm256_blend_epi32(words, other.words, 0x80)};
    }

    // Clamps two sets to bytes: the first halves of both in the lower half, then the others.
    static Pixels Pack(WideWords first, WideWords second) {
        return _mm256_packus_epi16(first.words, second.words);
    }
    // Of each half of both, every second pixel.
    template <int first>
    static Pixels EverySecond(Pixels left, Pixels right) {
        constexpr int places = _MM_SHUFFLE(2 + first, first, 2 + first, first);
        return _mm256_castps_si256(
            _mm256_shuffle_ps(_mm256_castsi256_ps(left), _mm256_castsi256_ps(right), places));
    }
    static __m128i Lower(Pixels pixels) { return _mm256_castsi256_si128(pixels); }
    static __m128i Upper(Pixels pixels) { return _mm256_extracti128_si256(pixels, 1); }

    static WideWords Load(const std::uint16_t* words) {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(words))};
    }
    void Store(std::uint16_t* target) const {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), words);
    }
    static WideWords FromBytes(__m128i bytes) { return {_mm256_cvtepu8_epi16(bytes)}; }

    WideWords operator+(WideWords other) const { return {_mm256_add_epi16(words, other.words)}; }
    WideWords operator-(WideWords other) const { return {_mm256_sub_epi16(words, other.words)}; }
    WideWords Times(std::int32_t factor) const {
        return {_mm256_mullo_epi16(words, _mm256_set1_epi16(static_cast<std::int16_t>(factor)))};
    }

    // Multiplies by a scaled weight.
    template <bool mayBeOne>
    class Scaler {
      public:
        explicit Scaler(const ScaledWeight& weight)
            : multiplier_(_mm256_set1_epi16(static_cast<std::int16_t>(weight.multiplier))),
              one_(_mm256_set1_epi16(weight.IsOne() ? -1 : 0)) {}

        WideWords operator()(WideWords values) const {
            const __m256i products = _mm256_mulhi_epu16(values.words, multiplier_);
            if constexpr (mayBeOne) {
                return {_mm256_or_si256(products, _mm256_and_si256(values.words, one_))};
            } else {
                return {products};
            }
        }

      private:
        __m256i multiplier_;
        __m256i one_;
    };

    class Divider {
      public:
        explicit Divider(const Quotient& quotient)
            : multiplier_(_mm256_set1_epi16(static_cast<std::int16_t>(quotient.multiplier))),
              shift_(_mm_cvtsi32_si128(quotient.shift)) {}

        WideWords operator()(WideWords sums) const {
            return {_mm256_srl_epi16(_mm256_mulhi_epu16(sums.words, multiplier_), shift_)};
        }

      private:
        __m256i multiplier_;
        __m128i shift_;
    };
};

}  // namespace
}  // namespace zvk::kernels
