// The scalar definition of the resampler's passes.
//
// Exactness: along a row the product of an 8-bit value and a 24-bit weight is exact in double, so
// only the order of the additions counts; it is the order of the entries. Down a column the product
// is rounded to single precision before it is widened and added. The two differ on purpose.
#include "kernels/resampling.h"

#include <cstring>

#include "kernels/arithmetic.h"

namespace zvk::kernels {

std::uint8_t MeanOf(double sum, float weightSum) {
    return ClampToByte(TruncateToInt32(sum / static_cast<double>(weightSum) + 0.5));
}

std::uint8_t ResampleRowChannel(const std::uint8_t* channel, const ContributionList& list) {
    double sum = 0.0;
    for (std::int32_t index = 0; index < list.count; ++index) {
        const Contribution& entry = list.entries[index];
        sum += channel[std::int64_t{entry.pixel} * bytesPerPixelWord] *
               static_cast<double>(entry.weight);
    }
    return MeanOf(sum, list.weightSum);
}

std::uint8_t ResampleColumnChannel(const PixelRows& rows, std::int64_t offset,
                                   const ContributionList& list) {
    double sum = 0.0;
    RowCursor cursor(rows);
    for (std::int32_t index = 0; index < list.count; ++index) {
        const Contribution& entry = list.entries[index];
        const auto value = static_cast<float>(cursor.Row(entry.pixel)[offset]);
        sum += static_cast<double>(value * entry.weight);
    }
    return MeanOf(sum, list.weightSum);
}

void ResampleRow(const std::uint8_t* source, const ChannelOrder& order,
                 std::span<const ContributionList> lists, std::uint8_t* destination) {
    for (const ContributionList& list : lists) {
        for (const std::uint8_t channel : {order.red, order.green, order.blue}) {
            destination[channel] = ResampleRowChannel(source + channel, list);
        }
        destination += bytesPerPixelWord;
    }
}

void ResampleColumns(const PixelRows& rows, const ChannelOrder& rowOrder,
                     const ContributionList& list, const ChannelOrder& order, std::int64_t width,
                     std::uint8_t* destination) {
    for (std::int64_t x = 0; x < width; ++x) {
        const auto channel = [&](std::uint8_t byte) {
            return ResampleColumnChannel(rows, x * bytesPerPixelWord + byte, list);
        };
        const std::uint32_t pixel = OpaquePixel(order, channel(rowOrder.red),
                                                channel(rowOrder.green), channel(rowOrder.blue));
        std::memcpy(destination + x * bytesPerPixelWord, &pixel, sizeof pixel);
    }
}

}  // namespace zvk::kernels
