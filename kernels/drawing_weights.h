// Weights of fractional drawing in the forms that the vector kernels take them in.
#pragma once

#include <cstdint>
#include <optional>

#include "kernels/compositing.h"

namespace zvk::kernels {

// A weight w from 0 to 1 such that trunc(c * w), for every byte c, is the upper half of the product
// c * multiplier, or c itself where `isOne`.
struct ScaledWeight {
    std::uint16_t multiplier;
    bool isOne;
};

// The scaled form of a weight, or nothing for one below 0, above 1 or not a number.
std::optional<ScaledWeight> ScaleWeight(double weight);

// The weights of the pixels of a row that takes samples from above and below.
struct PlainWeights {
    ScaledWeight topLeft;
    ScaledWeight topRight;
    ScaledWeight bottomRight;
    ScaledWeight bottomLeft;
    ScaledWeight rest;  // of the destination's own pixel, where it takes all four samples
    // The same at the source's left end, where it takes the right samples, and at its right end,
    // where it takes the left ones; these may have no scaled form.
    std::optional<ScaledWeight> leftRest;
    std::optional<ScaledWeight> rightRest;

    bool HasOne() const {
        return topLeft.isOne || topRight.isOne || bottomRight.isOne || bottomLeft.isOne ||
               rest.isOne;
    }
};

// The scaled forms of weights; nothing if any has none that must.
std::optional<PlainWeights> PlainWeightsFor(const SampleWeights& weights);

// Draws column `job.begin` of a row that takes samples from above and below, where it is the one
// that takes only the right samples or only the left ones, and the rows share no memory.
void DrawLeftEnd(const RowDrawing& job, const PlainWeights& weights);
void DrawRightEnd(const RowDrawing& job, const PlainWeights& weights);

// The weights of every mask value; without a mask only the first, of value 0, is used.
struct WeightTables {
    double topLeft[256];
    double topRight[256];
    double bottomRight[256];
    double bottomLeft[256];

    // Fills the tables for all mask values, or with the plain weights in their first entries.
    void Fill(const SampleWeights& weights, bool isMasked);
};

}  // namespace zvk::kernels
