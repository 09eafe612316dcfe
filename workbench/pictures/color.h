// Colours as a person means them, and the seven ways in which a pixel word holds one.
// Used wherever pixels are made or looked at; knows no picture.
#pragma once

#include <array>
#include <cstdint>

namespace workbench {

/// Red, green and blue not premultiplied; alpha 0 is transparent and 255 opaque.
struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    friend bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color white{255, 255, 255, 255};
inline constexpr Color black{0, 0, 0, 255};
inline constexpr Color transparent{0, 0, 0, 0};

/// A grey of the given brightness, opaque.
constexpr Color Grey(std::uint8_t level) {
    return {level, level, level, 255};
}

/// The layout of console images: 0xAARRGGBB words with a 7-bit transparency.
inline constexpr int consoleLayout = 8;

/// Whether `layout` is one that a pixel word can have: 1 to 6 or the console's.
constexpr bool IsLayout(int layout) {
    return (layout >= 1 && layout <= 6) || layout == consoleLayout;
}

/// The pixel word (as a little-endian machine word) that holds `color` in `layout`. Premultiplied
/// layouts round to nearest; an unused byte becomes 255; the console's alpha keeps 7 bits.
std::uint32_t EncodePixel(Color color, int layout);

/// The colour in `word`; opaque where the layout has no alpha.
Color DecodePixel(std::uint32_t word, int layout);

}  // namespace workbench
