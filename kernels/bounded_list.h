// Contribution lists as the vector kernels read them: normalised single-precision weights with a
// bound on what the rougher arithmetic may be off.
#pragma once

#include <cstdint>

#include "kernels/contribution.h"

namespace zvk::kernels {

// The weights of one destination coordinate, one per source coordinate from `first` on.
//
// Let v be the value that the definition truncates to a byte. For every order of summation in
// single precision, fused or not, bias + sum(weight * channel) lies in [v', v' + slack], where v'
// truncates to the same byte as v. Where both ends of the interval truncate to one byte it is the
// byte of v; elsewhere the list in `exact` decides.
struct BoundedList {
    const float* weights;  // `count` of them
    const ContributionList* exact;
    std::int32_t first;
    std::int32_t count;
    float bias;
    float slack;
};

}  // namespace zvk::kernels
