// The blur row by row with sums of 32 bits: what the vector kernels do where somebody looks in
// between, or where a box is too long for sums of 16 bits.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// Adds `times` times the bytes of a row of `width` pixels to their sums.
struct LongSumming {
    const std::uint8_t* row;
    std::int32_t times;
    std::int64_t width;
    std::int32_t* sums;
};

// Writes a row of means and moves the boxes on: one row of the source leaves them and one enters.
// Sums that no picture can have, because it changed in between, are clamped.
struct LongColumnBlurring {
    const std::uint8_t* leaving;
    const std::uint8_t* entering;
    std::int32_t* sums;      // four per pixel
    std::int64_t width;      // in pixels
    std::int32_t boxLength;  // at most 2^23
    ChannelOrder sourceOrder;
    ChannelOrder order;
    std::uint8_t* destination;  // shares no memory with the rows
};

// Averages a row along boxes of `radius` pixels to both sides, edge pixels repeated.
struct LongRowBlurring {
    const std::uint8_t* source;
    ChannelOrder sourceOrder;
    std::int64_t width;  // in pixels
    std::int32_t radius;
    ChannelOrder order;
    std::uint8_t* destination;  // shares no memory with the source
};

}  // namespace zvk::kernels
