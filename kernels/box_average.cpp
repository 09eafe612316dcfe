// The scalar definition of the rows of fast scaling.
//
// Exactness: a channel is trunc((0.5 + boxHeight * rowSum) / (boxWidth * boxHeight)) in double. The
// row counts boxHeight times, and adding whole numbers to 0.5 is exact as long as they stay below
// 2^52, so one multiplication gives what repeated additions give. Rounded it is
// trunc(boxHeight * rowSum / (boxWidth * boxHeight) + 0.5), the resampler's mean.
#include "kernels/box_average.h"

#include <cstring>

#include "kernels/arithmetic.h"

namespace zvk::kernels {

namespace {

struct RowSums {
    std::int64_t red = 0;
    std::int64_t green = 0;
    std::int64_t blue = 0;
};

RowSums SumPixels(const std::uint8_t* pixel, const ChannelOrder& order, std::int64_t count) {
    RowSums sums;
    for (; count > 0; --count, pixel += bytesPerPixelWord) {
        sums.red += pixel[order.red];
        sums.green += pixel[order.green];
        sums.blue += pixel[order.blue];
    }
    return sums;
}

void AverageRow(const RowAveraging& job, const std::uint8_t* source, std::uint8_t* destination) {
    const auto count = static_cast<double>(job.boxWidth * job.boxHeight);
    const auto mean = [&](std::int64_t rowSum) -> std::uint32_t {
        const double sum = static_cast<double>(job.boxHeight) * static_cast<double>(rowSum);
        if (job.rounded) return ClampToByte(TruncateToInt32(sum / count + 0.5));
        return ClampToByte(TruncateToInt32((0.5 + sum) / count));
    };
    const bool isEmpty = job.sourceWidth < 1 || job.boxHeight < 1;
    for (std::int64_t x = 0; x < job.width; ++x) {
        std::uint32_t pixel = OpaquePixel(job.order, 0, 0, 0);
        if (!isEmpty) {
            const std::int64_t offset = std::int64_t{job.starts[x]} * bytesPerPixelWord;
            const RowSums sums = SumPixels(source + offset, job.sourceOrder, job.boxWidth);
            pixel = OpaquePixel(job.order, mean(sums.red), mean(sums.green), mean(sums.blue));
        }
        std::memcpy(destination + x * bytesPerPixelWord, &pixel, sizeof pixel);
    }
}

}  // namespace

void AverageRows(const RowAveraging& job) {
    for (int row = 0; row < job.rowCount; ++row)
        AverageRow(job, job.sources[row], job.destinations[row]);
}

}  // namespace zvk::kernels
