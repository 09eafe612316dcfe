// The conversions and sums that the language leaves undefined.
#include "kernels/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zvk {
namespace {

constexpr std::int32_t lowest32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t lowest64 = std::numeric_limits<std::int64_t>::min();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(TruncateToInt32, CutsTowardZero) {
    EXPECT_EQ(TruncateToInt32(2.9), 2);
    EXPECT_EQ(TruncateToInt32(-2.9), -2);
    EXPECT_EQ(TruncateToInt32(2147483647.9), 2147483647);
    EXPECT_EQ(TruncateToInt32(-2147483648.9), lowest32);
}

TEST(TruncateToInt32, GivesTheMostNegativeIntegerForWhatDoesNotFit) {
    for (const double value :
         {2147483648.0, -2147483649.0, 1e300, -1e300, infinity, -infinity, std::nan("")}) {
        EXPECT_EQ(TruncateToInt32(value), lowest32) << value;
    }
}

TEST(TruncateToInt64, GivesTheMostNegativeIntegerForWhatDoesNotFit) {
    EXPECT_EQ(TruncateToInt64(-1.5), -1);
    EXPECT_EQ(TruncateToInt64(-9223372036854775808.0), lowest64);
    for (const double value : {9223372036854775808.0, 1e300, -1e300, infinity, std::nan("")}) {
        EXPECT_EQ(TruncateToInt64(value), lowest64) << value;
    }
}

TEST(ClampToByte, KeepsBytesAndCutsOffTheRest) {
    EXPECT_EQ(ClampToByte(-1), 0);
    EXPECT_EQ(ClampToByte(lowest32), 0);
    EXPECT_EQ(ClampToByte(0), 0);
    EXPECT_EQ(ClampToByte(254), 254);
    EXPECT_EQ(ClampToByte(256), 255);
}

TEST(WrappingArithmetic, WrapsAtBothEnds) {
    EXPECT_EQ(WrappingAdd(lowest32, lowest32), 0);
    EXPECT_EQ(WrappingSubtract<std::int64_t>(0, lowest64), lowest64);
    EXPECT_EQ(WrappingMultiply(std::int32_t{0x40000000}, std::int32_t{4}), 0);
}

}  // namespace
}  // namespace zvk
