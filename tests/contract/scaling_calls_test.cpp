// How ScalingZVK uses its host: the exact sequence of services in calls that succeed and that fail,
// where it yields, and what becomes of a call for which memory is short.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/resampler.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr int triangle = 1;

using Calls = std::vector<std::string>;

const Calls detectRuntime = {"pluginObjectType", "pluginObjectType", "pluginObjectType"};
const Calls attach = {"PluginPictureGetType", "REALGetPropValueBool", "REALLockPictureDescription",
                      "REALLockObject"};
const Calls releaseReader = {"unlockPictureDescription", "REALUnlockObject"};
const Calls render = {"REALLockObject", "REALPictureClearCache", "unlockPictureDescription",
                      "REALPictureClearCache", "REALUnlockObject"};
const Calls yieldOnce = {"REALYieldToRB"};

Calls Joined(const std::vector<Calls>& parts) {
    Calls all;
    for (const Calls& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Calls Times(std::size_t count, const Calls& calls) {
    return Joined(std::vector<Calls>(count, calls));
}

PictureOptions WithAlphaChannel(int width, int height) {
    PictureOptions options = Sized(width, height);
    options.alphaChannel = true;
    return options;
}

TEST(ScalingCalls, OpenTheSourceThenCreateThenHandOutThenLetGo) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        Session session(settings);
        const auto source = session.Create(3, 2);
        session.KeepTrace();
        EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, 2));
        Calls expected = Joined({detectRuntime,
                                 attach,
                                 {"newPicture"},
                                 attach,
                                 {"REALUnlockObject"},
                                 render,
                                 releaseReader});
        // What the test itself does with the result comes last.
        Calls called = session.ServicesCalled();
        called.resize(expected.size());
        EXPECT_THAT(called, ElementsAreArray(expected));
    }
}

TEST(ScalingCalls, YieldBetweenThePhasesAndAfterEachRow) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 2);
    session.KeepTrace();
    const auto result = session.Scaling(source.Handle(), triangle, 2, 3, 1);
    EXPECT_THAT(session.ServicesCalled(), ElementsAreArray(Joined({detectRuntime,
                                                                   attach,
                                                                   Times(4, yieldOnce),
                                                                   {"newPicture"},
                                                                   attach,
                                                                   {"REALUnlockObject"},
                                                                   Times(3, yieldOnce),
                                                                   yieldOnce,
                                                                   render,
                                                                   yieldOnce,
                                                                   releaseReader,
                                                                   yieldOnce})));
}

TEST(ScalingCalls, ConstructThePictureWhereTheSourceHasAnAlphaChannel) {
    Session session(Desktop());
    const auto source = session.Create(WithAlphaChannel(3, 2));
    session.KeepTrace();
    const auto result = session.Scaling(source.Handle(), triangle, 2, 3);
    ASSERT_TRUE(result);
    EXPECT_THAT(session.ServicesCalled(),
                ElementsAreArray(
                    Joined({detectRuntime,
                            attach,
                            {"PluginNewInstance", "REALLoadObjectMethod", "Picture.Constructor"},
                            attach,
                            {"REALUnlockObject"},
                            render,
                            releaseReader})));
}

TEST(ScalingCalls, YieldBeforeAPictureThatCannotBeCreatedAndOnceAfter) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 2);
    session.host().Failing().FailFrom(Service::REALNewPicture, 1);
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, 3, 1));
    EXPECT_THAT(session.ServicesCalled(), ElementsAreArray(Joined({detectRuntime,
                                                                   attach,
                                                                   Times(4, yieldOnce),
                                                                   {"newPicture"},
                                                                   releaseReader,
                                                                   yieldOnce})));
}

TEST(ScalingCalls, YieldBeforeASizeThatNoPictureHasAndOnceAfter) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 2);
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 40000, 3, 1));
    EXPECT_THAT(session.ServicesCalled(),
                ElementsAreArray(Joined(
                    {detectRuntime, attach, Times(4, yieldOnce), releaseReader, yieldOnce})));
}

TEST(ScalingCalls, DropTheNewPictureThatCannotBeOpened) {
    Session session(Desktop());
    const auto source = session.Create(3, 2);
    constexpr std::uint64_t newPicturesTurn = 2;
    session.host().Failing().FailOnly(Service::REALLockPictureDescription, newPicturesTurn);
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, 3));
    const Calls refused = {"PluginPictureGetType", "REALGetPropValueBool",
                           "REALLockPictureDescription"};
    EXPECT_THAT(session.ServicesCalled(), ElementsAreArray(Joined({detectRuntime,
                                                                   attach,
                                                                   {"newPicture"},
                                                                   refused,
                                                                   {"REALUnlockObject"},
                                                                   releaseReader})));
}

