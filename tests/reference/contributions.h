// Which source columns or rows feed each destination column or row, and with what weights.
// Called by the resampler and by tests.
#pragma once

#include <cstdint>
#include <vector>

namespace reference {

enum class Axis { Horizontal, Vertical };

/// One source sample's share.
struct Contribution {
    float weight = 0;
    std::int32_t pixel = 0;
};

/// The shares of one destination coordinate. A list whose memory could not be had is `failed` and
/// holds nothing.
struct ContributionList {
    bool failed = false;
    std::int64_t capacity = 0;
    std::vector<Contribution> entries;
    float weightSum = 0;
};

/// One list per destination coordinate, for source and destination lengths of at least 1. The
/// lists of the destination coordinates in `failed` are left empty.
std::vector<ContributionList> ComputeContributions(int mode, Axis axis, std::int64_t sourceLength,
                                                   std::int64_t destinationLength,
                                                   const std::vector<std::int64_t>& failed = {});

}  // namespace reference
