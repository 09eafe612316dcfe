// What one destination coordinate takes from the source along one axis: the resampler's tables are
// made of these and its kernels read them.
#pragma once

#include <cstdint>

namespace zvk {

// One source sample's share.
struct Contribution {
    float weight;
    std::int32_t pixel;  // source column or row, always inside the source
};
static_assert(sizeof(Contribution) == 8);

// All shares of one destination coordinate, in source order and not normalised: the sum that they
// give is divided by `weightSum`. An empty list gives 0.
struct ContributionList {
    Contribution* entries;
    std::int32_t count;
    float weightSum;
};

}  // namespace zvk
