// The clock and the platform's clock functions over it.
#include <gtest/gtest.h>

#include <cstdint>

#include "hostapi/platform.h"
#include "workbench/host/host.h"

namespace workbench {
namespace {

constexpr std::uint64_t second = 1'000'000'000;

TEST(HostClock, TicksSixtyTimesASecondAndWraps) {
    Host host;
    host.Time().Set(second / 60);  // rounded down, so not quite one tick
    EXPECT_EQ(TickCount(), 0);
    host.Time().Set(second / 60 + 1);
    EXPECT_EQ(TickCount(), 1);
    host.Time().Set(10 * second);
    EXPECT_EQ(TickCount(), 600);
    host.Time().Set((std::uint64_t{1} << 32U) / 60 * second + second);
    EXPECT_EQ(TickCount(), 44);  // (4294967296 / 60 + 1) * 60 - 4294967296
}

TEST(HostClock, HostTimeHasAUnitOfItsOwn) {
    Host host;
    host.Time().Set(second);
    EXPECT_EQ(AudioGetCurrentHostTime(), 24'000'000);
    EXPECT_EQ(AudioConvertHostTimeToNanos(24'000'000), second);
    EXPECT_EQ(AudioConvertHostTimeToNanos(1), 41);
    EXPECT_EQ(AudioConvertHostTimeToNanos(24'000'000'000'000), 1'000'000 * second);
}

TEST(HostClock, MovesWhenToldAndByReadings) {
    Host host;
    Clock& clock = host.Time();
    clock.Set(100);
    EXPECT_EQ(clock.Nanoseconds(), 100);
    EXPECT_EQ(clock.Nanoseconds(), 100);
    clock.Advance(5);
    EXPECT_EQ(clock.Nanoseconds(), 105);
    clock.AdvanceAtEachReading(10);
    EXPECT_EQ(clock.Nanoseconds(), 105);
    EXPECT_EQ(clock.Nanoseconds(), 115);
}

TEST(HostClock, IsRealAtFirstAndAgainWhenTold) {
    Host host;
    const std::uint64_t before = host.Time().Nanoseconds();
    EXPECT_GT(before, 0);
    host.Time().Set(1);
    host.Time().UseRealTime();
    EXPECT_GE(host.Time().Nanoseconds(), before);
}

TEST(HostClock, RunsWithoutAHostToo) {
    EXPECT_GT(AudioGetCurrentHostTime(), 0);
}

}  // namespace
}  // namespace workbench
