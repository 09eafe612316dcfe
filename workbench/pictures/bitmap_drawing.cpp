// Drawing between bitmap contexts, tile by tile through pixman.
// Every layout is brought to the one that pixman computes in and back, so that pixman sees neither
// straight alpha nor unused bytes, nor more pixels than its coordinates can count.
#include <pixman.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <vector>

#include "workbench/pictures/drawing.h"
#include "workbench/pictures/drawing_roads.h"
#include "workbench/pictures/layout.h"

namespace workbench {

namespace {

constexpr int tileSide = 256;
constexpr double longestWindow = 16384;  // pixman counts to 32767

struct ImageReleaser {
    void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};
using Image = std::unique_ptr<pixman_image_t, ImageReleaser>;

/// Pixels [begin, end) of an axis.
struct Range {
    int begin;
    int end;
    int Length() const { return end - begin; }
};

/// The source pixels that a range of destination pixels can be made of, within `size`: one more on
/// each side than their edges say, for interpolation.
Range SourceRange(const Axis& axis, Range pixels, int size) {
    const double first = std::floor(pixels.begin * axis.scale + axis.offset) - 1.0;
    const double last = std::ceil(pixels.end * axis.scale + axis.offset) + 1.0;
    return {static_cast<int>(std::clamp(first, 0.0, size - 1.0)),
            static_cast<int>(std::clamp(last, 1.0, static_cast<double>(size)))};
}

/// How many destination pixels to do at once, so that their source fits into a window.
int TileLength(const Axis& axis) {
    return std::clamp(static_cast<int>(longestWindow / axis.scale), 1, tileSide);
}

/// A block of pixels that pixman can work on.
class Tile {
  public:
    Tile(pixman_format_code_t format, int width, int height)
        : words_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
          width_(width),
          image_(pixman_image_create_bits(format, width, height, words_.data(), width * 4)) {
        if (image_ == nullptr) throw std::bad_alloc();
    }

    pixman_image_t* Pixman() const { return image_.get(); }
    std::span<std::uint32_t> Row(int y) {
        return std::span(words_).subspan(static_cast<std::size_t>(y) * width_, width_);
    }

  private:
    std::vector<std::uint32_t> words_;
    std::size_t width_;
    Image image_;
};

/// A window of a picture, premultiplied.
Tile ReadTile(const Picture& picture, Range columns, Range rows) {
    Tile tile(PIXMAN_a8r8g8b8, columns.Length(), rows.Length());
    const Layout layout = LayoutOf(picture.Layout());
    for (int y = rows.begin; y < rows.end; ++y) {
        const auto words = picture.Row(y).subspan(columns.begin, columns.Length());
        std::transform(words.begin(), words.end(), tile.Row(y - rows.begin).begin(),
                       [&layout](std::uint32_t word) { return ToPremultiplied(word, layout); });
    }
    return tile;
}

/// A window of a source's mask as opacities; opaque beyond the mask's own size.
Tile ReadMask(const Picture& mask, Range columns, Range rows) {
    constexpr std::uint32_t opaque = 0xFF000000;
    Tile tile(PIXMAN_a8r8g8b8, columns.Length(), rows.Length());
    for (int y = rows.begin; y < rows.end; ++y) {
        const auto opacities = tile.Row(y - rows.begin);
        for (int x = columns.begin; x < columns.end; ++x) {
            const bool masked = x < mask.Width() && y < mask.Height();
            opacities[x - columns.begin] =
                masked ? std::uint32_t{MaskOpacity(mask.At(x, y))} << 24U : opaque;
        }
    }
    return tile;
}

/// Stores what drawing changed; untouched pixels keep their exact words, which a way through
/// premultiplied alpha and back would not keep in every layout.
void WriteTile(Picture& picture, Tile& before, Tile& after, Range columns, Range rows) {
    const Layout layout = LayoutOf(picture.Layout());
    for (int y = rows.begin; y < rows.end; ++y) {
        const auto words = picture.Row(y).subspan(columns.begin, columns.Length());
        const auto old = before.Row(y - rows.begin);
        const auto drawn = after.Row(y - rows.begin);
        for (std::size_t x = 0; x < words.size(); ++x) {
            if (drawn[x] != old[x]) words[x] = FromPremultiplied(drawn[x], layout);
        }
    }
}

/// Lets `tile`, a window of the source that begins at the given pixels, be sampled as the drawing
/// scales it, beginning with the destination pixels given.
void SetScaling(Tile& tile, const Drawing& drawing, Range columns, Range rows, Range fromColumns,
                Range fromRows) {
    if (!drawing.IsScaled()) return;
    const auto start = [](const Axis& axis, Range pixels, Range from) {
        return pixman_double_to_fixed(pixels.begin * axis.scale + axis.offset - from.begin);
    };
    pixman_transform_t transform{};
    pixman_transform_init_scale(&transform, pixman_double_to_fixed(drawing.columns.scale),
                                pixman_double_to_fixed(drawing.rows.scale));
    transform.matrix[0][2] = start(drawing.columns, columns, fromColumns);
    transform.matrix[1][2] = start(drawing.rows, rows, fromRows);
    pixman_image_set_transform(tile.Pixman(), &transform);
    pixman_image_set_filter(tile.Pixman(), PIXMAN_FILTER_BILINEAR, nullptr, 0);
    pixman_image_set_repeat(tile.Pixman(), PIXMAN_REPEAT_PAD);
}

/// The window of the source that a tile needs: exactly its pixels, or all that scaling may touch.
Range Window(const Drawing& drawing, const Axis& axis, Range pixels, int size) {
    if (drawing.IsScaled()) return SourceRange(axis, pixels, size);
    return {axis.SourceOf(pixels.begin), axis.SourceOf(pixels.end)};
}

void DrawTile(Picture& destination, const Picture& source, const Picture* mask,
              const Drawing& drawing, Range columns, Range rows) {
    const Range fromColumns = Window(drawing, drawing.columns, columns, source.Width());
    const Range fromRows = Window(drawing, drawing.rows, rows, source.Height());
    Tile from = ReadTile(source, fromColumns, fromRows);
    SetScaling(from, drawing, columns, rows, fromColumns, fromRows);
    std::unique_ptr<Tile> opacities;
    if (mask != nullptr) {
        opacities = std::make_unique<Tile>(ReadMask(*mask, fromColumns, fromRows));
        SetScaling(*opacities, drawing, columns, rows, fromColumns, fromRows);
    }
    Tile before = ReadTile(destination, columns, rows);
    Tile after = ReadTile(destination, columns, rows);
    pixman_image_composite32(PIXMAN_OP_OVER, from.Pixman(),
                             opacities == nullptr ? nullptr : opacities->Pixman(), after.Pixman(),
                             0, 0, 0, 0, 0, 0, columns.Length(), rows.Length());
    WriteTile(destination, before, after, columns, rows);
}

}  // namespace

void DrawOnBitmap(Picture& destination, const Picture& source, const Picture* mask,
                  const Drawing& drawing) {
    const int width = TileLength(drawing.columns);
    const int height = TileLength(drawing.rows);
    // pixman's factors end at 32767; what would be less than a dot is not drawn.
    if (std::max(drawing.columns.scale, drawing.rows.scale) > longestWindow) return;
    for (int y = drawing.rows.begin; y < drawing.rows.end; y += height) {
        const Range rows{y, std::min(y + height, drawing.rows.end)};
        for (int x = drawing.columns.begin; x < drawing.columns.end; x += width) {
            DrawTile(destination, source, mask, drawing,
                     {x, std::min(x + width, drawing.columns.end)}, rows);
        }
    }
}

}  // namespace workbench
