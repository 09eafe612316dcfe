// Words to stored channels and back, and their checksum.
#include "tests/golden/pixels.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "workbench/pictures/picture.h"

namespace golden {
namespace {

constexpr int console = 8;

bool HasAlphaFirst(int layout) {
    return layout != console && layout % 2 == 0;
}

std::uint8_t AlphaOf(std::uint32_t word, int layout) {
    if (HasAlphaFirst(layout)) return static_cast<std::uint8_t>(word & 255U);
    const std::uint32_t stored = word >> 24U;
    return static_cast<std::uint8_t>(layout == console ? 255U - stored : stored);
}

std::uint32_t WordOf(const Pixel& pixel, int layout) {
    const reference::Colour colour{pixel.red, pixel.green, pixel.blue};
    const std::uint32_t opaque = reference::EncodeOpaque(colour, layout);
    if (layout == console) return opaque | (255U - pixel.alpha) / 2 << 24U;
    if (HasAlphaFirst(layout)) return (opaque & 0xFFFFFF00U) | pixel.alpha;
    return (opaque & 0x00FFFFFFU) | static_cast<std::uint32_t>(pixel.alpha) << 24U;
}

}  // namespace

const Pixel& Pixels::At(int column, int row) const {
    return pixels.at(static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(column));
}

Pixels PixelsOf(const reference::Image& image) {
    Pixels result{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    result.pixels.reserve(image.words.size());
    for (const std::uint32_t word : image.words) {
        const reference::Colour colour = reference::Decode(word, image.format);
        result.pixels.push_back(
            {static_cast<std::uint8_t>(colour.red), static_cast<std::uint8_t>(colour.green),
             static_cast<std::uint8_t>(colour.blue), AlphaOf(word, image.format)});
    }
    return result;
}

reference::Image InLayout(const Pixels& pixels, int layout) {
    reference::Image image(pixels.width, pixels.height, layout);
    std::transform(pixels.pixels.begin(), pixels.pixels.end(), image.words.begin(),
                   [layout](const Pixel& pixel) { return WordOf(pixel, layout); });
    return image;
}

void Write(const reference::Image& image, workbench::Picture& picture) {
    auto next = image.words.begin();
    for (int y = 0; y < picture.Height(); ++y) {
        const auto row = picture.Row(y);
        std::copy_n(next, row.size(), row.begin());
        next += static_cast<std::ptrdiff_t>(row.size());
    }
}

std::uint32_t Crc(const Pixels& pixels) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(8 + 4 * pixels.pixels.size());
    for (const int side : {pixels.width, pixels.height}) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(side) >> shift));
    }
    for (const Pixel& pixel : pixels.pixels)
        bytes.insert(bytes.end(), {pixel.red, pixel.green, pixel.blue, pixel.alpha});
    return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

std::optional<std::size_t> FirstDifference(const Pixels& left, const Pixels& right) {
    const auto [here, there] = std::mismatch(left.pixels.begin(), left.pixels.end(),
                                             right.pixels.begin(), right.pixels.end());
    if (here == left.pixels.end() && there == right.pixels.end()) return std::nullopt;
    return static_cast<std::size_t>(here - left.pixels.begin());
}

}  // namespace golden
