// How the kernels along the rows lay out the pixels of several rows for themselves: side by side,
// so that one product sums up neighbouring pixels of all rows. In order, for each group of
// neighbouring pixels and each colour, their values in the first row, then in the second and so on;
// colours in the order of their places within a pixel.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// What a kernel along the rows multiplies.
enum class RowLayout : std::uint8_t {
    Words,  // of pairs of pixels in eight rows
    Bytes,  // of groups of four pixels in sixteen rows
};

// How many rows are taken side by side.
constexpr int RowsAtOnce(RowLayout layout) {
    return layout == RowLayout::Words ? 8 : 16;
}
inline constexpr int mostRowsAtOnce = RowsAtOnce(RowLayout::Bytes);

// How many pixels a group has.
constexpr std::int32_t PixelsAtOnce(RowLayout layout) {
    return layout == RowLayout::Words ? 2 : 4;
}

// Pixels are laid out this many at a time.
inline constexpr std::int32_t pixelsArranged = 4;

// Words of half as many rows take as much room.
inline constexpr std::int64_t bytesPerColumn =
    std::int64_t{RowsAtOnce(RowLayout::Bytes)} * colourCount;
static_assert(2 * RowsAtOnce(RowLayout::Words) == RowsAtOnce(RowLayout::Bytes));

inline constexpr std::int64_t layoutAlignment = 64;

// How many bytes make room for so many places of all rows wherever the memory begins.
constexpr std::int64_t LayoutSizeOf(std::int64_t placeCount) {
    const std::int64_t groups = (placeCount + pixelsArranged - 1) / pixelsArranged;
    return groups * pixelsArranged * bytesPerColumn + layoutAlignment;
}

// The first aligned place of such memory.
inline std::uint8_t* AlignedLayout(std::uint8_t* memory) {
    const auto surplus = reinterpret_cast<std::uintptr_t>(memory) % layoutAlignment;
    return surplus == 0 ? memory : memory + (layoutAlignment - surplus);
}

}  // namespace zvk::kernels
