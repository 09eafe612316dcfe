// Conversion between colours and pixel words.
// Used by pictures and by drawing; arithmetic only.
#include "workbench/pictures/color.h"

#include <algorithm>

#include "workbench/pictures/layout.h"

namespace workbench {

namespace {

constexpr Layout drawingLayout{16, 8, 0, 24, AlphaMeaning::Premultiplied};

std::uint8_t Divide(std::uint32_t premultiplied, std::uint32_t alpha) {
    if (alpha == 0) return 0;
    return static_cast<std::uint8_t>(
        std::min<std::uint32_t>((premultiplied * 255 + alpha / 2) / alpha, 255));
}

std::uint32_t Encode(Color color, const Layout& layout) {
    switch (layout.meaning) {
        case AlphaMeaning::Premultiplied:
            return Pack(layout, MultiplyBytes(color.red, color.alpha),
                        MultiplyBytes(color.green, color.alpha),
                        MultiplyBytes(color.blue, color.alpha), color.alpha);
        case AlphaMeaning::Straight:
            return Pack(layout, color.red, color.green, color.blue, color.alpha);
        case AlphaMeaning::Transparency:
            return Pack(layout, color.red, color.green, color.blue,
                        TransparencyFromAlpha(color.alpha));
        case AlphaMeaning::Unused:
            break;
    }
    return Pack(layout, color.red, color.green, color.blue, 255);
}

Color Decode(std::uint32_t word, const Layout& layout) {
    Color color{ByteAt(word, layout.red), ByteAt(word, layout.green), ByteAt(word, layout.blue),
                ByteAt(word, layout.alpha)};
    switch (layout.meaning) {
        case AlphaMeaning::Premultiplied:
            color.red = Divide(color.red, color.alpha);
            color.green = Divide(color.green, color.alpha);
            color.blue = Divide(color.blue, color.alpha);
            break;
        case AlphaMeaning::Straight:
            break;
        case AlphaMeaning::Transparency:
            color.alpha = static_cast<std::uint8_t>(AlphaFromTransparency(color.alpha));
            break;
        case AlphaMeaning::Unused:
            color.alpha = 255;
            break;
    }
    return color;
}

}  // namespace

std::uint32_t EncodePixel(Color color, int layout) {
    return Encode(color, LayoutOf(layout));
}

Color DecodePixel(std::uint32_t word, int layout) {
    return Decode(word, LayoutOf(layout));
}

std::uint32_t ToPremultiplied(std::uint32_t word, const Layout& layout) {
    if (layout.meaning != AlphaMeaning::Premultiplied) {
        return Encode(Decode(word, layout), drawingLayout);
    }
    return Pack(drawingLayout, ByteAt(word, layout.red), ByteAt(word, layout.green),
                ByteAt(word, layout.blue), ByteAt(word, layout.alpha));
}

std::uint32_t FromPremultiplied(std::uint32_t premultiplied, const Layout& layout) {
    if (layout.meaning != AlphaMeaning::Premultiplied) {
        return Encode(Decode(premultiplied, drawingLayout), layout);
    }
    return Pack(layout, ByteAt(premultiplied, drawingLayout.red),
                ByteAt(premultiplied, drawingLayout.green),
                ByteAt(premultiplied, drawingLayout.blue),
                ByteAt(premultiplied, drawingLayout.alpha));
}

}  // namespace workbench
