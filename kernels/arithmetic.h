// The conversions and sums that the language leaves undefined, defined once. Every algorithm and
// every kernel uses these, so that no result hangs on a compiler's or a processor's choice.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zvk {

// Truncates toward zero to 32 bits; what is not a number or out of range gives the most negative
// integer, as the processor's own conversion does.
constexpr std::int32_t TruncateToInt32(double value) {
    constexpr double limit = 2147483648.0;
    if (value > -limit - 1.0 && value < limit) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

// Truncates toward zero to 64 bits; what is not a number or out of range gives the most negative
// integer.
constexpr std::int64_t TruncateToInt64(double value) {
    constexpr double limit = 9223372036854775808.0;
    if (value >= -limit && value < limit) return static_cast<std::int64_t>(value);
    return std::numeric_limits<std::int64_t>::min();
}

constexpr std::uint8_t ClampToByte(std::int32_t value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

// Sums, differences and products that wrap like unsigned ones.
template <std::signed_integral Integer>
constexpr Integer WrappingAdd(Integer left, Integer right) {
    using Unsigned = std::make_unsigned_t<Integer>;
    return static_cast<Integer>(static_cast<Unsigned>(left) + static_cast<Unsigned>(right));
}

template <std::signed_integral Integer>
constexpr Integer WrappingSubtract(Integer left, Integer right) {
    using Unsigned = std::make_unsigned_t<Integer>;
    return static_cast<Integer>(static_cast<Unsigned>(left) - static_cast<Unsigned>(right));
}

template <std::signed_integral Integer>
constexpr Integer WrappingMultiply(Integer left, Integer right) {
    using Unsigned = std::make_unsigned_t<Integer>;
    return static_cast<Integer>(static_cast<Unsigned>(left) * static_cast<Unsigned>(right));
}

}  // namespace zvk
