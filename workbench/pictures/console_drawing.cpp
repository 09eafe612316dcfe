// Drawing between libgd images, by libgd's own copies.
// libgd knows no masks, so a masked source is first copied aside and then blended here, with more
// than the seven bits of libgd's alpha.
#include <gd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>

#include "workbench/pictures/console_image.h"
#include "workbench/pictures/drawing.h"
#include "workbench/pictures/drawing_roads.h"
#include "workbench/pictures/layout.h"

namespace workbench {

namespace {

constexpr int transparentWord = gdAlphaTransparent << 24;

gdImage* ImageOf(const Picture& picture) {
    return static_cast<gdImage*>(picture.GdImage());
}

/// A truecolor image of one colour that copies replace instead of blending with it.
OwnedImage PlainImage(int width, int height, int word) {
    OwnedImage image(gdImageCreateTrueColor(width, height));
    if (image == nullptr) throw std::bad_alloc();
    gdImageAlphaBlending(image.get(), 0);
    gdImageFilledRectangle(image.get(), 0, 0, width - 1, height - 1, word);
    return image;
}

/// The source pixels [begin, end) that the drawn pixels of an axis come from.
struct SourceSpan {
    int begin;
    int end;
};

SourceSpan SpanOf(const Axis& axis, int sourceSize) {
    const double first = std::floor(axis.begin * axis.scale + axis.offset);
    const double last = std::ceil(axis.end * axis.scale + axis.offset);
    return {static_cast<int>(std::clamp(first, 0.0, sourceSize - 1.0)),
            static_cast<int>(std::clamp(last, 1.0, static_cast<double>(sourceSize)))};
}

/// What a drawing takes from its source.
struct SourceWindow {
    SourceSpan columns;
    SourceSpan rows;

    int Width() const { return columns.end - columns.begin; }
    int Height() const { return rows.end - rows.begin; }
};

/// The window's pixels of a mask; opaque beyond the mask's own size.
OwnedImage ReadMask(gdImage* mask, const SourceWindow& window) {
    constexpr int opaque = 0;  // black
    OwnedImage image = PlainImage(window.Width(), window.Height(), opaque);
    gdImageCopy(image.get(), mask, 0, 0, window.columns.begin, window.rows.begin,
                std::min(window.columns.end, mask->sx) - window.columns.begin,
                std::min(window.rows.end, mask->sy) - window.rows.begin);
    return image;
}

/// Copies a block of `source` to the drawing's pixels in `target`, of which (x, y) is the first.
void CopyDrawn(gdImage* target, int x, int y, gdImage* source, int sourceX, int sourceY,
               const SourceWindow& window, const Drawing& drawing) {
    if (!drawing.IsScaled()) {
        gdImageCopy(target, source, x, y, sourceX, sourceY, drawing.columns.Length(),
                    drawing.rows.Length());
        return;
    }
    gdImageCopyResampled(target, source, x, y, sourceX, sourceY, drawing.columns.Length(),
                         drawing.rows.Length(), window.Width(), window.Height());
}

/// One pixel over another, both with 7-bit transparency, through a mask's opacity.
std::uint32_t Blend(std::uint32_t under, std::uint32_t over, std::uint8_t opacity) {
    const Color above = DecodePixel(over, consoleLayout);
    const Color below = DecodePixel(under, consoleLayout);
    const std::uint32_t aboveShare = std::uint32_t{above.alpha} * opacity * 255;
    const std::uint32_t belowShare =
        std::uint32_t{below.alpha} * (255 * 255 - above.alpha * opacity);
    const std::uint32_t whole = aboveShare + belowShare;  // of 255 cubed
    if (whole == 0 || aboveShare == 0) return under;
    const auto mix = [=](std::uint8_t top, std::uint8_t bottom) {
        const std::uint64_t sum =
            std::uint64_t{top} * aboveShare + std::uint64_t{bottom} * belowShare;
        return static_cast<std::uint8_t>((sum + whole / 2) / whole);
    };
    constexpr std::uint32_t unit = 255 * 255;
    const auto alpha = static_cast<std::uint8_t>((whole + unit / 2) / unit);
    return EncodePixel({mix(above.red, below.red), mix(above.green, below.green),
                        mix(above.blue, below.blue), alpha},
                       consoleLayout);
}

void BlendMasked(Picture& destination, gdImage* drawn, gdImage* mask, const Drawing& drawing) {
    for (int y = drawing.rows.begin; y < drawing.rows.end; ++y) {
        const auto row = destination.Row(y);
        for (int x = drawing.columns.begin; x < drawing.columns.end; ++x) {
            const auto at = [&](gdImage* image) {
                return static_cast<std::uint32_t>(gdImageGetTrueColorPixel(
                    image, x - drawing.columns.begin, y - drawing.rows.begin));
            };
            std::uint32_t& word = row[static_cast<std::size_t>(x)];
            word = Blend(word, at(drawn), MaskOpacity(DecodePixel(at(mask), consoleLayout)));
        }
    }
}

}  // namespace

void DrawOnConsoleImage(Picture& destination, const Picture& source, const Picture* mask,
                        const Drawing& drawing) {
    const SourceWindow window{SpanOf(drawing.columns, source.Width()),
                              SpanOf(drawing.rows, source.Height())};
    if (mask == nullptr || destination.IsPalette()) {
        CopyDrawn(ImageOf(destination), drawing.columns.begin, drawing.rows.begin, ImageOf(source),
                  window.columns.begin, window.rows.begin, window, drawing);
        return;
    }
    const int width = drawing.columns.Length();
    const int height = drawing.rows.Length();
    const OwnedImage drawn = PlainImage(width, height, transparentWord);
    CopyDrawn(drawn.get(), 0, 0, ImageOf(source), window.columns.begin, window.rows.begin, window,
              drawing);
    const OwnedImage maskWindow = ReadMask(ImageOf(*mask), window);
    const OwnedImage opacities = PlainImage(width, height, transparentWord);
    CopyDrawn(opacities.get(), 0, 0, maskWindow.get(), 0, 0, window, drawing);
    BlendMasked(destination, drawn.get(), opacities.get(), drawing);
}

}  // namespace workbench
