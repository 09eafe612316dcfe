// When the plugin gives time back to the host: never for a yield argument of 0, else by the tick
// or millisecond clock that the argument's sign selects. Driven by a clock that tests set.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "tests/reference/yielding.h"
#include "tests/support/session.h"

namespace contract {
namespace {

constexpr int triangle = 1;
constexpr std::int64_t rows = 5;
constexpr std::uint64_t yieldPoints = 7 + rows;
constexpr std::uint64_t second = 1'000'000'000;
constexpr std::uint64_t day = 24 * 60 * 60 * second;

struct Pace {
    std::uint64_t start;  // nanoseconds since the system started
    std::uint64_t step;   // nanoseconds between two looks at the clock
};

std::uint64_t YieldsWith(std::int64_t yield, Pace pace) {
    Session session(Desktop());
    const auto source = session.Create(2, 2);
    session.host().Time().Set(pace.start);
    session.host().Time().AdvanceAtEachReading(pace.step);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, rows, yield));
    return session.Yields();
}

std::int64_t Read(workbench::Clock& clock, std::int64_t interval) {
    if (interval > 0) return clock.Ticks();
    return reference::MillisecondsOf(workbench::Clock::ToNanoseconds(clock.HostTime()));
}

// The same call by the rule alone: one look per yield point, and a second one after a yield.
std::uint64_t YieldsByTheRule(std::int64_t interval, Pace pace) {
    workbench::Clock clock;
    clock.Set(pace.start);
    clock.AdvanceAtEachReading(pace.step);
    std::uint64_t yields = 0;
    std::int64_t last = 0;
    for (std::uint64_t point = 0; point < yieldPoints; ++point) {
        if (!reference::Yields(interval, Read(clock, interval), last)) continue;
        ++yields;
        last = Read(clock, interval);
    }
    return yields;
}

TEST(Yielding, NeverHappensForAnArgumentOfZero) {
    EXPECT_EQ(YieldsWith(0, {day, day}), 0U);
}

TEST(Yielding, NeverLooksAtTheClockForAnArgumentOfZero) {
    Session session(Desktop());
    const auto source = session.Create(2, 2);
    session.host().Time().Set(day);
    session.host().Time().AdvanceAtEachReading(1);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, rows, 0));
    EXPECT_EQ(session.host().Time().Nanoseconds(), day);
}

TEST(Yielding, HappensAtEveryPointOfAClockThatIsFastEnough) {
    EXPECT_EQ(YieldsWith(1, {day, second}), yieldPoints);
    EXPECT_EQ(YieldsWith(-1, {day, second}), yieldPoints);
}

TEST(Yielding, HappensOnceWhileTheClockStands) {
    EXPECT_EQ(YieldsWith(1, {day, 0}), 1U);
    EXPECT_EQ(YieldsWith(-1, {day, 0}), 1U);
}

// The scale methods keep their time in one place, and the others each in their own.
TEST(Yielding, CountsFromEveryCallAnew) {
    Session session(Desktop());
    const auto source = session.Create(2, 2);
    const auto drawn = session.Create(2, 2);
    session.host().Time().Set(day);
    for (std::uint64_t round = 0; round < 2; ++round) {
        EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 3, 3, 1));
        EXPECT_EQ(session.Yields(), 5 * round + 1);
        EXPECT_TRUE(session.Scale(source.Handle(), 3, 3, false, 1));
        EXPECT_EQ(session.Yields(), 5 * round + 2);
        EXPECT_TRUE(session.ScaleImageAndMask(source.Handle(), 3, 3, false, 1));
        EXPECT_EQ(session.Yields(), 5 * round + 3);
        EXPECT_TRUE(session.Blur(source.Handle(), 1.0, 1));
        EXPECT_EQ(session.Yields(), 5 * round + 4);
        EXPECT_TRUE(session.DrawPicture(source.Handle(), drawn.Handle(), 0.5, 0.5, 1.0, 1));
        EXPECT_EQ(session.Yields(), 5 * round + 5);
    }
}

