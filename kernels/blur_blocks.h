// The blur four rows at a time, with sums of 16 bits: what the vector kernels do where nobody looks
// in between.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"
#include "kernels/quotient.h"

namespace zvk::kernels {

// Rows that go through the blur together. A block holds, for every column, one pixel of each.
inline constexpr int blurRowsAtOnce = 4;
inline constexpr std::int64_t blockColumnBytes = blurRowsAtOnce * bytesPerPixelWord;

// Adds `times` times the bytes of a row of `width` pixels to sums of 16 bits, which wrap.
struct ColumnSumming {
    const std::uint8_t* row;
    std::int32_t times;
    std::int64_t width;
    std::uint16_t* sums;
};

// Takes the means of a block of rows and moves the boxes on: behind each row, one row of the source
// leaves every box and one enters.
struct ColumnBlurring {
    const std::uint8_t* leaving[blurRowsAtOnce];
    const std::uint8_t* entering[blurRowsAtOnce];
    const std::uint8_t* ahead[blurRowsAtOnce];  // rows that enter next, to be requested
    std::uint16_t* sums;  // four per pixel, room for whole groups of four pixels
    std::int64_t width;   // in pixels
    Quotient quotient;
    ChannelOrder sourceOrder;
    ChannelOrder order;   // of the block
    std::uint8_t* block;  // room for whole groups of four columns
};

// Averages the rows of a block along boxes of `radius` pixels to both sides.
struct RowBlurring {
    const std::uint8_t* block;
    std::int64_t sourceWidth;  // columns of the block
    std::int32_t radius;
    Quotient quotient;
    ChannelOrder sourceOrder;  // in which the block is read
    ChannelOrder order;        // in which the rows are written
    std::int64_t width;        // pixels to write
    std::int32_t rowCount;     // rows to write
    bool streams;              // whether the result is stored past the caches
    std::uint8_t* destinations[blurRowsAtOnce];
};

}  // namespace zvk::kernels
