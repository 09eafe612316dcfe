// Sums of a row's channels times fixed-point weights with the byte shuffle of SSSE3.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "kernels/taps_sse2.h"

namespace zvk::kernels {
namespace {

struct Sse41Taps : Sse2Taps {
    static Totals SumProducts(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                              const std::int16_t* weights, std::int32_t count) {
        return SumPairs(sources, offset, weights, count, [](__m128i both) {
            return _mm_shuffle_epi8(both, _mm_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1,  //
                                                        2, -1, 6, -1, 3, -1, 7, -1));
        });
    }
    static Totals SumFew(const std::uint8_t* const (&sources)[rowCount], std::int64_t offset,
                         const std::int16_t* weights, std::int32_t count) {
        return SumProducts(sources, offset, weights, count);
    }
};

}  // namespace
}  // namespace zvk::kernels
