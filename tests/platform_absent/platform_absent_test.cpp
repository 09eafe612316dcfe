// The plugin in a process that has none of the platform's functions: bitmap contexts cannot be
// used, and the yield clocks fall back to the system's monotonic clock in the same units.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <ratio>

#include "tests/platform_absent/tiny_host.h"

namespace platform_absent {
namespace {

constexpr int triangle = 1;

template <typename Unit>
std::int64_t MonotonicClock() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Unit>(now).count();
}

std::int64_t Ticks() {
    return MonotonicClock<std::chrono::duration<std::int64_t, std::ratio<1, 60>>>();
}

std::int64_t Milliseconds() {
    return MonotonicClock<std::chrono::milliseconds>();
}

// Yields during a call on a console picture of two rows with the given yield argument.
int YieldsWith(std::int64_t yield) {
    TinyHost host;
    const LoadedPlugin plugin(host);
    TinyPicture source(2, 2);
    EXPECT_NE(plugin.Scaling(source.Handle(), triangle, 2, 2, yield), nullptr);
    return host.yields;
}

// 4 phases before the writer, one per row, and 3 behind: what a call of two rows yields at most.
constexpr int yieldPoints = 9;

TEST(PlatformAbsent, ConsoleImagesAreScaledAllTheSame) {
    TinyHost host;
    const LoadedPlugin plugin(host);
    TinyPicture source(2, 1);
    source.At(0, 0) = 0x00102030;
    source.At(1, 0) = 0x7F405060;
    const REALpicture result = plugin.Scaling(source.Handle(), triangle, 2, 1, 0);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(TinyPicture::Of(result).At(0, 0), 0x00102030U);
    EXPECT_EQ(TinyPicture::Of(result).At(1, 0), 0x00405060U);
    EXPECT_EQ(TinyPicture::Of(result).references, 1);
    EXPECT_EQ(source.references, 1);
    EXPECT_EQ(source.locks, 0);
}

TEST(PlatformAbsent, ABitmapContextIsUnlockedAndTheResultIsNil) {
    TinyHost host;
    host.kind = REALdescriptionKind::BitmapContext;
    const LoadedPlugin plugin(host);
    TinyPicture source(2, 1);
    EXPECT_EQ(plugin.Scaling(source.Handle(), triangle, 2, 1, 0), nullptr);
    EXPECT_EQ(host.locksGranted, 1);
    EXPECT_EQ(host.locksReturned, 1);
    EXPECT_EQ(source.references, 1);
    EXPECT_TRUE(host.created.empty());
}

TEST(PlatformAbsent, APositiveIntervalIsCountedInTicksOfASixtiethSecond) {
    EXPECT_EQ(YieldsWith(Ticks() + std::int64_t{60} * 60), 0);
    EXPECT_EQ(YieldsWith(Ticks() / 2), 1);
}

TEST(PlatformAbsent, ANegativeIntervalIsCountedInMilliseconds) {
    EXPECT_EQ(YieldsWith(-(Milliseconds() + std::int64_t{1000} * 60)), 0);
    EXPECT_EQ(YieldsWith(-(Milliseconds() / 2)), 1);
}

TEST(PlatformAbsent, TheSmallestIntervalYieldsAtEveryPoint) {
    EXPECT_EQ(YieldsWith(std::numeric_limits<std::int64_t>::min()), yieldPoints);
}

}  // namespace
}  // namespace platform_absent
