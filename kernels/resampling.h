// The two passes of the resampler as they are defined. The vector kernels give the same bytes and
// do the same, several at a time, for those that their bounds do not settle.
#pragma once

#include <cstdint>
#include <span>

#include "kernels/channel_order.h"
#include "kernels/contribution.h"
#include "kernels/pixel_rows.h"

namespace zvk::kernels {

// The mean of what was summed up, rounded half up and clamped; 0 for an empty list, whose mean is
// not a number.
std::uint8_t MeanOf(double sum, float weightSum);

// One channel of one pixel resampled along a row; `channel` is that byte of the row's first pixel.
std::uint8_t ResampleRowChannel(const std::uint8_t* channel, const ContributionList& list);

// One channel of one pixel blended down a column; `offset` is that byte's place within each row.
std::uint8_t ResampleColumnChannel(const PixelRows& rows, std::int64_t offset,
                                   const ContributionList& list);

// Resamples one row of pixels in the given order to one pixel per list, in the same order. Reads
// only the pixels that the lists name; the fourth byte is neither looked at nor written.
void ResampleRow(const std::uint8_t* source, const ChannelOrder& order,
                 std::span<const ContributionList> lists, std::uint8_t* destination);

// Blends the rows that `list` names into one row of `width` opaque pixels in the order `order`.
void ResampleColumns(const PixelRows& rows, const ChannelOrder& rowOrder,
                     const ContributionList& list, const ChannelOrder& order, std::int64_t width,
                     std::uint8_t* destination);

}  // namespace zvk::kernels
