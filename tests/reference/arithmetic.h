// The conversions and sums that the language leaves undefined, defined once for the references:
// out-of-range conversions and overflowing 32-bit sums.
// Used by every other file of this folder; shares nothing with the code under test.
#pragma once

#include <cstdint>

namespace reference {

/// Truncates toward zero; INT32_MIN for NaN and for every value whose truncation does not fit.
std::int32_t TruncateToInt32(double value);

/// The sum and the difference modulo 2^32.
std::int32_t WrappingAdd(std::int32_t left, std::int32_t right);
std::int32_t WrappingSubtract(std::int32_t left, std::int32_t right);

/// The value limited to 0 to 255.
std::uint32_t ClampToByte(std::int32_t value);

/// The value limited to `lowest` to `highest`.
std::int64_t Clamp(std::int64_t value, std::int64_t lowest, std::int64_t highest);

}  // namespace reference
