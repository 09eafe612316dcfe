// The yield decision at the ends of the number range, on clocks that the test sets.
#include "bridge/yielding.h"

#include <gtest/gtest.h>

#include <limits>

#include "fake_host.h"
#include "hostapi/platform.h"

namespace {

std::uint32_t currentTick = 0;
std::uint64_t currentNanoseconds = 0;
int yieldCount = 0;
std::uint32_t ticksPerYield = 0;

void CountYield() {
    ++yieldCount;
    currentTick += ticksPerYield;
}

}  // namespace

std::uint32_t TickCount() {
    return currentTick;
}
std::uint64_t AudioGetCurrentHostTime() {
    return currentNanoseconds / 2;
}
std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime) {
    return hostTime * 2;
}

namespace zvk {
namespace {

using testing::FakeHost;

class Yielding : public ::testing::Test {
  protected:
    Yielding() {
        yieldCount = 0;
        ticksPerYield = 0;
        host.Offer("REALYieldToRB", CountYield);
    }

    FakeHost host;
};

TEST_F(Yielding, WaitsForTheIntervalInTicks) {
    YieldData data{.interval = 3, .last = 0};
    currentTick = 2;
    data.DoYield();
    EXPECT_EQ(yieldCount, 0);
    EXPECT_EQ(data.last, 0);
    currentTick = 3;
    data.DoYield();
    EXPECT_EQ(yieldCount, 1);
    EXPECT_EQ(data.last, 3);
}

TEST_F(Yielding, ReadsTheClockAgainAfterTheYield) {
    YieldData data{.interval = 3, .last = 0};
    currentTick = 10;
    ticksPerYield = 5;
    data.DoYield();
    EXPECT_EQ(data.last, 15);
}

TEST_F(Yielding, CountsAClockThatWentBackAsTimePassed) {
    YieldData data{.interval = 3, .last = 100};
    currentTick = 97;
    data.DoYield();
    EXPECT_EQ(yieldCount, 1);
    data.last = 99;
    data.DoYield();
    EXPECT_EQ(yieldCount, 1);
}

TEST_F(Yielding, WaitsForTheIntervalInMillisecondsAndCutsOffFractions) {
    YieldData data{.interval = -2, .last = 0};
    currentNanoseconds = 1999999;
    data.DoYield();
    EXPECT_EQ(yieldCount, 0);
    currentNanoseconds = 2000000;
    data.DoYield();
    EXPECT_EQ(yieldCount, 1);
    EXPECT_EQ(data.last, 2);
}

TEST_F(Yielding, AlwaysYieldsForTheSmallestIntervalSinceItsNegationWraps) {
    YieldData data{.interval = std::numeric_limits<std::int64_t>::min(), .last = 0};
    currentNanoseconds = 0;
    data.DoYield();
    EXPECT_EQ(yieldCount, 1);
}

TEST_F(Yielding, SurvivesADifferenceThatOverflows) {
    YieldData data{.interval = 1, .last = std::numeric_limits<std::int64_t>::min()};
    currentTick = 5;
    data.DoYield();
    EXPECT_EQ(yieldCount, 1);
}

TEST_F(Yielding, DoesNothingAtAPointWithoutInterval) {
    YieldData data{.interval = 0, .last = 0};
    currentTick = 1000;
    data.Point();
    EXPECT_EQ(yieldCount, 0);
}

TEST(YieldingWithoutTheService, StillTakesTheTime) {
    const FakeHost host;
    YieldData data{.interval = 1, .last = 0};
    currentTick = 8;
    data.DoYield();
    EXPECT_EQ(data.last, 8);
}

}  // namespace
}  // namespace zvk
