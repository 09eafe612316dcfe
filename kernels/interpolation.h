// The two steps of smooth enlargement as they are defined, over all four bytes of the pixels.
#pragma once

#include <cstdint>

namespace zvk::kernels {

// A job of blending two source rows into a line of numbers, four per pixel.
struct RowInterpolation {
    const std::uint8_t* nearRow;
    const std::uint8_t* farRow;
    float nearWeight;
    float farWeight;
    std::int64_t width;  // in pixels
    float* line;
};

// A job of enlarging a line to a row of pixels.
struct ColumnInterpolation {
    const float* line;            // one pixel more than any index, to be read as the next one
    const std::int32_t* indices;  // of the pixel at or before each destination pixel
    const float* nearWeights;
    const float* farWeights;
    std::int64_t width;      // in pixels
    std::uint32_t byteMask;  // which bytes of every pixel are written, as bits of its word
    std::uint8_t* destination;
};

void InterpolateRows(const RowInterpolation& job);

// Rounds half up and clamps. Bytes outside the mask keep their value.
void InterpolateColumns(const ColumnInterpolation& job);

}  // namespace zvk::kernels
