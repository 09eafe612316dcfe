// Drawing one picture into another at a fractional position, pixel after pixel and in place, so
// that pictures which share their memory give what the order of reads and writes gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/reference/image.h"

namespace reference {

/// Pixels that may belong to somebody else: one address per row, each of 4 * `width` bytes.
struct View {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int format = 1;
    std::vector<std::byte*> rows;
};

/// The pixels of an image, for as long as it lives and keeps its size.
View ViewOf(Image& image);

/// Draws `source`, through `mask` unless it is null, into `destination` with its top left corner at
/// (x, y) and the opacity `alpha`. The three may share memory.
void DrawFractionally(const View& destination, const View& source, const View* mask, double x,
                      double y, double alpha);

}  // namespace reference
