// Weights of fractional drawing in the forms that the vector kernels take them in.
#pragma once

#include <cstdint>
#include <optional>

#include "kernels/compositing.h"

namespace zvk::kernels {

// A weight w from 0 to 1 such that trunc(c * w), for every byte c, is c * multiplier / 65536,
// rounded down.
struct ScaledWeight {
    std::uint32_t multiplier;

    // Whether it is 65536, which 16 bits do not hold.
    bool IsOne() const { return multiplier == 65536; }
};

// The scaled form of a weight, or nothing for one below 0, above 1 or not a number, and for some of
// those that hardly differ from a fraction of small numbers.
std::optional<ScaledWeight> ScaleWeight(double weight);

// The weights of the pixels of a row.
struct PlainWeights {
    ScaledWeight topLeft;
    ScaledWeight topRight;
    ScaledWeight bottomRight;
    ScaledWeight bottomLeft;
    ScaledWeight rest;  // of the destination's own pixel, where it takes left and right samples
    // The same at the source's left end, where it takes the right samples, and at its right end,
    // where it takes the left ones; these may have no scaled form, and are never 1.
    std::optional<ScaledWeight> leftRest;
    std::optional<ScaledWeight> rightRest;

    bool HasOne() const {
        return topLeft.IsOne() || topRight.IsOne() || bottomRight.IsOne() || bottomLeft.IsOne() ||
               rest.IsOne();
    }
};

// The scaled forms of weights; nothing for rows of which any weight has none that must.
struct PlainRows {
    explicit PlainRows(const SampleWeights& weights);

    std::optional<PlainWeights> withBoth;
    // For rows that take samples from above only and from below only; the others weigh nothing.
    std::optional<PlainWeights> withAbove;
    std::optional<PlainWeights> withBelow;
};

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
