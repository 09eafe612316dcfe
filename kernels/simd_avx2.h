// Thirty-two-byte vectors with AVX2 and FMA.
#pragma once

#include <immintrin.h>

#include "kernels/simd_sse41.h"

namespace zvk::kernels {
namespace {

struct Avx2 {
    using Floats = __m256;
    using Bytes = __m256i;
    using Mask = std::uint32_t;
    static constexpr std::int64_t floatCount = 8;
    static constexpr std::int64_t byteCount = 32;

    static constexpr bool canPermute = true;

    static Floats Broadcast(float value) { return _mm256_set1_ps(value); }
    static Floats Load(const float* values) { return _mm256_loadu_ps(values); }
    static void Store(float* values, Floats floats) { _mm256_storeu_ps(values, floats); }
    static Floats Add(Floats left, Floats right) { return _mm256_add_ps(left, right); }
    static Floats Subtract(Floats left, Floats right) { return _mm256_sub_ps(left, right); }
    static Floats Multiply(Floats left, Floats right) { return _mm256_mul_ps(left, right); }
    // The same sum and difference in the units that multiply, for where others have enough to do.
    // It is no more than a wish: some compilers make plain sums of them again.
    static Floats AddInMultiplier(Floats left, Floats right) {
        return _mm256_fmadd_ps(left, Broadcast(1.0F), right);
    }
    static Floats SubtractInMultiplier(Floats left, Floats right) {
        return _mm256_fnmadd_ps(right, Broadcast(1.0F), left);
    }
    static Floats MultiplyAdd(Floats left, Floats right, Floats sum) {
        return _mm256_fmadd_ps(left, right, sum);
    }

    static Floats WhereNegative(Floats values, float number) {
        return _mm256_and_ps(_mm256_cmp_ps(values, _mm256_setzero_ps(), _CMP_LT_OQ),
                             _mm256_set1_ps(number));
    }

    // Picks numbers and those behind them by ascending indices; enlarged, neighbours are seldom
    // farther apart than a vector reaches.
    class NeighbourPicker {
      public:
        explicit NeighbourPicker(const std::int32_t* indices)
            : indices_(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(indices))),
              first_(indices[0]),
              fits_(indices[floatCount - 1] + 1 - first_ < floatCount),
              places_(_mm256_sub_epi32(indices_, _mm256_set1_epi32(first_))),
              nextPlaces_(_mm256_add_epi32(places_, _mm256_set1_epi32(1))) {}

        void Pick(const float* values, Floats& own, Floats& next) const {
            if (fits_) {
                const Floats all = Load(values + first_);
                own = _mm256_permutevar8x32_ps(all, places_);
                next = _mm256_permutevar8x32_ps(all, nextPlaces_);
            } else {
                own = _mm256_i32gather_ps(values, indices_, sizeof(float));
                next = _mm256_i32gather_ps(values + 1, indices_, sizeof(float));
            }
        }

      private:
        __m256i indices_;
        std::int32_t first_;
        bool fits_;
        __m256i places_;
        __m256i nextPlaces_;
    };

    // The bytes at one place of all pixels.
    static Floats Channel(Bytes pixels, int byte) {
        const __m256i first = _mm256_broadcastsi128_si256(_mm_setr_epi8(
            0, -128, -128, -128, 4, -128, -128, -128, 8, -128, -128, -128, 12, -128, -128, -128));
        const __m256i places = _mm256_add_epi32(first, _mm256_set1_epi32(byte));
        return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(pixels, places));
    }

    // Pixels of four channels' numbers, truncated and clamped.
    static Bytes Interleave(const Floats (&channels)[4]) {
        const __m256i bytes = ToBytes(channels);
        const __m256i byPixel = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
        return _mm256_shuffle_epi8(bytes, byPixel);
    }