TEST(ScalingCalls, NeverYieldForASourceThatCannotBeOpened) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(WithAlphaChannel(3, 2));
    source->refusesLocks = true;
    session.KeepTrace();
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, 3, 1));
    const Calls refused = {"PluginPictureGetType", "REALGetPropValueBool",
                           "REALLockPictureDescription"};
    EXPECT_THAT(session.ServicesCalled(), ElementsAreArray(Joined({detectRuntime, refused})));
}

TEST(ScalingCalls, DoNothingAtAllForArgumentsThatMakeNoSense) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 2);
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    session.KeepTrace();
    for (const std::int64_t mode : {std::int64_t{0}, std::int64_t{8}, std::int64_t{-1}, lowest,
                                    highest, (std::int64_t{1} << 32U) + 1}) {
        EXPECT_FALSE(session.Scaling(source.Handle(), mode, 2, 2, 1)) << "mode " << mode;
    }
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 0, 2, 1));
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, -1, 1));
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, lowest, 2, 1));
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 2, lowest, 1));
    EXPECT_FALSE(session.Scaling(nullptr, triangle, 2, 2, 1));
    EXPECT_THAT(session.ServicesCalled(), IsEmpty());
    EXPECT_EQ(session.allocations().Requests(), 0U);
}

TEST(ScalingCalls, YieldSevenTimesAndOncePerRow) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        for (const std::int64_t height : {1, 2, 17}) {
            for (const std::int64_t yield : {1, -1}) {
                Session session(settings);
                session.YieldAlways();
                const auto source = session.Create(3, 5);
                EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 4, height, yield));
                EXPECT_EQ(session.Yields(), static_cast<std::uint64_t>(7 + height));
            }
        }
    }
}

// Sizes at which the image between the passes cannot be.

TEST(ScalingCalls, GiveNilWhereTheImageBetweenThePassesIsAMultipleOf4GiB) {
    Session session(Console());
    session.YieldAlways();
    const auto source = session.Create(1, 32768);
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 32768, 1, 1));
    EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 65536, 1, 1));
    EXPECT_EQ(session.Yields(), 0U);
    EXPECT_EQ(session.allocations().Requests(), 0U) << "no memory is asked for what cannot be";
}

// The size in bytes does not even fit 64 bits.
TEST(ScalingCalls, GiveNilWhereTheImageBetweenThePassesIsBeyondAllMemory) {
    HostSettings settings = Desktop();
    Session session(settings);
    const auto source = session.Create(3, 2);
    source->Context()->height = std::numeric_limits<std::int32_t>::max();
    session.host().Failing().ForgetCalls();
    EXPECT_FALSE(
        session.Scaling(source.Handle(), 1, std::numeric_limits<std::int32_t>::max(), 1, 1));
    EXPECT_EQ(session.Yields(), 0U);
    EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
}

TEST(ScalingCalls, GiveNilForSidesBeyond31Bits) {
    constexpr std::int64_t tooLong = std::int64_t{1} << 31U;
    for (const bool alphaChannel : {false, true}) {
        Session session(Desktop());
        PictureOptions options = Sized(3, 3);
        options.alphaChannel = alphaChannel;
        const auto source = session.Create(options);
        session.host().Failing().ForgetCalls();
        EXPECT_FALSE(session.Scaling(source.Handle(), triangle, tooLong, 1));
        EXPECT_FALSE(session.Scaling(source.Handle(), triangle, 1, tooLong));
        EXPECT_FALSE(session.Scaling(source.Handle(), triangle, tooLong - 1 + (tooLong << 1U), 1));
        EXPECT_EQ(session.host().Calls(Service::REALNewPicture), 0U);
        EXPECT_EQ(session.host().Calls(Service::REALnewInstance), 0U);
    }
}

// Memory that is short.

// What a call may give when two requests are refused: the whole picture, where working memory of a
// faster road was refused, or the picture with one column or one row black, where one request was
// for the entries of all lists and the other for those of one.
std::vector<reference::Image> PossibleResults(const reference::Image& source, int width,
                                              int height) {
    std::vector<reference::FailedLists> failures(1);
    for (std::int64_t column = 0; column < width; ++column)
        failures.push_back({{column}, {}});
    for (std::int64_t row = 0; row < height; ++row)
        failures.push_back({{}, {row}});
    std::vector<reference::Image> results;
    for (const reference::FailedLists& failed : failures) {
        results.push_back(reference::Resample(source, triangle, width, height, 1, failed));
    }
    return results;
}