TEST(Yielding, OfOneTickComesAtMostOncePerTick) {
    // Three looks per tick: one at each point, and one more after each yield.
    const std::uint64_t yields = YieldsWith(1, {day, second / 60 / 3});
    EXPECT_EQ(yields, YieldsByTheRule(1, {day, second / 60 / 3}));
    EXPECT_LE(yields, 1 + (yieldPoints + yields) / 3);
}

TEST(Yielding, OfSixtyTicksComesAboutOncePerSecond) {
    // A look every quarter second: 12 points are about 3 seconds.
    const std::uint64_t yields = YieldsWith(60, {day, second / 4});
    EXPECT_EQ(yields, YieldsByTheRule(60, {day, second / 4}));
    EXPECT_GE(yields, 3U);
    EXPECT_LE(yields, 4U);
}

TEST(Yielding, OfAThousandMillisecondsComesAboutOncePerSecond) {
    const std::uint64_t yields = YieldsWith(-1000, {day, second / 4});
    EXPECT_EQ(yields, YieldsByTheRule(-1000, {day, second / 4}));
    EXPECT_GE(yields, 3U);
    EXPECT_LE(yields, 4U);
}

TEST(Yielding, FollowsTheRuleForEveryIntervalAndPace) {
    for (const std::int64_t interval : {1, 2, 7, 60, 1000, -1, -2, -16, -17, -250, -100000}) {
        for (const std::uint64_t step :
             {std::uint64_t{0}, second / 1000, second / 240, second / 61, second / 3, second}) {
            for (const std::uint64_t start : {std::uint64_t{0}, second / 2, 17 * second, day}) {
                EXPECT_EQ(YieldsWith(interval, {start, step}),
                          YieldsByTheRule(interval, {start, step}))
                    << "interval " << interval << ", start " << start << ", step " << step;
            }
        }
    }
}

TEST(Yielding, StartsWithTheFirstPointUnlessTheClockIsBelowTheInterval) {
    EXPECT_EQ(YieldsWith(60, {second, 0}), 1U);
    EXPECT_EQ(YieldsWith(61, {second, 0}), 0U);
    EXPECT_EQ(YieldsWith(-1000, {second, 0}), 1U);
    EXPECT_EQ(YieldsWith(-1001, {second, 0}), 0U);
}

TEST(Yielding, GoesByTheMagnitudeOfTheDifferenceWhenTheClockGoesBack) {
    Session session(Desktop());
    const auto source = session.Create(2, 2);
    session.host().Time().Set(100 * second);
    session.host().Failing().SetHook([&](Service service) {
        if (service == Service::REALNewPicture) session.host().Time().Set(40 * second);
    });
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, rows, 60 * 60));
    EXPECT_EQ(session.Yields(), 2U) << "at the start, and when the clock had gone back a minute";
}

TEST(Yielding, CountsTicksIn32Bits) {
    // 2^32 ticks are 71582788.26… seconds; half a second later the count has wrapped to about 14.
    const std::uint64_t wrapped = (std::uint64_t{1} << 32U) * second / 60 + second / 2;
    EXPECT_EQ(YieldsWith(10, {wrapped, 0}), 1U);
    EXPECT_EQ(YieldsWith(60, {wrapped, 0}), 0U);
}

TEST(Yielding, OfTheSmallestIntervalHappensAtEveryPoint) {
    EXPECT_EQ(YieldsWith(std::numeric_limits<std::int64_t>::min(), {day, 0}), yieldPoints);
}

TEST(Yielding, StartsAfreshWithEveryCall) {
    Session session(Desktop());
    const auto source = session.Create(2, 2);
    session.host().Time().Set(day);
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, rows, 60));
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, rows, 60));
    EXPECT_EQ(session.Yields(), 2U);
}

}  // namespace
}  // namespace contract
