// The two steps of smooth enlargement as they are defined, over all four bytes of the pixels.
#pragma once

#include <cstdint>

namespace zvk::kernels {

// A line has room for this many pixels behind its own. How it holds their numbers is the kernels'
// own affair: those that write it read it.
inline constexpr std::int64_t linePadding = 16;

// A job of blending two source rows into a line of numbers, four per pixel. The last pixel is
// repeated once.
struct RowInterpolation {
    const std::uint8_t* nearRow;
    const std::uint8_t* farRow;
    float nearWeight;
    float farWeight;
    std::int64_t width;  // in pixels, at least 1
    float* line;
};

// A job of enlarging a line to a row of pixels.
struct ColumnInterpolation {
    const float* line;
    std::int64_t lineWidth;       // in pixels, the repeated one apart
    const std::int32_t* indices;  // of the pixel at or before each destination pixel; they ascend
    const float* nearWeights;
    const float* farWeights;
    std::int64_t width;  // in pixels
    // How many pixels each one of the line is the left sample of, with weights that repeat, of
    // which the first are 1 and 0; 0 where that varies.
    std::int64_t factor;
    bool mayFuse;            // whether any rounding of products and sums will do
    std::uint32_t byteMask;  // which bytes of every pixel are written, as bits of its word
    std::uint8_t* destination;
    bool streams;  // whether the result may be stored past the caches
};

void InterpolateRows(const RowInterpolation& job);

// Rounds half up and clamps. Bytes outside the mask keep their value.
void InterpolateColumns(const ColumnInterpolation& job);

}  // namespace zvk::kernels
