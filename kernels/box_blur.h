// The rows of the box blur: sliding sums over columns, then along rows.
#pragma once

#include <cstdint>

#include "kernels/channel_order.h"

namespace zvk::kernels {

// Sums of the pixels under the box, one per column and channel.
struct ColumnSums {
    std::int32_t* red;
    std::int32_t* green;
    std::int32_t* blue;
};

// Adds `times` times the channels of a row of `width` pixels.
void AddToColumns(const std::uint8_t* row, const ChannelOrder& order, std::int32_t times,
                  std::int64_t width, const ColumnSums& sums);

// Moves every column's box down by one row: takes out one row's channels and adds another's.
void SlideColumns(const std::uint8_t* leaving, const std::uint8_t* entering,
                  const ChannelOrder& order, std::int64_t width, const ColumnSums& sums);

// Writes one row of opaque pixels, each channel its column's sum divided by `boxLength` and
// truncated. Sums that no picture can have, because it changed in between, are clamped.
void WriteColumnMeans(const ColumnSums& sums, std::int32_t boxLength, const ChannelOrder& order,
                      std::int64_t width, std::uint8_t* destination);

// Averages a row of `sourceWidth` pixels along boxes of `radius` pixels to both sides, edge pixels
// repeated, and writes the first `width` as opaque pixels.
void BlurRow(const std::uint8_t* source, const ChannelOrder& sourceOrder, std::int64_t sourceWidth,
             std::int32_t radius, const ChannelOrder& order, std::int64_t width,
             std::uint8_t* destination);

}  // namespace zvk::kernels
