// Numbers of eight rows in two sixteen-byte vectors.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// A 32-bit number of each of eight rows, or as many bytes: rows 0 to 3 in the lower half, rows 4 to
// 7 in the upper one.
template <typename Simd>
struct RowLanePair {
    // Whether the sums of two lists fit the registers.
    static constexpr bool fitTwice = false;

    __m128i lower;
    __m128i upper;

    static RowLanePair Broadcast(std::int32_t number) {
        const __m128i half = _mm_set1_epi32(number);
        return {half, half};
    }
    static RowLanePair Load(const std::uint16_t* words) {
        const auto* vectors = reinterpret_cast<const __m128i*>(words);
        return {_mm_load_si128(vectors), _mm_load_si128(vectors + 1)};
    }
    void Store(std::uint16_t* words) const {
        auto* vectors = reinterpret_cast<__m128i*>(words);
        _mm_store_si128(vectors, lower);
        _mm_store_si128(vectors + 1, upper);
    }

    // Sixteen bytes of each half.
    static RowLanePair FromHalves(const std::uint8_t* lower, const std::uint8_t* upper) {
        return {Simd::LoadAll(lower), Simd::LoadAll(upper)};
    }
    // Both halves, and one of them.
    static RowLanePair FromParts(const __m128i (&parts)[2]) { return {parts[0], parts[1]}; }
    template <int part>
    __m128i Part() const {
        return part == 0 ? lower : upper;
    }

    RowLanePair operator+(RowLanePair other) const { return With<_mm_add_epi32>(other); }
    RowLanePair operator^(RowLanePair other) const { return With<_mm_xor_si128>(other); }
    RowLanePair operator|(RowLanePair other) const { return With<_mm_or_si128>(other); }
    RowLanePair operator&(RowLanePair other) const { return With<_mm_and_si128>(other); }
    RowLanePair operator<<(std::int32_t count) const {
        const __m128i shift = _mm_cvtsi32_si128(count);
        return {_mm_sll_epi32(lower, shift), _mm_sll_epi32(upper, shift)};
    }
    RowLanePair operator>>(std::int32_t count) const {
        const __m128i shift = _mm_cvtsi32_si128(count);
        return {_mm_sra_epi32(lower, shift), _mm_sra_epi32(upper, shift)};
    }
    // All bits of the numbers that are zero.
    RowLanePair IsZero() const { return With<_mm_cmpeq_epi32>(Broadcast(0)); }
    // Of every row the first number where `these` has all bits, and the second where it has none.
    static RowLanePair Where(RowLanePair these, RowLanePair first, RowLanePair second) {
        return (first & these) | these.With<_mm_andnot_si128>(second);
    }
    // The two words of each number in each other's places.
    RowLanePair WithSwappedWords() const { return {SwapWords(lower), SwapWords(upper)}; }
    // Whether any number has any of these bits.
    bool HasAny(RowLanePair these) const {
        const RowLanePair common = *this & these;
        const __m128i isZero =
            _mm_cmpeq_epi32(_mm_or_si128(common.lower, common.upper), _mm_setzero_si128());
        return _mm_movemask_epi8(isZero) != 0xFFFF;
    }

    // Plus the products of two words each.
    RowLanePair PlusProducts(RowLanePair words, RowLanePair weights) const {
        return *this + words.With<_mm_madd_epi16>(weights);
    }

    // Alternating bytes, words, numbers or pairs of numbers of the first or the last eight bytes of
    // each half.
    RowLanePair FirstBytesWith(RowLanePair other) const { return With<_mm_unpacklo_epi8>(other); }
    RowLanePair LastBytesWith(RowLanePair other) const { return With<_mm_unpackhi_epi8>(other); }
    RowLanePair FirstWordsWith(RowLanePair other) const { return With<_mm_unpacklo_epi16>(other); }
    RowLanePair LastWordsWith(RowLanePair other) const { return With<_mm_unpackhi_epi16>(other); }
    RowLanePair FirstNumbersWith(RowLanePair other) const {
        return With<_mm_unpacklo_epi32>(other);
    }
    RowLanePair LastNumbersWith(RowLanePair other) const { return With<_mm_unpackhi_epi32>(other); }
    RowLanePair FirstPairsWith(RowLanePair other) const { return With<_mm_unpacklo_epi64>(other); }
    RowLanePair LastPairsWith(RowLanePair other) const { return With<_mm_unpackhi_epi64>(other); }

    // Three numbers of each row clamped to a pixel's first bytes; the fourth means nothing.
    static RowLanePair PackPixels(RowLanePair first, RowLanePair second, RowLanePair third) {
        const RowLanePair low = first.With<_mm_packs_epi32>(second);
        const RowLanePair bytes = low.With<_mm_packus_epi16>(third.With<_mm_packs_epi32>(third));
        return {Simd::TransposeBytes(bytes.lower), Simd::TransposeBytes(bytes.upper)};
    }

    // Puts the colours of the first two and of the last two of four pixels side by side, channel
    // after channel in the order of their places, and what is no colour last.
    class ColourPairing {
      public:
        explicit ColourPairing(const ChannelOrder& order)
            : surplus_(_mm_cvtsi32_si128(order.alpha == 0 ? 8 : 0)) {}

        RowLanePair operator()(RowLanePair pixels) const {
            return {Simd::PairPixels(_mm_srl_epi32(pixels.lower, surplus_)),
                    Simd::PairPixels(_mm_srl_epi32(pixels.upper, surplus_))};
        }

      private:
        __m128i surplus_;
    };

  private:
    static __m128i SwapWords(__m128i half) {
        return _mm_or_si128(_mm_slli_epi32(half, 16), _mm_srli_epi32(half, 16));
    }
    template <__m128i (*combine)(__m128i, __m128i)>
    RowLanePair With(RowLanePair other) const {
        return {combine(lower, other.lower), combine(upper, other.upper)};
    }
};

}  // namespace
}  // namespace zvk::kernels
