// Sixty-four-byte vectors with AVX-512 F, BW, DQ and VL.
#pragma once

#include "kernels/simd_avx2.h"

namespace zvk::kernels {
namespace {

struct Avx512 {
    using Floats = __m512;
    using Bytes = __m512i;
    using Mask = std::uint64_t;
    static constexpr std::int64_t floatCount = 16;
    static constexpr std::int64_t byteCount = 64;

    static constexpr bool canPermute = true;

    static Floats Broadcast(float value) { return _mm512_set1_ps(value); }
    static Floats Load(const float* values) { return _mm512_loadu_ps(values); }
    static void Store(float* values, Floats floats) { _mm512_storeu_ps(values, floats); }
    static Floats Add(Floats left, Floats right) { return _mm512_add_ps(left, right); }
    static Floats Subtract(Floats left, Floats right) { return _mm512_sub_ps(left, right); }
    static Floats Multiply(Floats left, Floats right) { return _mm512_mul_ps(left, right); }
    // The same sum and difference in the units that multiply, for where others have enough to do.
    // It is no more than a wish: some compilers make plain sums of them again.
    static Floats AddInMultiplier(Floats left, Floats right) {
        return _mm512_fmadd_ps(left, Broadcast(1.0F), right);
    }
    static Floats SubtractInMultiplier(Floats left, Floats right) {
        return _mm512_fnmadd_ps(right, Broadcast(1.0F), left);
    }
    static Floats MultiplyAdd(Floats left, Floats right, Floats sum) {
        return _mm512_fmadd_ps(left, right, sum);
    }

    static Floats WhereNegative(Floats values, float number) {
        return _mm512_maskz_mov_ps(_mm512_cmp_ps_mask(values, _mm512_setzero_ps(), _CMP_LT_OQ),
                                   _mm512_set1_ps(number));
    }

    // Picks numbers and those behind them by ascending indices; enlarged, neighbours are seldom
    // farther apart than a vector reaches.
    class NeighbourPicker {
      public:
        explicit NeighbourPicker(const std::int32_t* indices)
            : indices_(_mm512_loadu_si512(indices)),
              first_(indices[0]),
              fits_(indices[floatCount - 1] + 1 - first_ < floatCount),
              places_(_mm512_sub_epi32(indices_, _mm512_set1_epi32(first_))),
              nextPlaces_(_mm512_add_epi32(places_, _mm512_set1_epi32(1))) {}

        void Pick(const float* values, Floats& own, Floats& next) const {
            if (fits_) {
                const Floats all = Load(values + first_);
                own = _mm512_permutexvar_ps(places_, all);
                next = _mm512_permutexvar_ps(nextPlaces_, all);
            } else {
                own = _mm512_i32gather_ps(indices_, values, sizeof(float));
                next = _mm512_i32gather_ps(indices_, values + 1, sizeof(float));
            }
        }

      private:
        __m512i indices_;
        std::int32_t first_;
        bool fits_;
        __m512i places_;
        __m512i nextPlaces_;
    };

    // The bytes at one place of all pixels.
    static Floats Channel(Bytes pixels, int byte) {
        const __m512i values = _mm512_srl_epi32(pixels, _mm_cvtsi32_si128(8 * byte));
        return _mm512_cvtepi32_ps(_mm512_and_si512(values, _mm512_set1_epi32(255)));
    }

