// Lays out and draws contact sheets: tiles from left to right, rows as high as their highest tile.
// It draws with libgd alone and calls no host.
#include "workbench/reports/contact_sheet.h"

#include <algorithm>
#include <new>

#include "workbench/reports/lettering.h"

namespace workbench {
namespace {

constexpr int margin = 28;
constexpr int gap = 18;
constexpr int headingHeight = 34;
constexpr int labelHeight = 20;
constexpr int noteHeight = 16;
constexpr int rowGap = 16;
constexpr int titleHeight = 40;
constexpr int explanationHeight = 20;

constexpr int paper = 0xF5F4F1;
constexpr int frame = 0xC8C6C0;
constexpr int lightSquare = 0xFFFFFF;
constexpr int darkSquare = 0xD9D9D9;

const TextStyle titleStyle{Typeface::Bold, 17.0, 0x1B2A3A};
const TextStyle explanationStyle{Typeface::Regular, 10.0, 0x505050};
const TextStyle headingStyle{Typeface::Bold, 11.5, 0x1B2A3A};
const TextStyle labelStyle{Typeface::Regular, 10.0, 0x202020};
const TextStyle noteStyle{Typeface::Regular, 8.5, 0x6A6A6A};

int TileWidth(const Tile& tile) {
    return std::max({tile.image->sx, LineWidth(tile.label, labelStyle),
                     tile.note.empty() ? 0 : LineWidth(tile.note, noteStyle)});
}

int RowWidth(const TileRow& row) {
    int width = -gap;
    for (const Tile& tile : row.tiles)
        width += TileWidth(tile) + gap;
    return std::max(width, LineWidth(row.heading, headingStyle));
}

int TilesHeight(const TileRow& row) {
    int height = 0;
    for (const Tile& tile : row.tiles)
        height = std::max(height, tile.image->sy);
    return height;
}

bool HasNotes(const TileRow& row) {
    return std::any_of(row.tiles.begin(), row.tiles.end(),
                       [](const Tile& tile) { return !tile.note.empty(); });
}

int RowHeight(const TileRow& row) {
    return (row.heading.empty() ? 0 : headingHeight) + TilesHeight(row) + labelHeight +
           (HasNotes(row) ? noteHeight : 0) + rowGap;
}

void DrawCheckerboard(gdImage& sheet, int left, int top, const gdImage& tile) {
    constexpr int square = 8;
    for (int y = 0; y < tile.sy; ++y) {
        for (int x = 0; x < tile.sx; ++x) {
            const bool isDark = ((x / square + y / square) & 1) != 0;
            gdImageSetPixel(&sheet, left + x, top + y, isDark ? darkSquare : lightSquare);
        }
    }
}

void DrawTile(gdImage& sheet, int left, int top, const Tile& tile) {
    gdImage* const image = tile.image.get();
    const int labelTop = top + image->sy;
    gdImageRectangle(&sheet, left - 1, top - 1, left + image->sx, top + image->sy, frame);
    if (image->saveAlphaFlag != 0) DrawCheckerboard(sheet, left, top, *image);
    gdImageAlphaBlending(&sheet, image->saveAlphaFlag);
    gdImageCopy(&sheet, image, left, top, 0, 0, image->sx, image->sy);
    gdImageAlphaBlending(&sheet, 0);
    DrawLine(sheet, left, labelTop + labelHeight - 5, tile.label, labelStyle);
    if (!tile.note.empty())
        DrawLine(sheet, left, labelTop + labelHeight + noteHeight - 6, tile.note, noteStyle);
}

void DrawRow(gdImage& sheet, int top, const TileRow& row) {
    if (!row.heading.empty()) {
        DrawLine(sheet, margin, top + headingHeight - 12, row.heading, headingStyle);
        top += headingHeight;
    }
    int left = margin;
    for (const Tile& tile : row.tiles) {
        DrawTile(sheet, left, top, tile);
        left += TileWidth(tile) + gap;
    }
}

}  // namespace

GdImage ContactSheet::Draw() const {
    int width = LineWidth(title, titleStyle);
    for (const std::string& line : explanation)
        width = std::max(width, LineWidth(line, explanationStyle));
    for (const TileRow& row : rows)
        width = std::max(width, RowWidth(row));
    const int explanationEnd =
        margin + titleHeight + explanationHeight * static_cast<int>(explanation.size());
    int height = explanationEnd;
    for (const TileRow& row : rows)
        height += RowHeight(row);

    GdImage sheet = NewImage(width + 2 * margin, height + margin, paper);
    DrawLine(*sheet, margin, margin + titleHeight - 16, title, titleStyle);
    int top = margin + titleHeight;
    for (const std::string& line : explanation) {
        DrawLine(*sheet, margin, top + explanationHeight - 8, line, explanationStyle);
        top += explanationHeight;
    }
    for (const TileRow& row : rows) {
        DrawRow(*sheet, top, row);
        top += RowHeight(row);
    }
    return sheet;
}

GdImage NewImage(int width, int height, int color) {
    GdImage image(gdImageCreateTrueColor(width, height));
    if (image == nullptr) throw std::bad_alloc();
    gdImageAlphaBlending(image.get(), 0);
    gdImageSaveAlpha(image.get(), gdTrueColorGetAlpha(color) != gdAlphaOpaque ? 1 : 0);
    gdImageFilledRectangle(image.get(), 0, 0, width - 1, height - 1, color);
    return image;
}

GdImage Cropped(const gdImage& image, int x, int y, int width, int height) {
    GdImage part = NewImage(width, height, gdTrueColorAlpha(0, 0, 0, gdAlphaTransparent));
    part->saveAlphaFlag = image.saveAlphaFlag;
    for (int row = std::max(0, -y); row < std::min(height, image.sy - y); ++row) {
        for (int column = std::max(0, -x); column < std::min(width, image.sx - x); ++column)
            part->tpixels[row][column] = image.tpixels[y + row][x + column];
    }
    return part;
}

GdImage Magnified(const gdImage& image, int factor) {
    GdImage large = NewImage(image.sx * factor, image.sy * factor, 0);
    large->saveAlphaFlag = image.saveAlphaFlag;
    for (int y = 0; y < large->sy; ++y) {
        for (int x = 0; x < large->sx; ++x)
            large->tpixels[y][x] = image.tpixels[y / factor][x / factor];
    }
    return large;
}

}  // namespace workbench
