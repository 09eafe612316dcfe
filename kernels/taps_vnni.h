// Sums of a row's channels times fixed-point weights by dot products of bytes, eight source pixels
// at a time; a weight's two bytes are digits of their own.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "kernels/taps_avx2.h"

namespace zvk::kernels {
namespace {

// Eight weights as signed digits: weight = 256 * high + low. Each half holds those of four pixels,
// once for every channel.
struct WeightDigits {
    __m256i low;
    __m256i high;

    explicit WeightDigits(__m128i weights) {
        const __m256i all = _mm256_broadcastsi128_si256(weights);
        // Where the low byte is negative the high one makes up for it.
        const __m256i rounded = _mm256_add_epi16(all, _mm256_set1_epi16(128));
        const __m256i lowBytes = _mm256_setr_epi32(0x06040200, 0x06040200, 0x06040200, 0x06040200,
                                                   0x0E0C0A08, 0x0E0C0A08, 0x0E0C0A08, 0x0E0C0A08);
        low = _mm256_shuffle_epi8(all, lowBytes);
        high = _mm256_shuffle_epi8(rounded, _mm256_or_si256(lowBytes, _mm256_set1_epi8(1)));
    }
};

struct VnniTaps {
    using DoublePixel = DoublePixelAvx2;
    using Totals = Avx2Taps::Totals;
    static constexpr int rowCount = Avx2Taps::rowCount;

    // The sums over the taps of a list, a multiple of two, and of a short one. A few are summed up
    // faster as words.
    [[gnu::always_inline]] static Totals SumProducts(const std::uint8_t* const (&sources)[rowCount],
                                                     std::int64_t offset,
                                                     const std::int16_t* weights,
                                                     std::int32_t count) {
        if (count < shortestList) return Avx2Taps::SumProducts(sources, offset, weights, count);
        return SumDigits(sources, offset, weights, count);
    }
    [[gnu::always_inline]] static Totals SumFew(const std::uint8_t* const (&sources)[rowCount],
                                                std::int64_t offset, const std::int16_t* weights,
                                                std::int32_t count) {
        return Avx2Taps::SumFew(sources, offset, weights, count);
    }

  private:
    static constexpr std::int32_t tapsAtOnce = 8;
    static constexpr std::int32_t shortestList = 16;

    // One row's sums in two halves.
    struct Row {
        __m256i low = _mm256_setzero_si256();
        __m256i high = _mm256_setzero_si256();

        void Add(__m256i pixels, const WeightDigits& digits) {
            const __m256i byChannel = _mm256_broadcastsi128_si256(
                _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
            const __m256i channels = _mm256_shuffle_epi8(pixels, byChannel);
            low = _mm256_dpbusd_epi32(low, channels, digits.low);
            high = _mm256_dpbusd_epi32(high, channels, digits.high);
        }

        __m256i Whole() const { return _mm256_add_epi32(_mm256_slli_epi32(high, 8), low); }
    };

    [[gnu::always_inline]] static Totals SumDigits(const std::uint8_t* const (&sources)[rowCount],
                                                   std::int64_t offset, const std::int16_t* weights,
                                                   std::int32_t count) {
        Row rows[rowCount];
        std::int32_t tap = 0;
        for (; tap + tapsAtOnce <= count; tap += tapsAtOnce) {
            const WeightDigits digits(
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights + tap)));
            for (int row = 0; row < rowCount; ++row)
                rows[row].Add(Avx2::LoadAll(sources[row] + offset), digits);
            offset += tapsAtOnce * bytesPerPixelWord;
        }
        const Totals sums = {Avx2Taps::SumHalves(rows[0].Whole(), rows[1].Whole()),
                             Avx2Taps::SumHalves(rows[2].Whole(), rows[3].Whole())};
        if (tap == count) return sums;
        return sums + Avx2Taps::SumFew(sources, offset, weights + tap, count - tap);
    }
};

}  // namespace
}  // namespace zvk::kernels