// Refuses every request of one call, and every two of them. Every failed list must have shown, and
// the nil result of an array that could not be had.
void CheckRefusedRequests(int width, int height, std::int64_t yieldInterval) {
    std::set<std::size_t> shown;
    bool gaveNil = false;
    // Returns how many were refused.
    const auto refuse = [&](std::uint64_t request, std::uint64_t other) -> std::uint64_t {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(4, 4);
        Random random(7);
        FillRandomly(*source, random);
        const auto possible = PossibleResults(ImageOf(*source), width, height);
        session.allocations().FailBoth(request, other);
        const auto result =
            session.Scaling(source.Handle(), triangle, width, height, yieldInterval);
        gaveNil = gaveNil || !result;
        if (!result) return session.allocations().Refused();
        const auto found = std::find(possible.begin(), possible.end(), ImageOf(*result));
        EXPECT_NE(found, possible.end()) << "requests " << request << " and " << other;
        shown.insert(static_cast<std::size_t>(found - possible.begin()));
        return session.allocations().Refused();
    };
    for (std::uint64_t request = 1; refuse(request, request) > 0; ++request) {
        for (std::uint64_t other = request + 1; refuse(request, other) > 1;)
            ++other;
    }
    EXPECT_TRUE(gaveNil);
    const std::size_t lists = static_cast<std::size_t>(width) + static_cast<std::size_t>(height);
    for (std::size_t list = 1; list <= lists; ++list) {
        EXPECT_TRUE(shown.contains(list)) << "failure of list " << list << " did not show";
    }
}

TEST(ScalingMemory, GivesNilOrABlackColumnOrRowForRequestsThatAreRefused) {
    const std::vector<std::pair<int, int>> sizes = {{3, 2}, {2, 5}, {3, 3}};
    for (const auto& [width, height] : sizes) {
        CheckRefusedRequests(width, height, 0);
        CheckRefusedRequests(width, height, 1);
    }
}

// The second request is for the table of the rows. Where the first table can serve for them, the
// call ends as it would with a yield interval.
TEST(ScalingMemory, NeedsASecondTableOnlyForMoreRowsThanColumns) {
    for (const auto& [width, height] : {std::pair{3, 2}, {3, 3}, {2, 5}}) {
        Session session(Desktop());
        const auto source = session.Create(4, 4);
        Random random(8);
        FillRandomly(*source, random);
        session.allocations().FailOnly(2);
        const auto result = session.Scaling(source.Handle(), triangle, width, height);
        EXPECT_EQ(session.allocations().Refused(), 1U);
        EXPECT_EQ(static_cast<bool>(result), height <= width) << width << " by " << height;
        if (!result) continue;
        ExpectPixels(reference::Resample(ImageOf(*source), triangle, width, height, 1), *result,
                     std::to_string(width) + " by " + std::to_string(height));
    }
}

TEST(ScalingMemory, SurvivesItsEndAtEveryRequest) {
    std::uint64_t request = 0;
    std::uint64_t refused = 0;
    do {
        Session session(Console());
        const auto source = session.Create(4, 4);
        session.allocations().FailFrom(++request);
        const auto result = session.Scaling(source.Handle(), triangle, 2, 4);
        refused = session.allocations().Refused();
    } while (refused > 0);
    EXPECT_GT(request, 4U);
}

TEST(ScalingMemory, IsGivenBackBeforeTheCallReturns) {
    Session session(Desktop());
    const auto source = session.Create(4, 4);
    const std::size_t before = session.allocations().LiveBlocks();
    EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 2, 7));
    EXPECT_GT(session.allocations().Requests(), 0U);
    EXPECT_EQ(session.allocations().LiveBlocks(), before);
}

TEST(ScalingMemory, ReusesTheTableOfColumnsForNoMoreRowsThanColumns) {
    Session session(Desktop());
    session.YieldAlways();
    // Reduced so far that rows are not kept for several uses.
    const auto source = session.Create(40, 40);
    const auto requests = [&](std::int64_t height) {
        session.allocations().GrantAll();
        EXPECT_TRUE(session.Scaling(source.Handle(), triangle, 5, height, 1));
        return session.allocations().Requests();
    };
    EXPECT_EQ(requests(5), requests(4));
    EXPECT_EQ(requests(6), requests(5) + 1) << "an array more";
    EXPECT_EQ(requests(7), requests(6));
}

}  // namespace
}  // namespace contract
