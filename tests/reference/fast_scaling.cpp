// Scaling by block averages. Every one of a block's rows reads the block's first source row: the
// rows below it only scale the sums. That is deliberate.
#include "tests/reference/fast_scaling.h"

#include <cmath>
#include <cstdint>

#include "tests/reference/image.h"

namespace reference {
namespace {

struct Block {
    std::int64_t width;
    std::int64_t height;
};

std::uint32_t Truncate(double value) {
    return static_cast<std::uint32_t>(value);
}

Colour BlockAverage(const Image& source, std::int64_t startColumn, std::int64_t startRow,
                    Block block) {
    double red = 0.5;
    double green = 0.5;
    double blue = 0.5;
    for (std::int64_t pass = 0; pass < block.height; ++pass) {
        for (std::int64_t i = 0; i < block.width; ++i) {
            const Colour colour = Decode(source.At(startColumn + i, startRow), source.format);
            red += colour.red;
            green += colour.green;
            blue += colour.blue;
        }
    }
    const auto count = static_cast<double>(block.width * block.height);
    return {Truncate(red / count), Truncate(green / count), Truncate(blue / count)};
}

}  // namespace

Image ScaleFast(const Image& source, std::int64_t width, std::int64_t height, int format) {
    const double stepX = static_cast<double>(source.width) / static_cast<double>(width);
    const double stepY = static_cast<double>(source.height) / static_cast<double>(height);
    const Block block = {static_cast<std::int64_t>(std::ceil(stepX)),
                         static_cast<std::int64_t>(std::ceil(stepY))};
    Image destination(width, height, format);
    for (std::int64_t y = 0; y < height; ++y) {
        const auto startRow = static_cast<std::int64_t>(static_cast<double>(y) * stepY);
        for (std::int64_t x = 0; x < width; ++x) {
            const auto startColumn = static_cast<std::int64_t>(static_cast<double>(x) * stepX);
            destination.At(x, y) =
                EncodeOpaque(BlockAverage(source, startColumn, startRow, block), format);
        }
    }
    return destination;
}

}  // namespace reference
