// Contribution lists as the kernels along the rows read them: weights as fixed-point numbers of two
// digits, with bounds on what lies below each digit.
#pragma once

#include <cstdint>

#include "kernels/contribution.h"

namespace zvk::kernels {

inline constexpr std::int32_t highDigitShift = 16;
inline constexpr std::int32_t notMirrored = -1;

// The weights of one destination coordinate, one per source coordinate from `first` on.
//
// A weight's coarse digit may have more than 16 bits: `high` holds what is above `low`, in units
// of 2^16, of those weights that need it and of those between them.
//
// Let v be the value that the definition truncates to a byte, C the sum of channel * coarse digit
// and F that of channel * fine. In units of 2^-shift v lies in [C + bias, C + bias + slack]; in
// units of 2^-(shift + fineShift) it lies fineBias to fineBias + fineSlack above (C + half)
// 2^fineShift + F, where half is a half, 2^(shift - 1). Where both ends of an interval have one
// whole part it is the byte of v; where the second interval leaves two, the list in `exact`
// decides.
struct FixedList {
    const std::int16_t* low;   // `count` of them
    const std::int16_t* fine;  // and of these
    const std::int16_t* high;  // `highCount` of them
    const ContributionList* exact;
    std::int32_t first;  // even
    std::int32_t count;  // even
    std::int32_t end;  // behind the last pixel that the list names, also if it has no weights here
    std::int32_t highFirst;  // the place of the first weight with a high part, even
    std::int32_t highCount;  // even
    std::int32_t shift;
    std::int32_t bias;
    std::int32_t slack;
    std::int32_t fineShift;
    std::int32_t fineBias;
    std::int32_t fineSlack;
    bool addsExactly;  // whether the definition's products add up to the same sum in any order
    // 0 or 1 if one half of the weights mirrors the other: where all pixels and their mirror images
    // add up to s, the byte is (s + mirrored) / 2, rounded down. Else `notMirrored`.
    std::int32_t mirrored;
};

}  // namespace zvk::kernels