    // Pixels of four channels' numbers, truncated and clamped.
    static Bytes Interleave(const Floats (&channels)[4]) {
        const __m512i bytes = ToBytes(channels);
        const __m512i byPixel = _mm512_broadcast_i32x4(
            _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
        return _mm512_shuffle_epi8(bytes, byPixel);
    }

    // Whole numbers of 32 bits, which wrap: those that values truncate to, sums, what is left
    // without the lowest bits, one more where two are equal; and as bytes as below, clamped.
    static Bytes ToNumbers(Floats values) { return _mm512_cvttps_epi32(values); }
    static Bytes AddNumbers(Bytes left, Bytes right) { return _mm512_add_epi32(left, right); }
    template <int count>
    static Bytes ShiftNumbers(Bytes numbers) {
        return _mm512_srli_epi32(numbers, count);
    }
    static Bytes AddOneWhereEqual(Bytes numbers, Bytes left, Bytes right) {
        const __mmask16 equal = _mm512_cmpeq_epi32_mask(left, right);
        return _mm512_mask_add_epi32(numbers, equal, numbers, _mm512_set1_epi32(1));
    }
    static Bytes PackNumbers(const Bytes (&numbers)[4]) {
        return _mm512_packus_epi16(_mm512_packs_epi32(numbers[0], numbers[1]),
                                   _mm512_packs_epi32(numbers[2], numbers[3]));
    }

    // In groups of four bytes, the first quarters of the vectors, then the second and so on.
    static Bytes ToBytes(const Floats (&values)[4]) {
        return PackNumbers({ToNumbers(values[0]), ToNumbers(values[1]), ToNumbers(values[2]),
                            ToNumbers(values[3])});
    }

    struct WholeSums {
        __m512i low;
        __m512i high;

        void StartFrom(Bytes start) {
            low = start;
            high = start;
        }

        void Add(Bytes first, Bytes second, Bytes pairs) {
            low = _mm512_add_epi16(
                low, _mm512_maddubs_epi16(_mm512_unpacklo_epi8(first, second), pairs));
            high = _mm512_add_epi16(
                high, _mm512_maddubs_epi16(_mm512_unpackhi_epi8(first, second), pairs));
        }

        Bytes Divided(Bytes multipliers, __m128i shift) const {
            return _mm512_packus_epi16(
                _mm512_srl_epi16(_mm512_mulhi_epu16(low, multipliers), shift),
                _mm512_srl_epi16(_mm512_mulhi_epu16(high, multipliers), shift));
        }
    };
    static Bytes Repeat16(std::int32_t bits) {
        return _mm512_set1_epi16(static_cast<std::int16_t>(bits));
    }
    static Bytes Repeat32(std::int32_t bits) { return _mm512_set1_epi32(bits); }

    static Mask Differing(Bytes left, Bytes right) { return _mm512_cmpneq_epi8_mask(left, right); }
    static Bytes Select(std::uint32_t mask, Bytes first, Bytes second) {
        const __m512i bits = _mm512_set1_epi32(static_cast<int>(mask));
        return _mm512_ternarylogic_epi32(bits, first, second, 0xCA);
    }
    static Bytes LoadAll(const std::uint8_t* bytes) { return _mm512_loadu_si512(bytes); }
    static void StoreAll(std::uint8_t* bytes, Bytes values) { _mm512_storeu_si512(bytes, values); }

    [[gnu::always_inline]] static void Stream(std::uint8_t* bytes, Bytes values) {
        if (reinterpret_cast<std::uintptr_t>(bytes) % sizeof values != 0) {
            Avx2::Stream(bytes, _mm512_castsi512_si256(values));
            Avx2::Stream(bytes + Avx2::byteCount, _mm512_extracti64x4_epi64(values, 1));
        } else {
            _mm512_stream_si512(reinterpret_cast<__m512i*>(bytes), values);
        }
    }

    class Arrangement {
      public:
        Arrangement(const ChannelOrder& from, const ChannelOrder& to)
            : Arrangement(ShufflePattern(from, to), to) {}

        Bytes operator()(Bytes pixels) const {
            return _mm512_or_si512(_mm512_shuffle_epi8(pixels, shuffle_), opaque_);
        }

      protected:
        Arrangement(__m128i shuffle, const ChannelOrder& to)
            : shuffle_(_mm512_broadcast_i32x4(shuffle)),
              opaque_(_mm512_set1_epi32(static_cast<int>(OpaquePixel(to, 0, 0, 0)))) {}

      private:
        __m512i shuffle_;
        __m512i opaque_;
    };

    using ColourArrangement = ColourShuffle<Arrangement>;
};

}  // namespace
}  // namespace zvk::kernels