    // Whole numbers of 32 bits, which wrap: those that values truncate to, sums, what is left
    // without the lowest bits, one more where two are equal; and as bytes as below, clamped.
    static Bytes ToNumbers(Floats values) { return _mm256_cvttps_epi32(values); }
    static Bytes AddNumbers(Bytes left, Bytes right) { return _mm256_add_epi32(left, right); }
    template <int count>
    static Bytes ShiftNumbers(Bytes numbers) {
        return _mm256_srli_epi32(numbers, count);
    }
    static Bytes AddOneWhereEqual(Bytes numbers, Bytes left, Bytes right) {
        return _mm256_sub_epi32(numbers, _mm256_cmpeq_epi32(left, right));
    }
    static Bytes PackNumbers(const Bytes (&numbers)[4]) {
        return _mm256_packus_epi16(_mm256_packs_epi32(numbers[0], numbers[1]),
                                   _mm256_packs_epi32(numbers[2], numbers[3]));
    }

    // In groups of four bytes, one of each vector's lower half and then one of each upper half.
    static Bytes ToBytes(const Floats (&values)[4]) {
        return PackNumbers({ToNumbers(values[0]), ToNumbers(values[1]), ToNumbers(values[2]),
                            ToNumbers(values[3])});
    }
    static Bytes InOrder(Bytes bytes) {
        return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }

    struct WholeSums {
        __m256i low;
        __m256i high;

        void StartFrom(Bytes start) {
            low = start;
            high = start;
        }

        void Add(Bytes first, Bytes second, Bytes pairs) {
            low = _mm256_add_epi16(
                low, _mm256_maddubs_epi16(_mm256_unpacklo_epi8(first, second), pairs));
            high = _mm256_add_epi16(
                high, _mm256_maddubs_epi16(_mm256_unpackhi_epi8(first, second), pairs));
        }

        Bytes Divided(Bytes multipliers, __m128i shift) const {
            return _mm256_packus_epi16(
                _mm256_srl_epi16(_mm256_mulhi_epu16(low, multipliers), shift),
                _mm256_srl_epi16(_mm256_mulhi_epu16(high, multipliers), shift));
        }
    };
    static Bytes Repeat16(std::int32_t bits) {
        return _mm256_set1_epi16(static_cast<std::int16_t>(bits));
    }
    static Bytes Repeat32(std::int32_t bits) { return _mm256_set1_epi32(bits); }

    static Mask Differing(Bytes left, Bytes right) {
        return ~static_cast<Mask>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(left, right)));
    }
    static Bytes Select(std::uint32_t mask, Bytes first, Bytes second) {
        return _mm256_blendv_epi8(second, first, _mm256_set1_epi32(static_cast<int>(mask)));
    }
    static Bytes LoadAll(const std::uint8_t* bytes) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
    }
    static void StoreAll(std::uint8_t* bytes, Bytes values) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), values);
    }

    [[gnu::always_inline]] static void Stream(std::uint8_t* bytes, Bytes values) {
        if (reinterpret_cast<std::uintptr_t>(bytes) % sizeof values != 0) {
            Sse2::Stream(bytes, _mm256_castsi256_si128(values));
            Sse2::Stream(bytes + Sse2::byteCount, _mm256_extracti128_si256(values, 1));
        } else {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(bytes), values);
        }
    }

    class Arrangement {
      public:
        Arrangement(const ChannelOrder& from, const ChannelOrder& to)
            : Arrangement(ShufflePattern(from, to), to) {}

        Bytes operator()(Bytes pixels) const {
            return _mm256_or_si256(_mm256_shuffle_epi8(pixels, shuffle_), opaque_);
        }

      protected:
        Arrangement(__m128i shuffle, const ChannelOrder& to)
            : shuffle_(_mm256_broadcastsi128_si256(shuffle)),
              opaque_(_mm256_set1_epi32(static_cast<int>(OpaquePixel(to, 0, 0, 0)))) {}

      private:
        __m256i shuffle_;
        __m256i opaque_;
    };

    using ColourArrangement = ColourShuffle<Arrangement>;

    using PartedArrangement = PartedShuffle<Arrangement>;
    using PartedRestoration = PartedRestorationShuffle<Arrangement>;
};

}  // namespace
}  // namespace zvk::kernels
