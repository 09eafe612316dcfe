// Scaled weights and weight tables.
//
// Why there is a multiplier for almost every weight w below 1: trunc(c w) is the same for all w
// between two neighbouring fractions with denominators up to 255, and such neighbours are at least
// 1 / (255 * 254) apart (Farey sequence), more than the 1 / 65536 between two multipliers. So one
// of the two multiples of 1 / 65536 next to w lies in the same interval. Only next to such a
// fraction may products round to a whole number for one value and not for another, and then there
// is none; all 256 values are tried.
#include "kernels/drawing_weights.h"

namespace zvk::kernels {

namespace {

// Without an early exit, which would cost more than it saves where the loop runs in vectors.
bool ScalesAllBytes(double weight, std::int32_t multiplier) {
    std::int32_t differences = 0;
    for (std::int32_t value = 0; value < 256; ++value)
        differences |= (value * multiplier >> 16) ^ static_cast<std::int32_t>(value * weight);
    return differences == 0;
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

std::optional<PlainWeights> PlainWeightsFor(const SampleWeights& weights) {
    const double remaining =
        (((1.0 - weights.topLeft) - weights.topRight) - weights.bottomRight) - weights.bottomLeft;
    const auto topLeft = ScaleWeight(weights.topLeft);
    const auto topRight = ScaleWeight(weights.topRight);
    const auto bottomRight = ScaleWeight(weights.bottomRight);
    const auto bottomLeft = ScaleWeight(weights.bottomLeft);
    // What remains adds nothing unless it is above 0.
    const auto rest = ScaleWeight(remaining > 0.0 ? remaining : 0.0);
    if (!topLeft || !topRight || !bottomRight || !bottomLeft || !rest) return std::nullopt;
    return PlainWeights{*topLeft, *topRight, *bottomRight, *bottomLeft, *rest};
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
