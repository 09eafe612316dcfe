// Fast scaling, reached through ScaleZVK without anti-aliasing, byte for byte against the
// reference, and what the host can see of its order of work.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/fast_scaling.h"
#include "tests/reference/image.h"
#include "tests/support/layouts.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

void ExpectFastScaled(Session& session, const Picture& source, Size to, int format,
                      const std::string& parameters) {
    const reference::Image before = ImageOf(source);
    const auto result = session.Scale(source.Handle(), to.width, to.height);
    ASSERT_TRUE(result) << parameters;
    ExpectPixels(reference::ScaleFast(before, to.width, to.height, format), *result, parameters);
    ExpectPixels(before, source, parameters + ", the source afterwards");
}

void ExpectFastScaledFromRandom(const Layouts& layouts, Size from, Size to, std::uint64_t seed) {
    Session session(GuardedHost(layouts));
    const auto source = session.Create(SourceOptions(layouts, from));
    Random random(seed);
    FillRandomly(*source, random);
    ExpectFastScaled(session, *source, to, layouts.destination,
                     Describe(layouts, from, to, "seed " + std::to_string(seed)));
}

class FastScalingBetweenLayouts : public ::testing::TestWithParam<Layouts> {};

TEST_P(FastScalingBetweenLayouts, GivesTheReferencesBytes) {
    std::uint64_t seed = 10;
    for (const auto& [from, to] : std::vector<std::pair<Size, Size>>{{{7, 5}, {11, 9}},
                                                                     {{13, 10}, {4, 3}},
                                                                     {{6, 9}, {17, 2}},
                                                                     {{40, 30}, {20, 15}},
                                                                     {{1, 1}, {3, 2}}}) {
        ExpectFastScaledFromRandom(GetParam(), from, to, ++seed);
    }
}

INSTANTIATE_TEST_SUITE_P(FastScaling, FastScalingBetweenLayouts, ::testing::ValuesIn(AllLayouts()),
                         ::testing::PrintToStringParamName());

TEST(FastScaling, GivesTheReferencesBytesForEverySmallSize) {
    const Layouts layouts = {4, 1, false};
    Session session(GuardedHost(layouts));
    Random random(11);
    for (int width = 1; width <= 9; ++width) {
        for (int height = 1; height <= 4; ++height) {
            const auto source = session.Create(SourceOptions(layouts, {width, height}));
            FillRandomly(*source, random);
            for (int newWidth = 1; newWidth <= 9; ++newWidth) {
                for (int newHeight = 1; newHeight <= 4; ++newHeight) {
                    if (newWidth == width && newHeight == height) continue;
                    ExpectFastScaled(session, *source, {newWidth, newHeight}, layouts.destination,
                                     Describe(layouts, {width, height}, {newWidth, newHeight}));
                }
            }
        }
    }
}

TEST(FastScaling, GivesTheReferencesBytesForLargeAndExtremeSizes) {
    std::uint64_t seed = 20;
    for (const auto& [from, to] : std::vector<std::pair<Size, Size>>{{{3000, 1}, {1, 3000}},
                                                                     {{1, 3000}, {3000, 1}},
                                                                     {{1999, 1501}, {640, 480}},
                                                                     {{640, 480}, {1999, 1501}},
                                                                     {{1, 1}, {32767, 1}},
                                                                     {{2, 3}, {1, 32767}},
                                                                     {{4100, 20}, {4099, 19}},
                                                                     {{300, 20}, {9000, 19}},
                                                                     {{3001, 7}, {1, 1}}}) {
        ExpectFastScaledFromRandom({2, 2, false}, from, to, ++seed);
        ExpectFastScaledFromRandom({8, 8, false}, from, to, ++seed);
    }
}

TEST(FastScaling, GivesTheReferencesBytesForRandomCases) {
    const std::vector<Layouts> layouts = AllLayouts();
    for (std::uint64_t seed = 500; seed < 700; ++seed) {
        Random random(seed);
        const auto side = [&] { return static_cast<int>(random.Between(1, 150)); };
        const auto layout = random.Between(0, static_cast<std::int64_t>(layouts.size()) - 1);
        const Size from = {side(), side()};
        ExpectFastScaledFromRandom(layouts[static_cast<std::size_t>(layout)], from,
                                   {from.width + side(), side()}, seed);
        ExpectFastScaledFromRandom(layouts[static_cast<std::size_t>(layout)],
                                   {from.width + side(), from.height}, from, seed);
    }
}

TEST(FastScaling, CopiesColoursAtEqualSizesAndMakesThemOpaque) {
    for (const Layouts layouts : {Layouts{3, 3, false}, {4, 1, false}, {8, 8, false}}) {
        Session session(GuardedHost(layouts));
        const auto source = session.Create(SourceOptions(layouts, {9, 6}));
        Random random(31);
        FillRandomly(*source, random);
        source->reportedWidth = 10;  // else the source itself would be the result
        const auto result = session.Scale(source.Handle(), 9, 6);
        ASSERT_TRUE(result);
        ExpectPixels(InLayout(ImageOf(*source), layouts.destination), *result, "equal sizes");
    }
}

TEST(FastScaling, RepeatsTheNearestPixelToTheLeftAndAboveWhenItEnlarges) {
    Session session(Desktop());
    const auto source = session.Create(2, 2);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) {
            source->Put(x, y, workbench::Grey(static_cast<std::uint8_t>(10 * x + 100 * y)));
        }
    }
    const auto result = session.Scale(source.Handle(), 5, 3);
    ASSERT_TRUE(result);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) {
            const int sourceColumn = 2 * x / 5;
            const int sourceRow = 2 * y / 3;
            EXPECT_EQ(result->At(x, y), source->At(sourceColumn, sourceRow)) << x << ", " << y;
        }
    }
}

