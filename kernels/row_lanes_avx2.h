// Numbers of eight rows in one thirty-two-byte vector.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {
namespace {

// A 32-bit number of each of eight rows, or as many bytes: rows 0 to 3 in the lower half, rows 4 to
// 7 in the upper one.
struct WideRowLanes {
    // Whether the sums of two lists fit the registers.
    static constexpr bool fitTwice = true;

    __m256i bits;

    static WideRowLanes Broadcast(std::int32_t number) { return {_mm256_set1_epi32(number)}; }
    static WideRowLanes Load(const std::uint16_t* words) {
        return {_mm256_load_si256(reinterpret_cast<const __m256i*>(words))};
    }
    // Keeps the compiler from loading the numbers once more for every use.
    void KeepLoaded() { __asm__("" : "+v"(bits)); }
    void Store(std::uint16_t* words) const {
        _mm256_store_si256(reinterpret_cast<__m256i*>(words), bits);
    }

    // Sixteen bytes of each half.
    static WideRowLanes FromHalves(const std::uint8_t* lower, const std::uint8_t* upper) {
        const auto load = [](const std::uint8_t* bytes) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
        };
        return {_mm256_set_m128i(load(upper), load(lower))};
    }
    // Both halves, and one of them.
    static WideRowLanes FromParts(const __m128i (&parts)[2]) {
        return {_mm256_set_m128i(parts[1], parts[0])};
    }
    template <int part>
    __m128i Part() const {
        return _mm256_extracti128_si256(bits, part);
    }

    WideRowLanes operator+(WideRowLanes other) const { return With<_mm256_add_epi32>(other); }
    WideRowLanes operator^(WideRowLanes other) const { return With<_mm256_xor_si256>(other); }
    WideRowLanes operator|(WideRowLanes other) const { return With<_mm256_or_si256>(other); }
    WideRowLanes operator&(WideRowLanes other) const { return With<_mm256_and_si256>(other); }
    WideRowLanes operator<<(std::int32_t count) const {
        return {_mm256_sll_epi32(bits, _mm_cvtsi32_si128(count))};
    }
    WideRowLanes operator>>(std::int32_t count) const {
        return {_mm256_sra_epi32(bits, _mm_cvtsi32_si128(count))};
    }
    // All bits of the numbers that are zero.
    WideRowLanes IsZero() const { return {_mm256_cmpeq_epi32(bits, _mm256_setzero_si256())}; }
    // Of every row the first number where `these` has all bits, and the second where it has none.
    static WideRowLanes Where(WideRowLanes these, WideRowLanes first, WideRowLanes second) {
        return {_mm256_blendv_epi8(second.bits, first.bits, these.bits)};
    }
    // The two words of each number in each other's places.
    WideRowLanes WithSwappedWords() const {
        return {_mm256_shuffle_epi8(
            bits, _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 3, 0, 1, 6, 7, 4, 5,  //
                                                            10, 11, 8, 9, 14, 15, 12, 13)))};
    }
    // Whether any number has any of these bits.
    bool HasAny(WideRowLanes these) const { return _mm256_testz_si256(bits, these.bits) == 0; }

    // Plus the products of two words each.
    WideRowLanes PlusProducts(WideRowLanes words, WideRowLanes weights) const {
        return *this + words.With<_mm256_madd_epi16>(weights);
    }

    // Alternating bytes, words, numbers or pairs of numbers of the first or the last eight bytes of
    // each half.
    WideRowLanes FirstBytesWith(WideRowLanes other) const {
        return With<_mm256_unpacklo_epi8>(other);
    }
    WideRowLanes LastBytesWith(WideRowLanes other) const {
        return With<_mm256_unpackhi_epi8>(other);
    }
    WideRowLanes FirstWordsWith(WideRowLanes other) const {
        return With<_mm256_unpacklo_epi16>(other);
    }
    WideRowLanes LastWordsWith(WideRowLanes other) const {
        return With<_mm256_unpackhi_epi16>(other);
    }
    WideRowLanes FirstNumbersWith(WideRowLanes other) const {
        return With<_mm256_unpacklo_epi32>(other);
    }
    WideRowLanes LastNumbersWith(WideRowLanes other) const {
        return With<_mm256_unpackhi_epi32>(other);
    }
    WideRowLanes FirstPairsWith(WideRowLanes other) const {
        return With<_mm256_unpacklo_epi64>(other);
    }
    WideRowLanes LastPairsWith(WideRowLanes other) const {
        return With<_mm256_unpackhi_epi64>(other);
    }

    // Three numbers of each row clamped to a pixel's first bytes; the fourth means nothing.
    static WideRowLanes PackPixels(WideRowLanes first, WideRowLanes second, WideRowLanes third) {
        const __m256i low = _mm256_packs_epi32(first.bits, second.bits);
        const __m256i high = _mm256_packs_epi32(third.bits, third.bits);
        const __m256i byRow = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
        return {_mm256_shuffle_epi8(_mm256_packus_epi16(low, high), byRow)};
    }

    // Puts the colours of the first two and of the last two of four pixels side by side, channel
    // after channel in the order of their places, and what is no colour last.
    class ColourPairing {
      public:
        explicit ColourPairing(const ChannelOrder& order)
            : pattern_(_mm256_broadcastsi128_si256(
                  _mm_and_si128(_mm_add_epi8(_mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7,  //
                                                           8, 12, 9, 13, 10, 14, 11, 15),
                                             _mm_set1_epi8(order.alpha == 0 ? 1 : 0)),
                                _mm_set1_epi8(15)))) {}

        WideRowLanes operator()(WideRowLanes pixels) const {
            return {_mm256_shuffle_epi8(pixels.bits, pattern_)};
        }

      private:
        __m256i pattern_;
    };

  private:
    template <__m256i (*combine)(__m256i, __m256i)>
    WideRowLanes With(WideRowLanes other) const {
        return {combine(bits, other.bits)};
    }
};

}  // namespace
}  // namespace zvk::kernels
