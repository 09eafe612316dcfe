// The box blur without sliding sums: every box is added up by itself. The second pass reads the
// first one's result, which stands in the destination's layout, in the source's layout: deliberate,
// and visible where the two place their channels differently.
#include "tests/reference/blur.h"

#include <cstdint>

#include "tests/reference/arithmetic.h"
#include "tests/reference/image.h"

namespace reference {
namespace {

struct Sums {
    std::int64_t red = 0;
    std::int64_t green = 0;
    std::int64_t blue = 0;

    void Add(const Colour& colour, std::int64_t times) {
        red += times * colour.red;
        green += times * colour.green;
        blue += times * colour.blue;
    }
};

Colour Divided(const Sums& sums, std::int64_t length) {
    return {static_cast<std::uint32_t>(sums.red / length),
            static_cast<std::uint32_t>(sums.green / length),
            static_cast<std::uint32_t>(sums.blue / length)};
}

// The sum over k = center - r to center + r of the colour at clamp(k, 0, last). What lies beyond an
// edge is the edge's colour, taken as often as it occurs.
template <typename ColourAt>
Sums BoxSum(std::int64_t center, std::int64_t r, std::int64_t last, ColourAt colourAt) {
    Sums sums;
    const std::int64_t first = Clamp(center - r, 0, last);
    const std::int64_t final = Clamp(center + r, 0, last);
    for (std::int64_t k = first; k <= final; ++k) {
        sums.Add(colourAt(k), 1);
    }
    sums.Add(colourAt(0), first - (center - r));
    sums.Add(colourAt(last), (center + r) - final);
    return sums;
}

}  // namespace

std::int32_t BlurRadius(double radius) {
    return TruncateToInt32(radius);
}

Image Blur(const Image& source, std::int32_t r, int format) {
    const std::int64_t length = 2 * static_cast<std::int64_t>(r) + 1;
    Image vertical(source.width, source.height, format);
    for (std::int64_t y = 0; y < source.height; ++y) {
        for (std::int64_t x = 0; x < source.width; ++x) {
            const auto sourceColour = [&](std::int64_t k) {
                return Decode(source.At(x, k), source.format);
            };
            vertical.At(x, y) = EncodeOpaque(
                Divided(BoxSum(y, r, source.height - 1, sourceColour), length), format);
        }
    }
    Image destination(source.width, source.height, format);
    for (std::int64_t y = 0; y < source.height; ++y) {
        for (std::int64_t x = 0; x < source.width; ++x) {
            const auto rowColour = [&](std::int64_t k) {
                return Decode(vertical.At(k, y), source.format);
            };
            destination.At(x, y) =
                EncodeOpaque(Divided(BoxSum(x, r, source.width - 1, rowColour), length), format);
        }
    }
    return destination;
}

}  // namespace reference