// Deliberate: the rows below a block's first one count but are never looked at.
TEST(FastScaling, AveragesTwoPixelsOfTheUpperRowAloneWhenItHalves) {
    Session session(Desktop());
    const auto source = session.Create(4, 4);
    source->Fill(workbench::white);
    for (int x = 0; x < 4; ++x) {
        source->Put(x, 0, workbench::Grey(static_cast<std::uint8_t>(20 * x)));
        source->Put(x, 2, workbench::Grey(static_cast<std::uint8_t>(100 + 20 * x)));
    }
    const auto result = session.Scale(source.Handle(), 2, 2);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->At(0, 0), workbench::Grey(10));
    EXPECT_EQ(result->At(1, 0), workbench::Grey(50));
    EXPECT_EQ(result->At(0, 1), workbench::Grey(110));
    EXPECT_EQ(result->At(1, 1), workbench::Grey(150));
}

TEST(FastScaling, KeepsWhiteWhite) {
    Session session(Desktop());
    const auto source = session.Create(30, 30);
    source->Fill(workbench::white);
    const auto result = session.Scale(source.Handle(), 10, 10);
    ASSERT_TRUE(result);
    EXPECT_EQ(ImageOf(*result).words, std::vector<std::uint32_t>(100, 0xFFFFFFFF));
}

TEST(FastScaling, MakesAnOpaqueAlphaChannelPictureOfATransparentOne) {
    for (const int layout : {1, 2}) {
        Session session(Desktop(layout));
        PictureOptions options = Sized(4, 4);
        options.alphaChannel = true;
        options.fill = workbench::transparent;
        const auto source = session.Create(options);
        const auto result = session.Scale(source.Handle(), 2, 3);
        ASSERT_TRUE(result);
        EXPECT_TRUE(result->HasAlphaChannel());
        EXPECT_EQ(result->Layout(), layout);
        EXPECT_EQ(result->At(1, 2), workbench::black);
    }
}

TEST(FastScaling, WritesNoTransparencyOnTheConsole) {
    Session session(Console());
    PictureOptions options = Sized(4, 4);
    options.fill = workbench::Color{10, 20, 30, 128};
    const auto source = session.Create(options);
    const auto result = session.Scale(source.Handle(), 2, 3);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->Word(1, 2), 0x000A141EU);
}

TEST(FastScaling, YieldsOncePerRowAndOnceAtTheEnd) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        Session session(settings);
        session.YieldAlways();
        const auto source = session.Create(3, 3);
        EXPECT_TRUE(session.Scale(source.Handle(), 2, 9, false, 1));
        EXPECT_EQ(session.Yields(), 9U + 1U);
    }
}

TEST(FastScaling, YieldsOnceWhereItFails) {
    const auto yieldsOfFailure = [](const std::function<void(Session&, Picture&)>& spoil) {
        Session session(Desktop());
        session.YieldAlways();
        const auto source = session.Create(3, 3);
        spoil(session, *source);
        EXPECT_FALSE(session.Scale(source.Handle(), 2, 9, false, 1));
        return session.Yields();
    };
    EXPECT_EQ(yieldsOfFailure([](Session&, Picture& source) { source.Context()->data = nullptr; }),
              1U);
    EXPECT_EQ(yieldsOfFailure([](Session& session, Picture&) {
                  session.host().Failing().FailFrom(Service::REALNewPicture, 1);
              }),
              1U);
}

TEST(FastScaling, GivesNilForSizesThatNoPictureHas) {
    Session session(Desktop());
    const auto source = session.Create(3, 3);
    for (const std::int64_t size : {-1, 0, 32768}) {
        EXPECT_FALSE(session.Scale(source.Handle(), size, 2));
        EXPECT_FALSE(session.Scale(source.Handle(), 2, size));
    }
}

// A row is read when it is needed: what the host draws into the source in a yield shows from the
// next row on.
TEST(FastScaling, ReadsEachRowBetweenTwoYields) {
    Session session(Desktop());
    session.YieldAlways();
    const auto source = session.Create(3, 4);
    source->Fill(workbench::Grey(10));
    std::uint64_t yields = 0;
    session.host().OnYield([&] {
        if (++yields == 2) source->Fill(workbench::Grey(90));
    });
    const auto result = session.Scale(source.Handle(), 2, 4, false, 1);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->At(0, 0), workbench::Grey(10));
    EXPECT_EQ(result->At(0, 1), workbench::Grey(10));
    EXPECT_EQ(result->At(0, 2), workbench::Grey(90));
    EXPECT_EQ(result->At(0, 3), workbench::Grey(90));
}

TEST(FastScaling, AsksForNoMemory) {
    Session session(Desktop());
    const auto source = session.Create(3, 4);
    session.allocations().FailFrom(1);
    EXPECT_TRUE(session.Scale(source.Handle(), 2, 4));
    EXPECT_EQ(session.allocations().Requests(), 0U);
}

TEST(FastScaling, ReadsNothingOfASourceWithoutColumnsOrRows) {
    for (const bool withoutColumns : {true, false}) {
        Session session(GuardedHost({1, 1, false}));
        const auto source = session.Create(3, 4);
        (withoutColumns ? source->Context()->width : source->Context()->height) = 0;
        const auto result = session.Scale(source.Handle(), 2, 2);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->At(1, 1).alpha, 255);
    }
}

}  // namespace
}  // namespace contract
