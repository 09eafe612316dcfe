// Contribution lists as the vector kernels read them: normalised single-precision weights with a
// bound on what the rougher arithmetic may be off.
#pragma once

#include <cstdint>

#include "kernels/contribution.h"

namespace zvk::kernels {

// How the bytes of a list are decided.
//
// In two sums the definition's products, rounded to single precision, add up without rounding: in
// one sum of multiples of 2^-12 below 2^10, and in one of what is left of each product. It costs
// about as much as two lists that are settled by their bounds.
enum class Decision : std::uint8_t {
    ByBounds,   // what the bounds leave open by the definition
    ByTwoSums,  // what the bounds leave open in two sums
    InTwoSums,  // all in two sums, since the bounds would often leave something open
    InWholes,   // as the rounded quotient of a sum of whole numbers
};

// The weights of one destination coordinate, one per source coordinate from `first` on.
//
// Let v be the value that the definition truncates to a byte. For every order of summation in
// single precision, fused or not, [t, t + slack] with t = bias + sum(weight * channel) holds some
// v' that truncates to the same byte as v. Where both ends of the interval truncate to one byte it
// is the byte of v.
//
// With a denominator the weights are whole numbers instead, none negative, and the byte is
// sum(weight * channel) / denominator rounded half up.
//
// Where there is an anchor, the definition's own products add up closely: in units that are the
// last place of numbers next to the anchor, and apart from these in what is left of each product.
// With every second entry in sums of their own, all four give the definition's sum give or take
// `closeError`.
struct BoundedList {
    const float* weights;  // `count` of them
    const ContributionList* exact;
    std::int32_t first;
    std::int32_t count;
    float bias;
    float slack;
    bool addsExactly;  // whether the definition's products add up to the same sum in any order
    Decision decision;
    std::int32_t denominator;  // 0 if there is none
    float anchor;              // 0 if there is none
    float closeError;
};

// Lists with a denominator have at most this many weights and that denominator at most, so that
// sums of bytes times weights, and half a denominator, stay below 2^15. Weights are below 128.
inline constexpr std::int32_t mostWholes = 32;
inline constexpr std::int32_t greatestDenominator = 128;

}  // namespace zvk::kernels
