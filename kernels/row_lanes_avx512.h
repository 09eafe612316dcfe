// Numbers of sixteen rows in one sixty-four-byte vector with AVX-512 F, BW and DQ.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace zvk::kernels {
namespace {

// A 32-bit number of each of sixteen rows, or as many bytes: four rows in each quarter, in order.
struct WidestRowLanes {
    __m512i bits;

    static WidestRowLanes Broadcast(std::int32_t number) { return {_mm512_set1_epi32(number)}; }
    static WidestRowLanes Load(const std::uint8_t* bytes) { return {_mm512_load_si512(bytes)}; }
    void Store(std::uint8_t* bytes) const { _mm512_store_si512(bytes, bits); }

    // Four quarters, and one of them.
    static WidestRowLanes FromParts(const __m128i (&parts)[4]) {
        const __m512i first = _mm512_inserti32x4(_mm512_castsi128_si512(parts[0]), parts[1], 1);
        return {_mm512_inserti32x4(_mm512_inserti32x4(first, parts[2], 2), parts[3], 3)};
    }
    template <int part>
    __m128i Part() const {
        return _mm512_extracti32x4_epi32(bits, part);
    }

    WidestRowLanes operator+(WidestRowLanes other) const {
        return {_mm512_add_epi32(bits, other.bits)};
    }
    WidestRowLanes operator^(WidestRowLanes other) const {
        return {_mm512_xor_si512(bits, other.bits)};
    }
    WidestRowLanes operator|(WidestRowLanes other) const {
        return {_mm512_or_si512(bits, other.bits)};
    }
    WidestRowLanes operator&(WidestRowLanes other) const {
        return {_mm512_and_si512(bits, other.bits)};
    }
    WidestRowLanes operator<<(std::int32_t count) const {
        return {_mm512_sll_epi32(bits, _mm_cvtsi32_si128(count))};
    }
    WidestRowLanes operator>>(std::int32_t count) const {
        return {_mm512_sra_epi32(bits, _mm_cvtsi32_si128(count))};
    }
    // All bits of the numbers that are zero.
    WidestRowLanes IsZero() const {
        return {_mm512_movm_epi32(_mm512_testn_epi32_mask(bits, bits))};
    }
    // Of every row the first number where `these` has all bits, and the second where it has none.
    static WidestRowLanes Where(WidestRowLanes these, WidestRowLanes first, WidestRowLanes second) {
        return {_mm512_mask_mov_epi32(second.bits, _mm512_movepi32_mask(these.bits), first.bits)};
    }
    // Whether any number has any of these bits.
    bool HasAny(WidestRowLanes these) const {
        return _mm512_test_epi32_mask(bits, these.bits) != 0;
    }

    // Alternating numbers or pairs of numbers of the first or the last eight bytes of each quarter.
    WidestRowLanes FirstNumbersWith(WidestRowLanes other) const {
        return {_mm512_unpacklo_epi32(bits, other.bits)};
    }
    WidestRowLanes LastNumbersWith(WidestRowLanes other) const {
        return {_mm512_unpackhi_epi32(bits, other.bits)};
    }
    WidestRowLanes FirstPairsWith(WidestRowLanes other) const {
        return {_mm512_unpacklo_epi64(bits, other.bits)};
    }
    WidestRowLanes LastPairsWith(WidestRowLanes other) const {
        return {_mm512_unpackhi_epi64(bits, other.bits)};
    }

    // Three numbers of each row clamped to a pixel's first bytes; the fourth means nothing.
    static WidestRowLanes PackPixels(WidestRowLanes first, WidestRowLanes second,
                                     WidestRowLanes third) {
        const __m512i low = _mm512_packs_epi32(first.bits, second.bits);
        const __m512i high = _mm512_packs_epi32(third.bits, third.bits);
        const __m512i byRow = _mm512_broadcast_i32x4(
            _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
        return {_mm512_shuffle_epi8(_mm512_packus_epi16(low, high), byRow)};
    }
};

}  // namespace
}  // namespace zvk::kernels
