// Where a pixel's channels lie. Kernels take one of these instead of being written once per layout.
#pragma once

#include <cstdint>

namespace zvk {

// Positions of the channels within a four-byte pixel, by memory address, and the value of the
// fourth byte that makes a pixel opaque.
struct ChannelOrder {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
    std::uint8_t alpha;
    std::uint8_t opaque;

    friend constexpr bool operator==(const ChannelOrder&, const ChannelOrder&) = default;
};

inline constexpr std::int64_t bytesPerPixelWord = 4;

// All channels but the fourth byte.
inline constexpr int colourCount = 3;

// The pixel word with the given channels, as it lies in memory on this little-endian machine.
constexpr std::uint32_t OpaquePixel(const ChannelOrder& order, std::uint32_t red,
                                    std::uint32_t green, std::uint32_t blue) {
    return red << (8U * order.red) | green << (8U * order.green) | blue << (8U * order.blue) |
           std::uint32_t{order.opaque} << (8U * order.alpha);
}

}  // namespace zvk
