// A picture as the references see it: one 32-bit word per pixel, rows without padding, and the
// number of its layout. Shares nothing with the code under test.
//
// Layouts by number, bytes in memory order:
//   1, 3, 5  red, green, blue, alpha or unused      (1 and 2 premultiplied, 5 and 6 without alpha)
//   2, 4, 6  alpha or unused, red, green, blue
//   8        blue, green, red, 7-bit transparency   (0 opaque, 127 transparent)
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace reference {

/// The three channels of one pixel, each 0 to 255.
struct Colour {
    std::uint32_t red = 0;
    std::uint32_t green = 0;
    std::uint32_t blue = 0;
};

/// The channels of a word in a layout; black in a layout that is none of the seven.
Colour Decode(std::uint32_t word, int format);

/// The word of an opaque pixel in one of the seven layouts.
std::uint32_t EncodeOpaque(const Colour& colour, int format);

/// A picture that owns its pixels.
struct Image {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int format = 1;
    std::vector<std::uint32_t> words;  // row after row, `width` words each

    Image(std::int64_t columns, std::int64_t rows, int layout)
        : width(columns),
          height(rows),
          format(layout),
          words(static_cast<std::size_t>(columns * rows)) {}

    std::uint32_t& At(std::int64_t column, std::int64_t row) {
        return words.at(static_cast<std::size_t>(row * width + column));
    }
    std::uint32_t At(std::int64_t column, std::int64_t row) const {
        return words.at(static_cast<std::size_t>(row * width + column));
    }

    friend bool operator==(const Image& left, const Image& right) = default;
};

}  // namespace reference
