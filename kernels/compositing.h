// The row of fractional drawing as it is defined: every destination pixel takes up to four source
// pixels by their weights, and the rest from itself.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// The weights of the source pixels around a destination pixel, before any mask.
struct SampleWeights {
    double topLeft;
    double topRight;
    double bottomRight;
    double bottomLeft;
};

// One row of pixels; `pixels` is null where there is no such row.
struct PixelRow {
    const std::uint8_t* pixels;
    const std::uint8_t* mask;  // the mask's row beside it, or null: nothing is masked
};

// The source as it lies around one destination row.
struct SourceRows {
    PixelRow above;  // of the two samples at the top
    PixelRow below;  // of the two samples at the bottom
    ChannelOrder order;
    std::int64_t width;      // in pixels
    std::uint8_t maskByte;   // position of the mask's value within its pixels
    std::int64_t maskWidth;  // in pixels; columns at or beyond it read as 0
};

// A job of drawing over the columns `begin` to before `end` of a row, in place. Column X takes the
// source columns X - offset - 1 and X - offset; those outside the source contribute nothing. Every
// pixel comes out opaque.
struct RowDrawing {
    SourceRows source;
    std::int32_t offset;
    SampleWeights weights;
    ChannelOrder order;
    std::int64_t begin;
    std::int64_t end;
    std::uint8_t* destination;  // the row's first pixel
};

// Rows below each other that are drawn alike, and the distances in bytes from each to the next.
struct RowRun {
    std::int64_t count;
    std::int64_t sourceStep;
    std::int64_t destinationStep;
};

// Draws from left to right: a source that shares memory with the destination is read as it has
// become.
void DrawRow(const RowDrawing& job);

// A sample's weight under a mask value: white is fully transparent, black fully opaque.
inline double MaskedWeight(int maskValue, double weight) {
    return ((255 - maskValue) * weight) / 255.0;
}

}  // namespace zvk::kernels
