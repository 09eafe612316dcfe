// The four kinds of content.
#include "tests/golden/content.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "tests/support/random.h"

namespace golden {
namespace {

using contract::Random;

Pixel FromBits(std::uint32_t bits) {
    return {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8U),
            static_cast<std::uint8_t>(bits >> 16U), static_cast<std::uint8_t>(bits >> 24U)};
}

Pixel Opaque(Pixel pixel) {
    pixel.alpha = 255;
    return pixel;
}

std::uint8_t AllOrNothing(std::uint32_t bit) {
    return (bit & 1U) != 0 ? 255 : 0;
}

template <typename PixelAt>
Pixels Painted(int width, int height, PixelAt pixelAt) {
    Pixels picture{width, height, {}};
    picture.pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            picture.pixels.push_back(pixelAt(x, y));
    }
    return picture;
}

// A plane in 1/256 of a level, folded at 0 and 255 so that it never jumps.
struct Slope {
    std::int64_t start;
    std::int64_t perColumn;
    std::int64_t perRow;

    explicit Slope(Random& random)
        : start(random.Between(0, 255 * 256)),
          perColumn(random.Between(-200, 200)),
          perRow(random.Between(-200, 200)) {}

    std::uint8_t At(int x, int y) const {
        constexpr std::int64_t top = 255;
        constexpr std::int64_t far = std::int64_t{1} << 20U;  // keeps what is divided above 0
        const std::int64_t level =
            (start + perColumn * x + perRow * y + far * 2 * top * 256) / 256 % (2 * top);
        return static_cast<std::uint8_t>(level <= top ? level : 2 * top - level);
    }
};

Pixels PaintGradient(int width, int height, Random& random) {
    const std::array<Slope, 4> slopes{Slope(random), Slope(random), Slope(random), Slope(random)};
    return Painted(width, height, [&](int x, int y) {
        return Pixel{slopes[0].At(x, y), slopes[1].At(x, y), slopes[2].At(x, y),
                     slopes[3].At(x, y)};
    });
}

Pixels PaintPatches(int width, int height, Random& random) {
    constexpr std::int64_t colours = 5;
    std::vector<Pixel> palette;
    for (std::int64_t i = 0; i < colours; ++i)
        palette.push_back(FromBits(random.Word()));
    const auto patchWidth = static_cast<int>(random.Between(3, 17));
    const auto patchHeight = static_cast<int>(random.Between(3, 13));
    const int across = width / patchWidth + 1;
    const int down = height / patchHeight + 1;
    std::vector<Pixel> patches;
    for (int i = 0; i < across * down; ++i)
        patches.push_back(palette[static_cast<std::size_t>(random.Between(0, colours - 1))]);
    return Painted(width, height, [&](int x, int y) {
        const int patch = y / patchHeight * across + x / patchWidth;
        return patches[static_cast<std::size_t>(patch)];
    });
}

Pixels PaintKind(Content content, int width, int height, Random& random) {
    switch (content) {
        case Content::Noise:
            return Painted(width, height, [&](int, int) { return FromBits(random.Word()); });
        case Content::Gradient:
            return PaintGradient(width, height, random);
        case Content::Patches:
            return PaintPatches(width, height, random);
        case Content::TwoValued:
            return Painted(width, height, [&](int, int) {
                const std::uint32_t bits = random.Word();
                return Pixel{AllOrNothing(bits), AllOrNothing(bits >> 1U), AllOrNothing(bits >> 2U),
                             AllOrNothing(bits >> 3U)};
            });
    }
    throw std::invalid_argument("there is no such content");
}

}  // namespace

std::string NameOf(Content content) {
    switch (content) {
        case Content::Noise:
            return "noise";
        case Content::Gradient:
            return "gradient";
        case Content::Patches:
            return "patches";
        case Content::TwoValued:
            return "two-valued";
    }
    throw std::invalid_argument("there is no such content");
}

Pixels Paint(Content content, Alpha alpha, int width, int height, std::uint64_t seed) {
    Random random(seed);
    Pixels picture = PaintKind(content, width, height, random);
    for (Pixel& pixel : picture.pixels) {
        if (alpha == Alpha::Opaque) pixel = Opaque(pixel);
        // A bit that changes along slow gradients too.
        if (alpha == Alpha::Perforated)
            pixel = (pixel.alpha & 8U) != 0 ? Opaque(pixel) : Pixel{0, 0, 0, 0};
    }
    return picture;
}

}  // namespace golden
