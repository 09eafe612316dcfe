// Sums of a row's channels times fixed-point weights with the byte shuffle of SSSE3.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "kernels/taps_sse2.h"

namespace zvk::kernels {
namespace {

struct Sse41Taps : Sse2Taps {
    struct Sums : Sse2Taps::Sums {
        void Add(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                 const std::int16_t* weights) {
            const __m128i pair = LoadPair(weights);
            const __m128i byChannel =
                _mm_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1);
            for (int row = 0; row < rowCount; ++row) {
                const __m128i both =
                    _mm_loadl_epi64(reinterpret_cast<const __m128i*>(sources[row] + offset));
                rows[row] = _mm_add_epi32(rows[row],
                                          _mm_madd_epi16(_mm_shuffle_epi8(both, byChannel), pair));
            }
        }
    };
};

}  // namespace
}  // namespace zvk::kernels
