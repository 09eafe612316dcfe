// Pictures as golden results see them: stored channels, one order for all layouts of pixels.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tests/reference/image.h"

namespace workbench {
class Picture;
}

namespace golden {

/// The bytes of a pixel as they are stored, premultiplied or not. `alpha` is the fourth byte, 255
/// where it is opaque or unused; of a console picture it is 255 less the stored transparency.
struct Pixel {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
    std::uint8_t alpha;

    friend bool operator==(const Pixel&, const Pixel&) = default;
};

/// A picture without a layout.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<Pixel> pixels;  // row after row

    const Pixel& At(int column, int row) const;

    friend bool operator==(const Pixels&, const Pixels&) = default;
};

Pixels PixelsOf(const reference::Image& image);

/// The image of the pixels in a layout. A console picture keeps 7 bits of the alpha.
reference::Image InLayout(const Pixels& pixels, int layout);

/// Gives the picture, which has the size of the image and its layout, the image's words.
void Write(const reference::Image& image, workbench::Picture& picture);

/// CRC-32 of width and height, as 4 bytes each with the lowest first, and of the pixels row by row,
/// each as red, green, blue and alpha.
std::uint32_t Crc(const Pixels& pixels);

/// The index of the first pixel that differs; none where pictures of one size are equal.
std::optional<std::size_t> FirstDifference(const Pixels& left, const Pixels& right);

}  // namespace golden
