// The conversions and sums that the language leaves undefined, for the references.
// Every branch is written out, so that a reader can check each against the sentence it states.
#include "tests/reference/arithmetic.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace reference {

std::int32_t TruncateToInt32(double value) {
    const double truncated = std::trunc(value);
    if (std::isnan(truncated) || truncated < -2147483648.0 || truncated > 2147483647.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(truncated);
}

std::int32_t WrappingAdd(std::int32_t left, std::int32_t right) {
    const std::uint32_t sum = static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right);
    return static_cast<std::int32_t>(sum);
}

std::int32_t WrappingSubtract(std::int32_t left, std::int32_t right) {
    const std::uint32_t difference =
        static_cast<std::uint32_t>(left) - static_cast<std::uint32_t>(right);
    return static_cast<std::int32_t>(difference);
}

std::uint32_t ClampToByte(std::int32_t value) {
    if (value < 0) {
        return 0;
    }
    if (value > 255) {
        return 255;
    }
    return static_cast<std::uint32_t>(value);
}

std::int64_t Clamp(std::int64_t value, std::int64_t lowest, std::int64_t highest) {
    if (value < lowest) {
        return lowest;
    }
    if (value > highest) {
        return highest;
    }
    return value;
}

}  // namespace reference
