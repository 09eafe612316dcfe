// Where the channels lie in a pixel word of each layout.
// Used by the colour conversions and by drawing; the plugin has a table of its own.
#pragma once

#include <array>
#include <cstdint>

#include "workbench/pictures/color.h"

namespace workbench {

enum class AlphaMeaning {
    Premultiplied,
    Straight,
    Unused,
    Transparency,  // 7 bits, 0 is opaque
};

/// Bit positions of the channels in a little-endian word.
struct Layout {
    unsigned red;
    unsigned green;
    unsigned blue;
    unsigned alpha;
    AlphaMeaning meaning;
};

/// The layout of that number, which must be one (see IsLayout).
constexpr Layout LayoutOf(int number) {
    constexpr Layout console{16, 8, 0, 24, AlphaMeaning::Transparency};
    if (number == consoleLayout) return console;
    constexpr std::array meanings{AlphaMeaning::Premultiplied, AlphaMeaning::Straight,
                                  AlphaMeaning::Unused};
    const AlphaMeaning meaning = meanings[static_cast<unsigned>(number - 1) / 2];
    const bool alphaFirst = number % 2 == 0;
    return alphaFirst ? Layout{8, 16, 24, 0, meaning} : Layout{0, 8, 16, 24, meaning};
}

/// The byte of `word` at a bit position.
constexpr std::uint8_t ByteAt(std::uint32_t word, unsigned shift) {
    return static_cast<std::uint8_t>(word >> shift);
}

/// Four channels put where the layout wants them.
constexpr std::uint32_t Pack(const Layout& layout, std::uint32_t red, std::uint32_t green,
                             std::uint32_t blue, std::uint32_t alpha) {
    return red << layout.red | green << layout.green | blue << layout.blue | alpha << layout.alpha;
}

/// value * factor / 255 of two bytes, to nearest.
constexpr std::uint32_t MultiplyBytes(std::uint32_t value, std::uint32_t factor) {
    return (value * factor + 127) / 255;
}

/// A 7-bit transparency as an alpha byte, and back.
constexpr std::uint32_t AlphaFromTransparency(std::uint32_t transparency) {
    return ((127 - (transparency & 127)) * 255 + 63) / 127;
}
constexpr std::uint32_t TransparencyFromAlpha(std::uint32_t alpha) {
    return 127 - (alpha * 127 + 127) / 255;
}

/// `word` of `layout` as drawing computes with it: 0xAARRGGBB, premultiplied.
std::uint32_t ToPremultiplied(std::uint32_t word, const Layout& layout);

/// The word of `layout` for a premultiplied 0xAARRGGBB.
std::uint32_t FromPremultiplied(std::uint32_t premultiplied, const Layout& layout);

}  // namespace workbench
