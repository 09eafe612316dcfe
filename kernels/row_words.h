// The pixels of several rows as words, as the kernels along the rows lay them out for themselves:
// for every two neighbouring pixels and each colour, the values of both in the first row, then in
// the second and so on; colours in the order of their places within a pixel.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// Kernels that take rows side by side take this many.
inline constexpr int rowsAtOnce = 8;

inline constexpr std::int64_t wordsPerColour = std::int64_t{2} * rowsAtOnce;
inline constexpr std::int64_t wordsPerPair = wordsPerColour * colourCount;

// Pixels become words in groups of this many.
inline constexpr std::int32_t pixelsWidened = 4;

inline constexpr std::int64_t wordAlignment = 32;  // in bytes

// How many words make room for those of `pixelCount` pixels wherever the memory begins.
constexpr std::int64_t WordCountOf(std::int64_t pixelCount) {
    const std::int64_t groups = (pixelCount + pixelsWidened - 1) / pixelsWidened;
    return groups * (pixelsWidened / 2) * wordsPerPair +
           wordAlignment / static_cast<std::int64_t>(sizeof(std::uint16_t));
}

// The first aligned place of such memory.
inline std::uint16_t* AlignedWords(std::uint16_t* memory) {
    const auto surplus = reinterpret_cast<std::uintptr_t>(memory) % wordAlignment;
    return surplus == 0 ? memory : memory + (wordAlignment - surplus) / sizeof(std::uint16_t);
}

}  // namespace zvk::kernels
