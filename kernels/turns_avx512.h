// Pixels of several vectors taking turns, with AVX-512.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "kernels/repetition.h"

namespace zvk::kernels {
namespace {

// For each pixel of what `count` vectors make in turn its place in its own vector, counted on from
// the first for the second, and for each vector of the result and each of the others which pixels
// come from there; of the first two nobody needs to know.
template <int count>
struct TurnPlaces {
    static constexpr int pixelCount = 16;

    std::int32_t places[count][pixelCount];
    std::uint16_t masks[count][count];

    static consteval TurnPlaces Make() {
        TurnPlaces turns{};
        for (int pixel = 0; pixel < count * pixelCount; ++pixel) {
            const int vector = pixel / pixelCount;
            const int step = pixel % count;
            turns.places[vector][pixel % pixelCount] = pixel / count + (step == 1 ? pixelCount : 0);
            turns.masks[vector][step] |= static_cast<std::uint16_t>(1U << (pixel % pixelCount));
        }
        return turns;
    }
};

// Of two to four vectors, the first pixels one behind the other, then the second ones and so on.
struct WidestTurns {
    template <int count>
    [[gnu::always_inline]] static void Take(const __m512i (&steps)[count],
                                            __m512i (&pixels)[count]) {
        Repeat<count>([&](auto vector) __attribute__((always_inline)) {
            const __m512i places = _mm512_loadu_si512(turns<count>.places[vector]);
            pixels[vector] = _mm512_permutex2var_epi32(steps[0], places, steps[1]);
            Repeat<count - 2>([&](auto index) __attribute__((always_inline)) {
                constexpr int step = index + 2;
                pixels[vector] = _mm512_mask_permutexvar_epi32(
                    pixels[vector], turns<count>.masks[vector][step], places, steps[step]);
            });
        });
    }

  private:
    template <int count>
    static constexpr TurnPlaces<count> turns = TurnPlaces<count>::Make();
};

}  // namespace
}  // namespace zvk::kernels
