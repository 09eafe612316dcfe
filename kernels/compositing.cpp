// The scalar definition of fractional drawing's row.
//
// Exactness: weights are doubles, each product of a channel and a weight is truncated to 32 bits by
// itself, in the order top left, top right, bottom right, bottom left, destination; the sums wrap
// and are clamped once at the end. What is not a number or out of range truncates to the most
// negative integer.
#include "kernels/compositing.h"

#include <cstring>

#include "kernels/arithmetic.h"

namespace zvk::kernels {

namespace {

// What one destination pixel has taken so far.
struct PixelSums {
    std::int32_t red = 0;
    std::int32_t green = 0;
    std::int32_t blue = 0;
    double remaining = 1.0;

    void Add(const std::uint8_t* pixel, const ChannelOrder& order, double weight) {
        red = WrappingAdd(red, TruncateToInt32(pixel[order.red] * weight));
        green = WrappingAdd(green, TruncateToInt32(pixel[order.green] * weight));
        blue = WrappingAdd(blue, TruncateToInt32(pixel[order.blue] * weight));
    }
};

double EffectiveWeight(const SourceRows& source, const PixelRow& row, std::int32_t column,
                       double weight) {
    if (row.mask == nullptr) return weight;
    const std::int64_t offset = std::int64_t{column} * bytesPerPixelWord + source.maskByte;
    return MaskedWeight(column < source.maskWidth ? row.mask[offset] : 0, weight);
}

void TakeSample(PixelSums& sums, const SourceRows& source, const PixelRow& row, std::int32_t column,
                double weight) {
    if (row.pixels == nullptr || column < 0 || column >= source.width) return;
    const double effective = EffectiveWeight(source, row, column, weight);
    sums.Add(row.pixels + std::int64_t{column} * bytesPerPixelWord, source.order, effective);
    sums.remaining -= effective;
}

}  // namespace

void DrawRow(const RowDrawing& job) {
    const SourceRows& source = job.source;
    for (std::int64_t x = job.begin; x < job.end; ++x) {
        std::uint8_t* destination = job.destination + x * bytesPerPixelWord;
        const auto right = WrappingSubtract(static_cast<std::int32_t>(x), job.offset);
        const auto left = WrappingSubtract<std::int32_t>(right, 1);
        PixelSums sums;
        TakeSample(sums, source, source.above, left, job.weights.topLeft);
        TakeSample(sums, source, source.above, right, job.weights.topRight);
        TakeSample(sums, source, source.below, right, job.weights.bottomRight);
        TakeSample(sums, source, source.below, left, job.weights.bottomLeft);
        if (sums.remaining > 0.0) sums.Add(destination, job.order, sums.remaining);
        const std::uint32_t pixel = OpaquePixel(job.order, ClampToByte(sums.red),
                                                ClampToByte(sums.green), ClampToByte(sums.blue));
        std::memcpy(destination, &pixel, sizeof pixel);
    }
}

}  // namespace zvk::kernels
