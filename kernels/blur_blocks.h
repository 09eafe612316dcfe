// The blur four rows at a time, with sums of 16 bits: what the vector kernels do where nobody looks
// in between.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// Rows that go through the blur together. A block holds, for every column, one pixel of each.
inline constexpr int blurRowsAtOnce = 4;
inline constexpr std::int64_t blockColumnBytes = blurRowsAtOnce * bytesPerPixelWord;

// The quotient of a 16-bit sum by the box length, as the upper half of a product and a shift.
//
// With k = 16 + shift and e = multiplier * d - 2^k, the product divided by 2^k exceeds n / d by
// n e / (d 2^k). That is less than 1 / d, and so does not reach the next whole number, while
// n e < 2^k (T. Granlund and P. L. Montgomery, "Division by Invariant Integers using
// Multiplication", 1994).
struct Quotient {
    std::uint16_t multiplier;
    std::int32_t shift;

    // Whether the quotients of all sums of a box of `boxLength` bytes are exact this way.
    static constexpr bool Exists(std::int32_t boxLength);
    static constexpr Quotient By(std::int32_t boxLength);
};

namespace quotient {

constexpr std::int32_t ShiftFor(std::int32_t boxLength) {
    std::int32_t shift = 0;
    while ((2 << shift) <= boxLength)
        ++shift;
    return shift;
}

constexpr std::int64_t MultiplierFor(std::int32_t boxLength) {
    const std::int64_t power = std::int64_t{1} << (16 + ShiftFor(boxLength));
    return (power + boxLength - 1) / boxLength;
}

}  // namespace quotient

constexpr bool Quotient::Exists(std::int32_t boxLength) {
    const std::int64_t greatestSum = 255 * std::int64_t{boxLength};
    if (greatestSum > 0xFFFF) return false;
    const std::int64_t power = std::int64_t{1} << (16 + quotient::ShiftFor(boxLength));
    const std::int64_t excess = quotient::MultiplierFor(boxLength) * boxLength - power;
    return quotient::MultiplierFor(boxLength) <= 0xFFFF && greatestSum * excess < power;
}

constexpr Quotient Quotient::By(std::int32_t boxLength) {
    return {.multiplier = static_cast<std::uint16_t>(quotient::MultiplierFor(boxLength)),
            .shift = quotient::ShiftFor(boxLength)};
}

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
    std::uint8_t* destinations[blurRowsAtOnce];
};

}  // namespace zvk::kernels
