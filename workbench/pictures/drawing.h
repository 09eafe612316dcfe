// Drawing of one picture into another, as the host's graphics objects do it.
// Called by the graphics object's method and for copies of masks.
#pragma once

#include <cstdint>

#include "workbench/pictures/picture.h"

namespace workbench {

/// A rectangle in pixels; its size may be anything, nothing is drawn where it is not positive.
struct Rectangle {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
};

/// Draws the part `from` of `source` over the part `to` of `destination`, scaled where their sizes
/// differ and clipped to both pictures, through the source's alpha and mask. The destination's own
/// mask plays no part. A picture may be drawn onto itself. Nothing is drawn where a coordinate
/// is beyond 32 bits. Throws std::bad_alloc.
void DrawPicture(Picture& destination, const Picture& source, Rectangle to, Rectangle from);

/// How much a mask's pixel lets through: white nothing, black (255) everything, others by their
/// mean brightness.
constexpr std::uint8_t MaskOpacity(Color mask) {
    return static_cast<std::uint8_t>(255 - (mask.red + mask.green + mask.blue) / 3);
}

}  // namespace workbench
