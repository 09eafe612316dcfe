// Division of sums of bytes by the length of their box, without dividing.
#pragma once

#include <cstdint>

namespace zvk::kernels {

// The quotient of a 16-bit sum by the box length, as the upper half of a product and a shift.
//
// With k = 16 + shift and e = multiplier * d - 2^k, the product divided by 2^k exceeds n / d by
// n e / (d 2^k). That is less than 1 / d, and so does not reach the next whole number, while
// n e < 2^k (T. Granlund and P. L. Montgomery, "Division by Invariant Integers using
// Multiplication", 1994).
struct Quotient {
    std::uint16_t multiplier;
    std::int32_t shift;

    // Whether the quotients of all sums of a box of `boxLength` bytes and `addend` are exact this
    // way.
    static constexpr bool Exists(std::int32_t boxLength, std::int32_t addend = 0);
    static constexpr Quotient By(std::int32_t boxLength);
};

namespace quotient {

constexpr std::int32_t ShiftFor(std::int32_t boxLength) {
    std::int32_t shift = 0;
    while ((2 << shift) < boxLength)
        ++shift;
    return shift;
}

constexpr std::int64_t MultiplierFor(std::int32_t boxLength) {
    const std::int64_t power = std::int64_t{1} << (16 + ShiftFor(boxLength));
    return (power + boxLength - 1) / boxLength;
}

}  // namespace quotient

constexpr bool Quotient::Exists(std::int32_t boxLength, std::int32_t addend) {
    const std::int64_t greatestSum = 255 * std::int64_t{boxLength} + addend;
    if (greatestSum > 0xFFFF) return false;
    const std::int64_t power = std::int64_t{1} << (16 + quotient::ShiftFor(boxLength));
    const std::int64_t excess = quotient::MultiplierFor(boxLength) * boxLength - power;
    return quotient::MultiplierFor(boxLength) <= 0xFFFF && greatestSum * excess < power;
}

constexpr Quotient Quotient::By(std::int32_t boxLength) {
    return {.multiplier = static_cast<std::uint16_t>(quotient::MultiplierFor(boxLength)),
            .shift = quotient::ShiftFor(boxLength)};
}

}  // namespace zvk::kernels
