// Scaled weights and weight tables.
//
// Why there is a multiplier for almost every weight w below 1: trunc(c w) is the same for all w
// between two neighbouring fractions with denominators up to 255, and such neighbours are at least
// 1 / (255 * 254) apart (Farey sequence), more than the 1 / 65536 between two multipliers. So one
// of the two multiples of 1 / 65536 next to w lies in the same interval. Only next to such a
// fraction may products round to a whole number for one value and not for another, and then there
// is none; all 256 values are tried.
#include "kernels/drawing_weights.h"

#include <cstring>

#include "kernels/arithmetic.h"

namespace zvk::kernels {

namespace {

// Without an early exit, which would cost more than it saves where the loop runs in vectors.
bool ScalesAllBytes(double weight, std::int32_t multiplier) {
    std::int32_t differences = 0;
    for (std::int32_t value = 0; value < 256; ++value)
        differences |= (value * multiplier >> 16) ^ static_cast<std::int32_t>(value * weight);
    return differences == 0;
}

// The scaled form of what is left to the destination. It adds nothing unless it is above 0.
std::optional<ScaledWeight> ScaleRest(double remaining) {
    return ScaleWeight(remaining > 0.0 ? remaining : 0.0);
}

// A column of the source that a pixel takes from, and the weights.
struct EndColumn {
    std::int64_t column;
    ScaledWeight above;
    ScaledWeight below;
    ScaledWeight rest;
};

void DrawEnd(const RowDrawing& job, const EndColumn& end) {
    const std::uint8_t* const above = job.source.above.pixels + end.column * bytesPerPixelWord;
    const std::uint8_t* const below = job.source.below.pixels + end.column * bytesPerPixelWord;
    std::uint8_t* const own = job.destination + job.begin * bytesPerPixelWord;
    const auto channel = [&](std::uint8_t sourcePlace, std::uint8_t place) {
        return ClampToByte(end.above.Scale(above[sourcePlace]) +
                           end.below.Scale(below[sourcePlace]) + end.rest.Scale(own[place]));
    };
    const ChannelOrder& source = job.source.order;
    const std::uint32_t pixel =
        OpaquePixel(job.order, channel(source.red, job.order.red),
                    channel(source.green, job.order.green), channel(source.blue, job.order.blue));
    std::memcpy(own, &pixel, sizeof pixel);
}

}  // namespace

std::optional<ScaledWeight> ScaleWeight(double weight) {
    if (weight == 1.0) return ScaledWeight{.multiplier = 0, .isOne = true};
    if (!(weight >= 0.0 && weight < 1.0)) return std::nullopt;
    const auto below = static_cast<std::int32_t>(weight * 65536.0);
    for (const std::int32_t multiplier : {below, below + 1}) {
        // 65536, which 16 bits do not hold, would leave 1 as it is; no weight below 1 does.
        if (ScalesAllBytes(weight, multiplier)) {
            return ScaledWeight{.multiplier = static_cast<std::uint16_t>(multiplier),
                                .isOne = false};
        }
    }
    return std::nullopt;
}

// What remains is subtracted from in the order of the samples.
std::optional<PlainWeights> PlainWeightsFor(const SampleWeights& weights) {
    const auto topLeft = ScaleWeight(weights.topLeft);
    const auto topRight = ScaleWeight(weights.topRight);
    const auto bottomRight = ScaleWeight(weights.bottomRight);
    const auto bottomLeft = ScaleWeight(weights.bottomLeft);
    if (!topLeft || !topRight || !bottomRight || !bottomLeft) return std::nullopt;
    const auto rest = ScaleRest(
        (((1.0 - weights.topLeft) - weights.topRight) - weights.bottomRight) - weights.bottomLeft);
    const auto leftRest = ScaleRest((1.0 - weights.topRight) - weights.bottomRight);
    const auto rightRest = ScaleRest((1.0 - weights.topLeft) - weights.bottomLeft);
    if (!rest) return std::nullopt;
    return PlainWeights{*topLeft, *topRight, *bottomRight, *bottomLeft, *rest, leftRest, rightRest};
}

void DrawLeftEnd(const RowDrawing& job, const PlainWeights& weights) {
    if (!weights.leftRest) return DrawRow(job);
    DrawEnd(job, {.column = 0,
                  .above = weights.topRight,
                  .below = weights.bottomRight,
                  .rest = *weights.leftRest});
}

void DrawRightEnd(const RowDrawing& job, const PlainWeights& weights) {
    if (!weights.rightRest) return DrawRow(job);
    DrawEnd(job, {.column = job.source.width - 1,
                  .above = weights.topLeft,
                  .below = weights.bottomLeft,
                  .rest = *weights.rightRest});
}

void WeightTables::Fill(const SampleWeights& weights, bool isMasked) {
    topLeft[0] = weights.topLeft;
    topRight[0] = weights.topRight;
    bottomRight[0] = weights.bottomRight;
    bottomLeft[0] = weights.bottomLeft;
    if (!isMasked) return;
    for (int value = 0; value < 256; ++value) {
        topLeft[value] = MaskedWeight(value, weights.topLeft);
        topRight[value] = MaskedWeight(value, weights.topRight);
        bottomRight[value] = MaskedWeight(value, weights.bottomRight);
        bottomLeft[value] = MaskedWeight(value, weights.bottomLeft);
    }
}

}  // namespace zvk::kernels
