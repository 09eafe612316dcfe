// Blocks of neighbouring pixels averaged into opaque ones: the row of fast scaling as it is
// defined, and rows of the resampler whose weights are all the same.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// A job of averaging one source row into one row of opaque pixels.
struct RowAveraging {
    const std::uint8_t* source;
    // A row with as many pixels that is read next, if there is one: it is requested and not read.
    const std::uint8_t* ahead;
    ChannelOrder sourceOrder;
    std::int64_t sourceWidth;  // in pixels; 0 gives black
    // The first source pixel of each block, none before that of the block left of it.
    const std::int32_t* starts;
    std::int64_t boxWidth;   // pixels of a block; blocks lie inside the row
    std::int64_t boxHeight;  // how often the row counts; 0 gives black
    bool rounded;            // whether means are rounded half up instead of truncated
    ChannelOrder order;
    std::int64_t width;  // in pixels
    std::uint8_t* destination;
};

// Every channel of a destination pixel is the mean of its block.
void AverageRow(const RowAveraging& job);

}  // namespace zvk::kernels
