// Blocks of neighbouring pixels averaged into opaque ones: the rows of fast scaling as they are
// defined, and rows of the resampler whose weights are all the same.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// At most this many rows are averaged side by side.
inline constexpr int rowsAveraged = 8;

// A job of averaging source rows into a row of opaque pixels each. The rows of the result share no
// memory with those of the source, or there is one of each; where they share it with each other,
// the last one's pixels stay.
struct RowAveraging {
    const std::uint8_t* sources[rowsAveraged];
    // Rows with as many pixels that are read next, if there are any: they are requested and not
    // read.
    const std::uint8_t* ahead[rowsAveraged];
    int rowCount;  // 1 to `rowsAveraged`
    ChannelOrder sourceOrder;
    std::int64_t sourceWidth;  // in pixels; 0 gives black
    // The first source pixel of each block, none before that of the block left of it.
    const std::int32_t* starts;
    std::int64_t boxWidth;   // pixels of a block; blocks lie inside the row
    std::int64_t boxHeight;  // how often the row counts; 0 gives black
    bool rounded;            // whether means are rounded half up instead of truncated
    ChannelOrder order;
    std::int64_t width;  // in pixels
    std::uint8_t* destinations[rowsAveraged];
    // Whether rows of boxes of one pixel may be stored past the caches. They begin whole cache
    // lines apart then.
    bool streams;
};

// Every channel of a destination pixel is the mean of its block. Rows are averaged one after the
// other, from left to right.
void AverageRows(const RowAveraging& job);

}  // namespace zvk::kernels
