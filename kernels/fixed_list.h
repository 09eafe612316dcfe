// Contribution lists as the kernels along the rows read them: weights as fixed-point numbers of two
// digits, with bounds on what lies below each digit.
#pragma once

#include <cstdint>

#include "kernels/contribution.h"
#include "kernels/row_layout.h"

namespace zvk::kernels {

inline constexpr std::int32_t highDigitShift = 16;
inline constexpr std::int32_t notMirrored = -1;

inline constexpr std::int32_t weightsPerGroup = PixelsAtOnce(RowLayout::Bytes);

// Weights of a group of pixels as bytes, all of them signed: coarse digits are low + 2^8 middle +
// 2^16 high.
struct WeightBytes {
    std::int8_t low[weightsPerGroup];
    std::int8_t middle[weightsPerGroup];
    std::int8_t high[weightsPerGroup];
    std::int8_t fine[weightsPerGroup];
};

// The weights of one destination coordinate, one per place from `first` on. Places count source
// coordinates, and may have a few that are none before the first.
//
// Lists for kernels that multiply words have `low`, `fine` and `high`. A weight's coarse digit may
// have more than 16 bits: `high` holds what is above `low`, in units of 2^16, of those weights that
// need it and of those between them. Lists for kernels that multiply bytes have `bytes` instead.
// Lists that have no weights have none of these.
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
    const WeightBytes* bytes;  // one for each group
    const ContributionList* exact;
    // These are whole groups of the layout that the list is for.
    std::int32_t first;
    std::int32_t count;
    std::int32_t highFirst;  // of the first weight with a high part, counted from `first`
    std::int32_t highCount;
    std::int32_t end;  // behind the last place that the list names, also if it has no weights here
    bool hasLowBytes;  // whether coarse digits are low bytes alone
    bool addsExactly;  // whether the definition's products add up to the same sum in any order
    std::int32_t shift;
    std::int32_t bias;
    std::int32_t slack;
    std::int32_t fineShift;
    std::int32_t fineBias;
    std::int32_t fineSlack;
    // 0 or 1 if one half of the weights mirrors the other: where all pixels and their mirror images
    // add up to s, the byte is (s + mirrored) / 2, rounded down. Else `notMirrored`.
    std::int32_t mirrored;
};

}  // namespace zvk::kernels
