// Labelled rows of pictures on one large picture. Pictures are shown pixel by pixel, never scaled,
// since it is their pixels that the sheet is about. Used by the demonstration.
#pragma once

#include <string>
#include <vector>

#include "workbench/files/decoding.h"

namespace workbench {

/// A picture with its label below it. Transparency shows a checkerboard.
struct Tile {
    GdImage image;
    std::string label;
    std::string note;  // a second, smaller line; may be empty
};

struct TileRow {
    std::string heading;
    std::vector<Tile> tiles;
};

struct ContactSheet {
    std::string title;
    std::vector<std::string> explanation;  // lines
    std::vector<TileRow> rows;

    /// Throws std::bad_alloc, or FileError if there is no typeface.
    GdImage Draw() const;
};

/// A new opaque or transparent truecolor image. Throws std::bad_alloc.
GdImage NewImage(int width, int height, int color);

/// A copy of a part of the image; what lies outside it is transparent.
GdImage Cropped(const gdImage& image, int x, int y, int width, int height);

/// Every pixel as a square of `factor` pixels.
GdImage Magnified(const gdImage& image, int factor);

}  // namespace workbench
