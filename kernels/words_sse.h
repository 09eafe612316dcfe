// Sixteen numbers of 16 bits in two sixteen-byte vectors.
#pragma once

#include "kernels/blur_blocks.h"
#include "kernels/drawing_weights.h"
#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

template <typename Simd>
struct WordPair {
    __m128i low;
    __m128i high;

    // Eight pixels, and their bytes at even and at odd places as words.
    struct Pixels {
        __m128i low;
        __m128i high;
    };
    using PartedArrangement = typename Simd::PartedArrangement;
    using PartedRestoration = typename Simd::PartedRestoration;
    static constexpr std::int64_t pixelCount = 8;

    class PixelArrangement {
      public:
        PixelArrangement(const ChannelOrder& from, const ChannelOrder& to) : arrange_(from, to) {}

        Pixels operator()(Pixels pixels) const {
            return {arrange_(pixels.low), arrange_(pixels.high)};
        }

      private:
        typename Simd::Arrangement arrange_;
    };

    static Pixels LoadPixels(const std::uint8_t* pixels) {
        return {Simd::LoadAll(pixels), Simd::LoadAll(pixels + Simd::byteCount)};
    }
    static void StorePixels(std::uint8_t* target, Pixels pixels) {
        Simd::StoreAll(target, pixels.low);
        Simd::StoreAll(target + Simd::byteCount, pixels.high);
    }
    static WordPair EvenBytes(Pixels pixels) {
        const __m128i byte = _mm_set1_epi16(255);
        return {_mm_and_si128(pixels.low, byte), _mm_and_si128(pixels.high, byte)};
    }
    static WordPair OddBytes(Pixels pixels) {
        return {_mm_srli_epi16(pixels.low, 8), _mm_srli_epi16(pixels.high, 8)};
    }
    // Clamps both to bytes and puts them together again.
    template <typename Arrange>
    static Pixels Unite(WordPair even, WordPair odd, const Arrange& arrange) {
        const Pixels parted = Pack(even, odd);
        return {arrange(parted.low), arrange(parted.high)};
    }

    // Each pixel one place on or back; what comes in is 0.
    static Pixels MovedOn(Pixels pixels) {
        return {_mm_slli_si128(pixels.low, 4),
                _mm_or_si128(_mm_slli_si128(pixels.high, 4), _mm_srli_si128(pixels.low, 12))};
    }
    static Pixels MovedBack(Pixels pixels) {
        return {_mm_or_si128(_mm_srli_si128(pixels.low, 4), _mm_slli_si128(pixels.high, 12)),
                _mm_srli_si128(pixels.high, 4)};
    }
    // These words, but other ones in the first or in the last pixel.
    WordPair WithFirst(WordPair other) const {
        return {Where(_mm_setr_epi32(-1, 0, 0, 0), other.low, low), high};
    }
    WordPair WithLast(WordPair other) const {
        return {low, Where(_mm_setr_epi32(0, 0, 0, -1), other.high, high)};
    }

    // Clamps two sets to bytes: the first halves of both in the lower half, then the others.
    static Pixels Pack(WordPair first, WordPair second) {
        return {_mm_packus_epi16(first.low, second.low), _mm_packus_epi16(first.high, second.high)};
    }
    // Of each half of both, every second pixel.
    template <int first>
    static Pixels EverySecond(Pixels left, Pixels right) {
        const auto pick = [](__m128i one, __m128i other) {
            constexpr int places = _MM_SHUFFLE(2 + first, first, 2 + first, first);
            return _mm_castps_si128(
                _mm_shuffle_ps(_mm_castsi128_ps(one), _mm_castsi128_ps(other), places));
        };
        return {pick(left.low, right.low), pick(left.high, right.high)};
    }
    static __m128i Lower(Pixels pixels) { return pixels.low; }
    static __m128i Upper(Pixels pixels) { return pixels.high; }

    static WordPair Load(const std::uint16_t* words) {
        const auto* vectors = reinterpret_cast<const __m128i*>(words);
        return {_mm_loadu_si128(vectors), _mm_loadu_si128(vectors + 1)};
    }
    void Store(std::uint16_t* words) const {
        auto* vectors = reinterpret_cast<__m128i*>(words);
        _mm_storeu_si128(vectors, low);
        _mm_storeu_si128(vectors + 1, high);
    }
    static WordPair FromBytes(__m128i bytes) {
        const __m128i zero = _mm_setzero_si128();
        return {_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero)};
    }

    WordPair operator+(WordPair other) const {
        return {_mm_add_epi16(low, other.low), _mm_add_epi16(high, other.high)};
    }
    WordPair operator-(WordPair other) const {
        return {_mm_sub_epi16(low, other.low), _mm_sub_epi16(high, other.high)};
    }
    WordPair Times(std::int32_t factor) const {
        const __m128i factors = _mm_set1_epi16(static_cast<std::int16_t>(factor));
        return {_mm_mullo_epi16(low, factors), _mm_mullo_epi16(high, factors)};
    }

    // Multiplies by a scaled weight.
    template <bool mayBeOne>
    class Scaler {
      public:
        explicit Scaler(const ScaledWeight& weight)
            : multiplier_(_mm_set1_epi16(static_cast<std::int16_t>(weight.multiplier))),
              one_(_mm_set1_epi16(weight.IsOne() ? -1 : 0)) {}

        WordPair operator()(WordPair values) const {
            return {Scale(values.low), Scale(values.high)};
        }

      private:
        __m128i Scale(__m128i values) const {
            const __m128i products = _mm_mulhi_epu16(values, multiplier_);
            if constexpr (mayBeOne) {
                return _mm_or_si128(products, _mm_and_si128(values, one_));
            } else {
                return products;
            }
        }

        __m128i multiplier_;
        __m128i one_;
    };

    static __m128i Where(__m128i mask, __m128i words, __m128i others) {
        return _mm_or_si128(_mm_and_si128(mask, words), _mm_andnot_si128(mask, others));
    }

    class Divider {
      public:
        explicit Divider(const Quotient& quotient)
            : multiplier_(_mm_set1_epi16(static_cast<std::int16_t>(quotient.multiplier))),
              shift_(_mm_cvtsi32_si128(quotient.shift)) {}

        WordPair operator()(WordPair sums) const {
            return {_mm_srl_epi16(_mm_mulhi_epu16(sums.low, multiplier_), shift_),
                    _mm_srl_epi16(_mm_mulhi_epu16(sums.high, multiplier_), shift_)};
        }

      private:
        __m128i multiplier_;
        __m128i shift_;
    };
};

}  // namespace
}  // namespace zvk::kernels
