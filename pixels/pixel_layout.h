// The pixel layouts of host pictures, as one table. Editors record which one a picture has; the
// algorithms hand its channel order to the kernels.
#pragma once

#include <cstdint>
#include <optional>

#include "kernels/channel_order.h"

namespace zvk {

// Values 1 to 6 are the CoreGraphics alpha-info values of a bitmap context; 8 is a libgd truecolor
// pixel, whose alpha is a 7-bit transparency with 0 for opaque.
enum class PixelFormat : std::uint32_t {
    None = 0,
    PremultipliedLast = 1,
    PremultipliedFirst = 2,
    Last = 3,
    First = 4,
    SkipLast = 5,
    SkipFirst = 6,
    Console = 8,
};

namespace layouts {

inline constexpr ChannelOrder colourFirst{
    .red = 0, .green = 1, .blue = 2, .alpha = 3, .opaque = 255};
inline constexpr ChannelOrder colourLast{
    .red = 1, .green = 2, .blue = 3, .alpha = 0, .opaque = 255};
inline constexpr ChannelOrder console{.red = 2, .green = 1, .blue = 0, .alpha = 3, .opaque = 0};

}  // namespace layouts

// The channel order of a format, or nothing for a value that names no format: such a picture reads
// as black and is not written.
constexpr std::optional<ChannelOrder> ChannelOrderOf(PixelFormat format) {
    switch (format) {
        case PixelFormat::PremultipliedLast:
        case PixelFormat::Last:
        case PixelFormat::SkipLast:
            return layouts::colourFirst;
        case PixelFormat::PremultipliedFirst:
        case PixelFormat::First:
        case PixelFormat::SkipFirst:
            return layouts::colourLast;
        case PixelFormat::Console:
            return layouts::console;
        default:
            return std::nullopt;
    }
}

// The format of a bitmap context with the given alpha info, or None where it is not among those
// that can be attached: 1 to 6, and only the premultiplied ones with an alpha channel.
constexpr PixelFormat FormatOfAlphaInfo(std::uint32_t alphaInfo, bool hasAlpha) {
    const std::uint32_t value = alphaInfo & 7U;
    const std::uint32_t highest = hasAlpha ? 2 : 6;
    return value >= 1 && value <= highest ? static_cast<PixelFormat>(value) : PixelFormat::None;
}

}  // namespace zvk
